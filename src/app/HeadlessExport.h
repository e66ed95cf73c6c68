#pragma once

#include "ExportCommand.h"

// "lumo --export": renders one file through the reading page, as a window would,
// and writes it as HTML or PDF, without showing anything and without handing the
// request to a running Lumo. Needs the application object; call from main.
namespace Lumo::App::HeadlessExport {

// Environment the export needs before the application object exists: the
// offscreen platform (no window can appear, no display is needed) and no GPU.
void prepareEnvironment();

// Runs the export; returns the process's exit status (0 when the file is written),
// having printed why not to standard error otherwise.
int run(const ExportCommand &command);

} // namespace Lumo::App::HeadlessExport
