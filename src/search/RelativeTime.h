#pragma once

#include <QDateTime>
#include <QString>

namespace Lumo::Search::RelativeTime {

// `then` as seen from `now`, abbreviated, in its largest whole unit, with named days
// and periods: "now", "12 sec. ago", "3 min. ago", "2 hr. ago", "yesterday",
// "4 days ago", "last week", "3 wk. ago", "last month", "5 mo. ago", "last year",
// "2 yr. ago"; a time ahead of now reads "in 3 min.", "tomorrow" and so on. Empty for
// an invalid date.
QString abbreviated(const QDateTime &then, const QDateTime &now = QDateTime::currentDateTime());

} // namespace Lumo::Search::RelativeTime
