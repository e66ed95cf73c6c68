#pragma once

class QWidget;

// Installing the "lumo" command and becoming the default Markdown application: the
// two menu commands, their alerts, and the one-time offer after launch.
namespace Lumo::App::DesktopCommands {

// Adds "Make Lumo the Default for .md Files" ("makeDefault") and "Install Command
// Line Tool…" ("installCommandLineTool") to the window.
void create(QWidget *window);

// Installs the "lumo" command and tells the user where, or why not, in an
// application-modal alert.
void installCommandLineTool();

// Makes Lumo the default when it is an installed copy, and says so when it cannot be.
void makeDefault();

// 1.2 s from now, offers (once ever, only from an installed copy) to become the
// default Markdown application, as a sheet on the first visible window.
void offerOnFirstLaunch();

} // namespace Lumo::App::DesktopCommands
