#pragma once

class QWidget;

// The reading preferences as window commands, each showing and setting its
// preference: "settings" (the Settings window), "followChanges", "useCustomCss",
// "editCustomCss", and the "themeMenu" and "appearanceMenu" submenus.
namespace Lumo::App::PreferenceCommands {

// Adds the commands and submenus to the window.
void create(QWidget *window);

} // namespace Lumo::App::PreferenceCommands
