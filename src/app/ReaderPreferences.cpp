#include "ReaderPreferences.h"

#include <array>
#include <QCoreApplication>

namespace Lumo::App {

namespace {

template <typename E> struct CaseInfo
{
    E value;
    const char *raw;
    const char *display;
};

constexpr std::array<CaseInfo<ReaderTheme::Case>, 4> themes{{
    {ReaderTheme::Lumo, "lumo", QT_TRANSLATE_NOOP("ReaderTheme", "Lumo")},
    {ReaderTheme::GitHub, "github", QT_TRANSLATE_NOOP("ReaderTheme", "GitHub")},
    {ReaderTheme::Paper, "paper", QT_TRANSLATE_NOOP("ReaderTheme", "Paper")},
    {ReaderTheme::Contrast, "contrast", QT_TRANSLATE_NOOP("ReaderTheme", "High Contrast")},
}};

constexpr std::array<CaseInfo<ReaderFont::Case>, 3> fonts{{
    {ReaderFont::Sans, "sans", QT_TRANSLATE_NOOP("ReaderFont", "Sans")},
    {ReaderFont::Serif, "serif", QT_TRANSLATE_NOOP("ReaderFont", "Serif")},
    {ReaderFont::Mono, "mono", QT_TRANSLATE_NOOP("ReaderFont", "Mono")},
}};

constexpr std::array<CaseInfo<ReadingWidth::Case>, 3> widths{{
    {ReadingWidth::Narrow, "narrow", QT_TRANSLATE_NOOP("ReadingWidth", "Narrow")},
    {ReadingWidth::Comfortable, "comfortable", QT_TRANSLATE_NOOP("ReadingWidth", "Comfortable")},
    {ReadingWidth::Wide, "wide", QT_TRANSLATE_NOOP("ReadingWidth", "Wide")},
}};

// infoOf indexes the tables by case value, so each table lists its cases in order.
template <typename E, std::size_t N>
constexpr bool inCaseOrder(const std::array<CaseInfo<E>, N> &table)
{
    for (std::size_t i = 0; i < N; ++i) {
        if (static_cast<std::size_t>(table[i].value) != i)
            return false;
    }
    return true;
}
static_assert(inCaseOrder(themes) && inCaseOrder(fonts) && inCaseOrder(widths));

template <typename E, std::size_t N> QList<E> casesOf(const std::array<CaseInfo<E>, N> &table)
{
    QList<E> all;
    for (const auto &info : table)
        all.append(info.value);
    return all;
}

template <typename E, std::size_t N>
const CaseInfo<E> &infoOf(const std::array<CaseInfo<E>, N> &table, E value)
{
    return table.at(static_cast<std::size_t>(value));
}

template <typename E, std::size_t N>
std::optional<E> caseFor(const std::array<CaseInfo<E>, N> &table, const QString &raw)
{
    for (const auto &info : table) {
        if (raw == QLatin1String(info.raw))
            return info.value;
    }
    return std::nullopt;
}

template <typename E, std::size_t N>
QString displayOf(const std::array<CaseInfo<E>, N> &table, E value, const char *context)
{
    return QCoreApplication::translate(context, infoOf(table, value).display);
}

} // namespace

QList<ReaderTheme::Case> ReaderTheme::allCases()
{
    return casesOf(themes);
}
QString ReaderTheme::rawValue(Case theme)
{
    return QLatin1String(infoOf(themes, theme).raw);
}
std::optional<ReaderTheme::Case> ReaderTheme::fromRawValue(const QString &raw)
{
    return caseFor(themes, raw);
}
QString ReaderTheme::displayName(Case theme)
{
    return displayOf(themes, theme, "ReaderTheme");
}

ThemeSwatch ReaderTheme::swatch(Case theme)
{
    switch (theme) {
    case Lumo:
        return {QColor(QRgb(0xFFFFFF)), QColor(QRgb(0x171B20)), QColor(QRgb(0x2F6FCA))};
    case GitHub:
        return {QColor(QRgb(0xFFFFFF)), QColor(QRgb(0x0D1117)), QColor(QRgb(0x0969DA))};
    case Paper:
        return {QColor(QRgb(0xF8F4EC)), QColor(QRgb(0x1F1B16)), QColor(QRgb(0x9A4A1C))};
    case Contrast:
        return {QColor(QRgb(0xFFFFFF)), QColor(QRgb(0x000000)), QColor(QRgb(0x0033CC))};
    }
    return {};
}

QList<ReaderFont::Case> ReaderFont::allCases()
{
    return casesOf(fonts);
}
QString ReaderFont::rawValue(Case font)
{
    return QLatin1String(infoOf(fonts, font).raw);
}
std::optional<ReaderFont::Case> ReaderFont::fromRawValue(const QString &raw)
{
    return caseFor(fonts, raw);
}
QString ReaderFont::displayName(Case font)
{
    return displayOf(fonts, font, "ReaderFont");
}

QList<ReadingWidth::Case> ReadingWidth::allCases()
{
    return casesOf(widths);
}
QString ReadingWidth::rawValue(Case width)
{
    return QLatin1String(infoOf(widths, width).raw);
}
std::optional<ReadingWidth::Case> ReadingWidth::fromRawValue(const QString &raw)
{
    return caseFor(widths, raw);
}
QString ReadingWidth::displayName(Case width)
{
    return displayOf(widths, width, "ReadingWidth");
}

} // namespace Lumo::App
