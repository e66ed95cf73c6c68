#include "ProjectRoot.h"

#include "ProjectFiles.h"

namespace Lumo::Search::ProjectRoot {

QString choose(const QString &sidebarFolder, const QString &documentPath)
{
    if (!sidebarFolder.isEmpty())
        return sidebarFolder;
    if (documentPath.isEmpty())
        return {};
    return ProjectFiles::root(documentPath);
}

} // namespace Lumo::Search::ProjectRoot
