#pragma once

#include <optional>
#include <QString>
#include <QStringList>

namespace Lumo::Base {
class Preferences;
}

// The folders the user opened for browsing, and which folder a document's sidebar
// shows. Folders are standardised paths, newest first, at most `rememberedLimit`;
// they are kept under "workspaceFolders". Main thread, except `root`, which is safe
// on any thread.
namespace Lumo::Workspace::Workspace {

inline constexpr int rememberedLimit = 20;

QStringList folders(const Lumo::Base::Preferences &prefs);
// Puts the folder at the front of the remembered list.
void remember(Lumo::Base::Preferences &prefs, const QString &folder);

// The folder whose tree the sidebar of the document at `filePath` shows: the first of
// `opened` that contains the file (symlinks resolved on both sides), else the file's
// project root. None for a document without a file.
std::optional<QString> root(const QString &filePath, const QStringList &opened);

// Whether `path` lies inside `folder`: path keys compared with symlinks resolved,
// and only whole path components count (/x/notes2 is not inside /x/notes).
bool contains(const QString &folder, const QString &path);

} // namespace Lumo::Workspace::Workspace
