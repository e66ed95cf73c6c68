#include "ProjectRoot.h"

#include "ProjectFiles.h"

namespace ProjectRoot {

QString choose(const QString &sidebarFolder, const QString &documentPath)
{
    if (!sidebarFolder.isEmpty())
        return sidebarFolder;
    if (documentPath.isEmpty())
        return {};
    return ProjectFiles::root(documentPath);
}

} // namespace ProjectRoot
