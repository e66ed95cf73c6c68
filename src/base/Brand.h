#pragma once

#include <QColor>
#include <QRgb>

namespace Lumo::Base {

enum class Appearance { Light, Dark };

// A colour with a light and a dark value, resolved against the appearance in force
// when it is asked for, so a window repainting after a theme switch follows it.
class BrandColor
{
public:
    constexpr BrandColor(QRgb light, QRgb dark)
        : m_light(light)
        , m_dark(dark)
    {}

    QColor resolved(Appearance appearance) const;
    QColor current() const;

private:
    QRgb m_light;
    QRgb m_dark;
};

namespace Brand {

// Tint of windows, the outline and the sidebar.
const BrandColor &accent();
// "Changed since you last read it" marks.
const BrandColor &change();
// Highlighted rows of quick open, search and the sidebar.
const BrandColor &selection();

// The desktop's appearance: dark when the application palette is dark (or the
// platform says so), light otherwise, including when there is no application.
Appearance currentAppearance();

// WCAG contrast of two opaque colours, from 1 (alike) to 21 (black on white).
double contrastRatio(const QColor &a, const QColor &b);
// The least readable text contrast for body-sized text.
constexpr double minimumTextContrast = 4.5;
// Text softened toward its background for secondary rows, never below `minimum`
// contrast (the text colour itself when it has no more to give).
QColor mutedText(const QColor &text, const QColor &background, double minimum);

} // namespace Brand

} // namespace Lumo::Base
