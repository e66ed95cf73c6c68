#pragma once

#include <optional>
#include <QColor>
#include <QList>
#include <QString>

namespace Lumo::App {

// The three styling choices of the reading page. Each case has a raw value, which is
// what the preferences store and what the page receives; the case order is the order
// in which Settings lists them. Strings that name no case are passed through as they
// are by the preferences, so fromRawValue returning nothing is not an error.

struct ThemeSwatch
{
    QColor lightPage;
    QColor darkPage;
    QColor accent;
};

struct ReaderTheme
{
    enum Case { Lumo, GitHub, Paper, Contrast };
    static QList<Case> allCases();
    static QString rawValue(Case theme);
    static std::optional<Case> fromRawValue(const QString &raw);
    static QString displayName(Case theme);
    // Only for drawing the theme's preview tile; the page has its own colours.
    static ThemeSwatch swatch(Case theme);
};

struct ReaderFont
{
    enum Case { Sans, Serif, Mono };
    static QList<Case> allCases();
    static QString rawValue(Case font);
    static std::optional<Case> fromRawValue(const QString &raw);
    static QString displayName(Case font);
};

struct ReadingWidth
{
    enum Case { Narrow, Comfortable, Wide };
    static QList<Case> allCases();
    static QString rawValue(Case width);
    static std::optional<Case> fromRawValue(const QString &raw);
    static QString displayName(Case width);
};

} // namespace Lumo::App
