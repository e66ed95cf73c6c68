#include "RelativeTime.h"

#include <QCoreApplication>

namespace Lumo::Search::RelativeTime {
namespace {

QString tr(const char *text, int n = -1)
{
    return QCoreApplication::translate("RelativeTime", text, nullptr, n);
}

// The largest n with step(from, n) <= to.
template <typename Step> int wholeUnits(const QDateTime &from, const QDateTime &to, Step step)
{
    int n = 0;
    while (step(from, n + 1) <= to)
        ++n;
    return n;
}

} // namespace

QString abbreviated(const QDateTime &then, const QDateTime &now)
{
    if (!then.isValid() || !now.isValid())
        return {};
    const bool ahead = then > now;
    const QDateTime &from = ahead ? now : then;
    const QDateTime &to = ahead ? then : now;

    const int years = wholeUnits(from, to, [](const QDateTime &d, int n) { return d.addYears(n); });
    if (years > 0) {
        if (years == 1)
            return ahead ? tr("next year") : tr("last year");
        return ahead ? tr("in %n yr.", years) : tr("%n yr. ago", years);
    }
    const int months =
        wholeUnits(from, to, [](const QDateTime &d, int n) { return d.addMonths(n); });
    if (months > 0) {
        if (months == 1)
            return ahead ? tr("next month") : tr("last month");
        return ahead ? tr("in %n mo.", months) : tr("%n mo. ago", months);
    }
    const qint64 seconds = from.secsTo(to);
    const auto days = int(seconds / 86400);
    if (days >= 7) {
        const int weeks = days / 7;
        if (weeks == 1)
            return ahead ? tr("next week") : tr("last week");
        return ahead ? tr("in %n wk.", weeks) : tr("%n wk. ago", weeks);
    }
    if (days > 0) {
        if (days == 1)
            return ahead ? tr("tomorrow") : tr("yesterday");
        return ahead ? tr("in %n days", days) : tr("%n days ago", days);
    }
    if (seconds >= 3600) {
        const auto hours = int(seconds / 3600);
        return ahead ? tr("in %n hr.", hours) : tr("%n hr. ago", hours);
    }
    if (seconds >= 60) {
        const auto minutes = int(seconds / 60);
        return ahead ? tr("in %n min.", minutes) : tr("%n min. ago", minutes);
    }
    if (seconds > 0)
        return ahead ? tr("in %n sec.", int(seconds)) : tr("%n sec. ago", int(seconds));
    return tr("now");
}

} // namespace Lumo::Search::RelativeTime
