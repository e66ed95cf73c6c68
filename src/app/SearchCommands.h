#pragma once

#include <QList>

class DocumentTab;
class DocumentWindow;
class QAction;
class QMenu;

// Quick open and project search in the document window: their menu items and the
// panels laid over each tab.
namespace SearchCommands {

// Adds "Open Quickly…" (Ctrl+P) to `file` before `fileAnchor` and "Find in Project…"
// (Ctrl+Shift+F) to `edit` after `editAnchor`, acting on the window's current tab.
// Returns them: they need a document.
QList<QAction *> addTo(QMenu *file, QAction *fileAnchor, QMenu *edit, QAction *editAnchor,
                       DocumentWindow *window);

// Shows the quick-open and search panels over the tab while its controller's
// showQuickOpen and showSearch are set; a chosen file opens through the controller.
void attachPanels(DocumentTab *tab);

// The folder both panels list for the tab.
QString projectRootOf(const DocumentTab *tab);

} // namespace SearchCommands
