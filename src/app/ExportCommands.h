#pragma once

#include <QList>

class DocumentWindow;
class QAction;
class QMenu;

// The window's commands that send a document out: Export as PDF… and Print… beside
// Export as HTML… in the File menu, Copy as Rich Text in the Edit menu. Each acts on
// the window's current tab.
namespace ExportCommands {

// Adds the commands; exportHTML marks their place in the File menu. Returns the
// actions that need a document, for the window to enable with its tabs.
QList<QAction *> addTo(DocumentWindow *window, QMenu *file, QAction *exportHTML, QMenu *edit);

} // namespace ExportCommands
