#pragma once

#include "base/Brand.h"

#include <optional>
#include <QString>

// Light or dark, decided from the "appearance" preference ("system", "light" or
// "dark"), then the desktop's colour-scheme setting (the XDG desktop portal's
// org.freedesktop.appearance color-scheme: 1 prefers dark, 2 prefers light, 0 has
// no preference), then the palette the platform gave.
namespace Lumo::App::AppearanceChoice {

// The portal's color-scheme value as a preference, or none for "no preference".
std::optional<Lumo::Base::Appearance> fromColorScheme(uint value);
Lumo::Base::Appearance resolve(const QString &preference,
                               std::optional<Lumo::Base::Appearance> desktop,
                               Lumo::Base::Appearance platformPalette);

} // namespace Lumo::App::AppearanceChoice
