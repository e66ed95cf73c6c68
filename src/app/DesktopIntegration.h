#pragma once

#include <QString>

// What the desktop does for us with files.
namespace DesktopIntegration {

// Shows the file selected in the file manager (through the freedesktop FileManager1
// service when there is one, else by opening its folder). Never opens the file.
void reveal(const QString &path);

} // namespace DesktopIntegration
