#pragma once

class QLineEdit;

// On desktops with Emacs-style bindings a one-line field takes Ctrl+E (end of line),
// Ctrl+U (delete to the start) and the like for itself, before the window's commands
// see them. Installed on a field, a key that is also an enabled command's shortcut in
// the field's window goes to that command (Ctrl+E still switches modes from the find
// field); undo, clipboard and select-all keys stay with the field.
namespace Lumo::Base::WindowKeysFirst {

void install(QLineEdit *field);

} // namespace Lumo::Base::WindowKeysFirst
