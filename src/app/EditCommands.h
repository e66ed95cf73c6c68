#pragma once

namespace Lumo::App {

class DocumentWindow;

// Undo, Redo, Cut, Copy, Paste and Select All with the standard keys ("undo", "redo",
// "cut", "copy", "paste", "selectAll"). Each acts on the view that has the keyboard:
// a text field, the editor, or the page (the current tab's page when the keyboard is
// elsewhere).
namespace EditCommands {

// Adds the commands to the window.
void create(DocumentWindow *window);

} // namespace EditCommands

} // namespace Lumo::App
