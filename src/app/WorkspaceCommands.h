#pragma once

#include <QList>

class DocumentWindow;
class QAction;
class QMenu;
class QWidget;

// The folder commands of a document window's menus.
namespace WorkspaceCommands {

// Adds "Open Folder…" to `file` before `before`, and "Reveal in Sidebar" to `view`
// after `sidebar`. Returns the commands that need a document.
QList<QAction *> addTo(DocumentWindow *window, QMenu *file, QAction *before, QMenu *view,
                       QAction *sidebar);

// Asks for a folder to browse, for the document window that holds `widget`.
void chooseFolder(QWidget *widget);

} // namespace WorkspaceCommands
