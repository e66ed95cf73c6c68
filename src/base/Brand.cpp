#include "Brand.h"

#include <algorithm>
#include <cmath>
#include <QGuiApplication>
#include <QPalette>
#include <QStyleHints>

namespace Lumo::Base {

QColor BrandColor::resolved(Appearance appearance) const
{
    return QColor::fromRgb(appearance == Appearance::Dark ? m_dark : m_light);
}

QColor BrandColor::current() const
{
    return resolved(Brand::currentAppearance());
}

namespace Brand {

const BrandColor &accent()
{
    static const BrandColor color(0x2F6FCA, 0x74A9EC);
    return color;
}

const BrandColor &change()
{
    static const BrandColor color(0x1A7F37, 0x3FB950);
    return color;
}

const BrandColor &selection()
{
    static const BrandColor color(0xE3F0FE, 0x1E3A56);
    return color;
}

Appearance currentAppearance()
{
    if (!qobject_cast<QGuiApplication *>(QCoreApplication::instance()))
        return Appearance::Light;
#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
    switch (QGuiApplication::styleHints()->colorScheme()) {
    case Qt::ColorScheme::Dark:
        return Appearance::Dark;
    case Qt::ColorScheme::Light:
        return Appearance::Light;
    default:
        break;
    }
#endif
    const QPalette palette = QGuiApplication::palette();
    const bool dark = palette.color(QPalette::Window).lightness() <
                      palette.color(QPalette::WindowText).lightness();
    return dark ? Appearance::Dark : Appearance::Light;
}

namespace {

double luminance(const QColor &color)
{
    const auto channel = [](double c) {
        return c <= 0.03928 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * channel(color.redF()) + 0.7152 * channel(color.greenF()) +
           0.0722 * channel(color.blueF());
}

} // namespace

double contrastRatio(const QColor &a, const QColor &b)
{
    const double first = luminance(a);
    const double second = luminance(b);
    return (std::max(first, second) + 0.05) / (std::min(first, second) + 0.05);
}

QColor mutedText(const QColor &text, const QColor &background, double minimum)
{
    // From a third of the way toward the background back to the text itself.
    for (double toward = 0.35; toward > 0; toward -= 0.05) {
        const auto mix = [toward](float from, float to) { return from + (to - from) * toward; };
        const QColor muted = QColor::fromRgbF(mix(text.redF(), background.redF()),
                                              mix(text.greenF(), background.greenF()),
                                              mix(text.blueF(), background.blueF()));
        if (contrastRatio(muted, background) >= minimum)
            return muted;
    }
    return text;
}

} // namespace Brand

} // namespace Lumo::Base
