#pragma once

namespace Lumo::App {

class DocumentWindow;

// The window's commands that send a document out, each acting on the window's
// current tab and enabled while there is one: "exportPdf", "exportHtml", "print" and
// "copyRichText".
namespace ExportCommands {

// Adds the commands to the window.
void create(DocumentWindow *window);

} // namespace ExportCommands

} // namespace Lumo::App
