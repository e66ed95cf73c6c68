#include "AppearanceChoice.h"

namespace Lumo::App {

using Lumo::Base::Appearance;

namespace AppearanceChoice {

std::optional<Appearance> fromColorScheme(uint value)
{
    switch (value) {
    case 1:
        return Appearance::Dark;
    case 2:
        return Appearance::Light;
    default:
        return std::nullopt;
    }
}

Appearance resolve(const QString &preference, std::optional<Appearance> desktop,
                   Appearance platformPalette)
{
    if (preference == QLatin1String("light"))
        return Appearance::Light;
    if (preference == QLatin1String("dark"))
        return Appearance::Dark;
    return desktop.value_or(platformPalette);
}

} // namespace AppearanceChoice

} // namespace Lumo::App
