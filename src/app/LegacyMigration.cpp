#include "LegacyMigration.h"

#include "base/Preferences.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>

namespace Lumo::App {

using Lumo::Base::Preferences;

namespace LegacyMigration {

void run(Preferences &preferences, const QString &oldSettingsPath, const QString &dataFolder)
{
    if (preferences.migratedFromScrivent())
        return;
    // Marked first, so a migration that fails part-way is not retried forever.
    preferences.setMigratedFromScrivent(true);

    if (QFileInfo::exists(oldSettingsPath)) {
        const QSettings old(oldSettingsPath, QSettings::IniFormat);
        const QStringList keys{QStringLiteral("textScale"),    QStringLiteral("readerFont"),
                               QStringLiteral("readingWidth"), QStringLiteral("openInEditMode"),
                               QStringLiteral("theme"),        QStringLiteral("useCustomCSS")};
        for (const QString &key : keys) {
            if (preferences.contains(key) || !old.contains(key))
                continue;
            const QVariant value = old.value(key);
            // Scrivent's own theme has no counterpart here.
            if (key == QLatin1String("theme") && value.toString() == QLatin1String("scrivent"))
                continue;
            preferences.setValue(key, value);
        }
    }

    const QString oldCSS = dataFolder + QStringLiteral("/Scrivent/custom.css");
    const QString newCSS = dataFolder + QStringLiteral("/Lumo/custom.css");
    if (QFileInfo::exists(oldCSS) && !QFileInfo::exists(newCSS)) {
        QDir().mkpath(QFileInfo(newCSS).absolutePath());
        QFile::copy(oldCSS, newCSS);
    }
}

void run(Preferences &preferences)
{
    run(preferences,
        QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
            QStringLiteral("/Scrivent/Scrivent.conf"),
        QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation));
}

} // namespace LegacyMigration

} // namespace Lumo::App
