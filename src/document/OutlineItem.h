#pragma once

#include <QJsonArray>
#include <QList>
#include <QString>

namespace Lumo::Document {

// One heading of the rendered page, identified by its anchor id.
struct OutlineItem
{
    int level = 1;
    QString text;
    QString id;
    // The heading's first source line (0-based), -1 when the page did not say.
    int line = -1;

    bool operator==(const OutlineItem &) const = default;

    // The page's report: entries lacking a level, text or id of the right type are skipped.
    static QList<OutlineItem> fromMessage(const QJsonArray &items);
};

} // namespace Lumo::Document
