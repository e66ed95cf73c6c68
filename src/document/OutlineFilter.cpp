#include "OutlineFilter.h"

#include <algorithm>
#include <QLocale>

namespace Lumo::Document::OutlineFilter {

QList<OutlineItem> matching(const QList<OutlineItem> &outline, const QString &query)
{
    if (query.isEmpty())
        return outline;
    const QLocale locale;
    const QString needle = locale.toLower(query);
    QList<OutlineItem> found;
    for (const OutlineItem &item : outline) {
        if (locale.toLower(item.text).contains(needle))
            found.append(item);
    }
    return found;
}

int minimumLevel(const QList<OutlineItem> &outline)
{
    if (outline.isEmpty())
        return 1;
    return std::min_element(
               outline.begin(), outline.end(),
               [](const OutlineItem &a, const OutlineItem &b) { return a.level < b.level; })
        ->level;
}

} // namespace Lumo::Document::OutlineFilter
