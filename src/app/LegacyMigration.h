#pragma once

#include <QString>

namespace Lumo::Base {
class Preferences;
}

// Carries the reading preferences and the custom stylesheet over from Lumo's
// predecessor, Scrivent, once: never overwriting what the user has set here, and
// never again after the first attempt.
namespace Lumo::App::LegacyMigration {

// Scrivent's settings file (~/.config/Scrivent/Scrivent.conf) and the data folder
// holding both applications' folders (~/.local/share).
void run(Lumo::Base::Preferences &preferences, const QString &oldSettingsPath,
         const QString &dataFolder);
void run(Lumo::Base::Preferences &preferences);

} // namespace Lumo::App::LegacyMigration
