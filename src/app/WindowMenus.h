#pragma once

namespace Lumo::App {

class DocumentWindow;

// The menu bar and toolbar of a document window, laid out in one place from the
// commands that the window and the subsystems contribute, each found by its
// objectName. The menus themselves are named too ("fileMenu", "editMenu",
// "formatMenu", "viewMenu", "helpMenu").
namespace WindowMenus {

// Has every subsystem add its commands to the window, then builds its menus and
// toolbar from them. Call once, right after creating the window.
void build(DocumentWindow *window);

} // namespace WindowMenus

} // namespace Lumo::App
