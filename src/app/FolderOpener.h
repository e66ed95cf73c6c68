#pragma once

#include <functional>
#include <QList>
#include <QString>

class QFileDialog;
class QWidget;

namespace Lumo::App {

class DocumentWindow;

// The windows' side of opening folders: the dialogs that choose them and the steps
// that follow a choice, by the rules of workspace/FolderOpenRules. Main thread only.
namespace FolderOpener {

// Opens `folder` for browsing: remembers it, lists it under Open Recent and turns the
// sidebar on; then raises a tab of `windows` that shows a file inside the folder, or
// else lists the folder off the main thread and opens its first Markdown file with
// `openFile`, or else tells the user (parented to `alertParent`) that it has none.
void open(const QString &folder, const QList<DocumentWindow *> &windows, QWidget *alertParent,
          std::function<void(const QString &file)> openFile);

// The Open dialog: one or more Markdown files, or one folder (chosen with the Open
// button while the folder is selected). `filesSelected` carries the choice.
QFileDialog *openDialog(QWidget *parent);
// The Open Folder dialog: folders only; `fileSelected` carries the choice.
QFileDialog *folderDialog(QWidget *parent);
// Whether the dialog lets the user choose a folder.
bool acceptsFolders(const QFileDialog *dialog);

} // namespace FolderOpener

} // namespace Lumo::App
