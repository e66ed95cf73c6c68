#include "TextScale.h"

#include <algorithm>
#include <cmath>

namespace Lumo::Base::TextScale {

double fromStored(const QVariant &stored)
{
    if (stored.typeId() == QMetaType::Bool)
        return 1.0;
    bool ok = false;
    const double value = stored.toDouble(&ok);
    return ok && std::isfinite(value) ? value : 1.0;
}

double stepped(double current, double delta)
{
    const double rounded = std::round((current + delta) * 10.0) / 10.0;
    return std::clamp(rounded, minimum, maximum);
}

QString label(double scale)
{
    return QString::number(std::lround(scale * 100.0)) + QLatin1Char('%');
}

} // namespace Lumo::Base::TextScale
