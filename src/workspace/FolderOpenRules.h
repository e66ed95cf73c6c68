#pragma once

#include <functional>
#include <optional>
#include <QString>
#include <QStringList>

class QObject;

// The rules of opening a folder for browsing, without windows: what decides between
// raising a tab, opening the folder's first Markdown file and telling the user it has
// none, and the texts of the dialogs that choose folders. app/FolderOpener applies
// them to the windows.
namespace Lumo::Workspace::FolderOpenRules {

// A directory, and not a package; on Linux no folder is a package.
bool isFolder(const QString &path);

// The index of the first of `documentPaths` that lies inside `folder`.
std::optional<qsizetype> showingDocument(const QString &folder, const QStringList &documentPaths);

// The file opened for a folder: the first of its Markdown files as the project index
// lists them (newest first). Blocks on the file system; call it off the main thread.
std::optional<QString> firstFile(const QString &folder);
// Runs firstFile on the thread pool and hands its answer to `done` on the main thread,
// unless `context` is gone by then.
void findFirstFile(const QString &folder, QObject *context,
                   std::function<void(std::optional<QString>)> done);

// The Open dialog, which takes a Markdown file or a folder.
QString openDialogMessage();
// The Open Folder dialog.
QString chooseFolderMessage();
// The alert for a folder without Markdown files.
QString noFilesText(const QString &folder);
QString noFilesDetail();

} // namespace Lumo::Workspace::FolderOpenRules
