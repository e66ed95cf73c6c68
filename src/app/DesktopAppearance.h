#pragma once

// Makes the application light or dark: follows the desktop's colour scheme through
// the XDG desktop portal (read at start and on every change it announces), falls
// back to the platform's palette without a portal, and honours the "appearance"
// preference. It sets the application palette, which every window, the editor
// colours and the pages follow (they watch palette changes).
namespace Lumo::App::DesktopAppearance {

// Starts following; call once, after the application exists.
void install();

} // namespace Lumo::App::DesktopAppearance
