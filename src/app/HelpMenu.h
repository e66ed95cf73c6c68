#pragma once

class QMainWindow;

// The Help menu's commands: About Lumo ("about": the version, and the licences of the
// libraries the page ships) and an overview of the keyboard shortcuts
// ("keyboardShortcuts"), read from the window's own menus so that it always tells the
// keys in force.
namespace Lumo::App::HelpMenu {

// Adds the commands to the window.
void create(QMainWindow *window);

} // namespace Lumo::App::HelpMenu
