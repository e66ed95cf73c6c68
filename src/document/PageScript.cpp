#include "PageScript.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QLocale>

namespace PageScript {

QString json(const QString &text)
{
    const QByteArray array = QJsonDocument(QJsonArray{text}).toJson(QJsonDocument::Compact);
    if (array.size() < 2)
        return QStringLiteral("\"\"");
    return QString::fromUtf8(array.sliced(1, array.size() - 2));
}

QString number(double value)
{
    return QString::number(value, 'g', QLocale::FloatingPointShortest);
}

QString render(const QString &text, const std::optional<QString> &base, bool diff, qint64 revision)
{
    return QStringLiteral("mv.render(%1, %2, {diff: %3, rev: %4})")
        .arg(json(text), base ? json(*base) : QStringLiteral("null"),
             diff ? QStringLiteral("true") : QStringLiteral("false"), QString::number(revision));
}

QString setPrefs(double scale, const QString &font, const QString &width, const QString &theme)
{
    return QStringLiteral("mv.setPrefs({scale: %1, font: %2, width: %3, theme: %4})")
        .arg(number(scale), json(font), json(width), json(theme));
}

QString setCustomCSS(const QString &css)
{
    return QStringLiteral("mv.setCustomCSS(%1)").arg(json(css));
}

QString setWindowAppearance(bool dark)
{
    return QStringLiteral("mv.setWindowAppearance(%1)")
        .arg(json(dark ? QStringLiteral("dark") : QStringLiteral("light")));
}

QString scrollToLine(double line)
{
    return QStringLiteral("mv.scrollToLine(%1)").arg(number(line));
}

QString scrollToId(const QString &id)
{
    return QStringLiteral("mv.scrollToId(%1)").arg(json(id));
}

QString awaitedCall(qint64 requestId, const QString &name, const QString &argumentsJs)
{
    QString script = QStringLiteral("mv.call(%1, %2").arg(QString::number(requestId), json(name));
    if (!argumentsJs.isEmpty())
        script += QStringLiteral(", ") + argumentsJs;
    return script + QLatin1Char(')');
}

} // namespace PageScript
