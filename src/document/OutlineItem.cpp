#include "OutlineItem.h"

#include <QJsonObject>

namespace Lumo::Document {

QList<OutlineItem> OutlineItem::fromMessage(const QJsonArray &items)
{
    QList<OutlineItem> outline;
    for (const QJsonValue &entry : items) {
        const QJsonObject item = entry.toObject();
        const QJsonValue level = item.value(QLatin1String("level"));
        const QJsonValue text = item.value(QLatin1String("text"));
        const QJsonValue id = item.value(QLatin1String("id"));
        if (!level.isDouble() || level.toDouble() != level.toInteger() || !text.isString() ||
            !id.isString())
            continue;
        const QJsonValue line = item.value(QLatin1String("line"));
        outline.append(
            {level.toInt(), text.toString(), id.toString(), line.isDouble() ? line.toInt(-1) : -1});
    }
    return outline;
}

} // namespace Lumo::Document
