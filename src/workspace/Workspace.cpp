#include "Workspace.h"

#include "base/PathKey.h"
#include "base/Preferences.h"
#include "search/ProjectFiles.h"

#include <QDir>

namespace Lumo::Workspace {

using Lumo::Base::Preferences;
namespace PathKey = Lumo::Base::PathKey;
namespace ProjectFiles = Lumo::Search::ProjectFiles;

namespace {

QString withSlash(QString path)
{
    if (!path.endsWith(QLatin1Char('/')))
        path.append(QLatin1Char('/'));
    return path;
}

} // namespace

namespace Workspace {

QStringList folders(const Preferences &prefs)
{
    return prefs.workspaceFolders();
}

void remember(Preferences &prefs, const QString &folder)
{
    const QString key = QDir::cleanPath(folder);
    QStringList list = prefs.workspaceFolders();
    list.removeAll(key);
    list.prepend(key);
    prefs.setWorkspaceFolders(list.mid(0, rememberedLimit));
}

bool contains(const QString &folder, const QString &path)
{
    return PathKey::resolved(path).startsWith(withSlash(PathKey::resolved(folder)));
}

std::optional<QString> root(const QString &filePath, const QStringList &opened)
{
    if (filePath.isEmpty())
        return std::nullopt;
    const QString file = PathKey::resolved(filePath);
    for (const QString &folder : opened) {
        if (file.startsWith(withSlash(PathKey::resolved(folder))))
            return folder;
    }
    const QString project = ProjectFiles::root(filePath);
    if (project.isEmpty())
        return std::nullopt;
    return project;
}

} // namespace Workspace

} // namespace Lumo::Workspace
