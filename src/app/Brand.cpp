#include "Brand.h"

#include <QGuiApplication>
#include <QPalette>
#include <QStyleHints>

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

} // namespace Brand
