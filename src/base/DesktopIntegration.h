#pragma once

#include <QString>

// What the desktop does for us with files.
namespace Lumo::Base::DesktopIntegration {

// Shows the file selected in the file manager (through the freedesktop FileManager1
// service when there is one, else by opening its folder). Never opens the file.
void reveal(const QString &path);

// The folder opened when no file manager can select the file: the nearest real folder
// above it (links resolved), never a file that only sits where a folder would; empty
// when there is none.
QString folderToShow(const QString &path);

} // namespace Lumo::Base::DesktopIntegration
