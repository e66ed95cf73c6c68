#include "OpenTarget.h"

#include <QFileInfo>
#include <QJsonObject>
#include <QRegularExpression>

namespace Lumo::App {

using Lumo::Document::OutlineItem;

OpenTarget OpenTarget::fromArgument(const QString &absolutePath,
                                    const std::function<bool(const QString &)> &exists)
{
    const auto isFile = [&exists](const QString &path) {
        return exists ? exists(path) : QFileInfo::exists(path);
    };
    if (isFile(absolutePath))
        return {absolutePath, -1, {}};

    // FILE:LINE, and FILE:LINE:COLUMN as compilers and grep -n print it.
    static const QRegularExpression lineSuffix(QStringLiteral(":(\\d+)(:\\d+)?$"));
    const QRegularExpressionMatch line = lineSuffix.match(absolutePath);
    if (line.hasMatch()) {
        const int number = line.captured(1).toInt();
        const QString beforeLine = absolutePath.left(line.capturedStart(0));
        if (isFile(beforeLine))
            return {beforeLine, number > 0 ? number - 1 : -1, {}};
        // "a.md:3:7" may also be the file "a.md:3" at line 7.
        const QString beforeColumn = absolutePath.left(line.capturedStart(2));
        if (line.hasCaptured(2) && isFile(beforeColumn)) {
            const int last = line.captured(2).mid(1).toInt();
            return {beforeColumn, last > 0 ? last - 1 : -1, {}};
        }
    }

    const qsizetype hash = absolutePath.lastIndexOf(QLatin1Char('#'));
    if (hash > 0 && isFile(absolutePath.left(hash)))
        return {absolutePath.left(hash), -1, absolutePath.mid(hash + 1)};
    return {absolutePath, -1, {}};
}

QJsonValue OpenTarget::toJson() const
{
    if (line < 0 && heading.isEmpty())
        return path;
    QJsonObject object{{QStringLiteral("path"), path}};
    if (line >= 0)
        object.insert(QStringLiteral("line"), line);
    if (!heading.isEmpty())
        object.insert(QStringLiteral("heading"), heading);
    return object;
}

OpenTarget OpenTarget::fromJson(const QJsonValue &value)
{
    if (value.isString())
        return {value.toString(), -1, {}};
    const QJsonObject object = value.toObject();
    const QJsonValue line = object.value(QLatin1String("line"));
    return {object.value(QLatin1String("path")).toString(),
            line.isDouble() && line.toDouble() == line.toInteger() ? qMax(-1, line.toInt(-1)) : -1,
            object.value(QLatin1String("heading")).toString()};
}

int OpenTarget::headingIndex(const QList<OutlineItem> &outline, const QString &heading)
{
    if (heading.isEmpty())
        return -1;
    for (qsizetype i = 0; i < outline.size(); ++i) {
        if (outline.at(i).id == heading)
            return int(i);
    }
    for (qsizetype i = 0; i < outline.size(); ++i) {
        if (outline.at(i).text.compare(heading.trimmed(), Qt::CaseInsensitive) == 0)
            return int(i);
    }
    // "Install It" for the anchor "install-it".
    const QString anchor = heading.trimmed().toLower().replace(QLatin1Char(' '), QLatin1Char('-'));
    for (qsizetype i = 0; i < outline.size(); ++i) {
        if (outline.at(i).id == anchor)
            return int(i);
    }
    return -1;
}

} // namespace Lumo::App
