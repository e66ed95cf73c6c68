#pragma once

class QWidget;

namespace Lumo::App {

class DocumentWindow;

// The folder commands of a document window: "openFolder", and "revealInSidebar"
// (enabled while the window shows a document).
namespace WorkspaceCommands {

// Adds the commands to the window.
void create(DocumentWindow *window);

// Asks for a folder to browse, for the document window that holds `widget`.
void chooseFolder(QWidget *widget);

} // namespace WorkspaceCommands

} // namespace Lumo::App
