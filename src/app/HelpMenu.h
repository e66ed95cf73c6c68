#pragma once

class QMainWindow;

// The Help menu: About Lumo (the version, and the licences of the libraries the
// page ships) and an overview of the keyboard shortcuts, read from the window's
// own menus so that it always tells the keys in force.
namespace HelpMenu {

void addTo(QMainWindow *window);

} // namespace HelpMenu
