#pragma once

#include <QString>

namespace Lumo::App {

class DocumentTab;
class DocumentWindow;

// Quick open and project search in the document window: their menu items and the
// panels laid over each tab.
namespace SearchCommands {

// Adds "openQuickly" (Ctrl+P) and "findInProject" (Ctrl+Shift+F) to the window,
// acting on its current tab and enabled while it has one.
void create(DocumentWindow *window);

// Shows the quick-open and search panels over the tab while its panels' showQuickOpen
// and showSearch are set; a chosen file opens through the tab's controller.
void attachPanels(DocumentTab *tab);

// The folder both panels list for the tab.
QString projectRootOf(const DocumentTab *tab);

} // namespace SearchCommands

} // namespace Lumo::App
