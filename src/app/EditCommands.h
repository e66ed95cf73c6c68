#pragma once

class DocumentWindow;
class QMenu;

// Undo, Redo, Cut, Copy, Paste and Select All with the standard keys, at the top of
// the Edit menu. Each acts on the view that has the keyboard: a text field, the
// editor, or the page (the current tab's page when the keyboard is elsewhere).
namespace EditCommands {

void addTo(QMenu *edit, DocumentWindow *window);

} // namespace EditCommands
