#include "PathKey.h"

#include <QDir>
#include <QFileInfo>

namespace Lumo::Base::PathKey {

QString resolved(const QString &path)
{
    const QString canonical = QFileInfo(path).canonicalFilePath();
    return canonical.isEmpty() ? QDir::cleanPath(QFileInfo(path).absoluteFilePath()) : canonical;
}

} // namespace Lumo::Base::PathKey
