#pragma once

#include <QString>
#include <QVariant>

// Arithmetic of the page text scale. Stored values sit on the tenth grid between
// minimum and maximum, except after a reset, which stores the integer 1.
namespace Lumo::Base::TextScale {

inline constexpr double minimum = 0.7;
inline constexpr double maximum = 2.0;
inline constexpr double step = 0.1;

// A stored value as a scale: numbers (or numeric strings, as INI files hold them) as
// they are; anything else, or nothing, as 1.0.
double fromStored(const QVariant &stored);

// current + delta, rounded to tenths (halves away from zero), clamped.
double stepped(double current, double delta);

// The Settings label: "110%" for 1.1.
QString label(double scale);

} // namespace Lumo::Base::TextScale
