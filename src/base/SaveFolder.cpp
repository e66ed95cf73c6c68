#include "SaveFolder.h"

#include <QFileInfo>
#include <QStandardPaths>

namespace Lumo::Base::SaveFolder {

QString proposedFor(const QString &documentPath)
{
    return documentPath.isEmpty()
               ? QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation)
               : QFileInfo(documentPath).absolutePath();
}

} // namespace Lumo::Base::SaveFolder
