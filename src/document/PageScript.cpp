#include "PageScript.h"

#include <QLocale>

namespace Lumo::Document::PageScript {

namespace {

// JSON's two-character escapes, or null.
const char16_t *namedEscape(char16_t c)
{
    switch (c) {
    case u'"':
        return u"\\\"";
    case u'\\':
        return u"\\\\";
    case u'\n':
        return u"\\n";
    case u'\r':
        return u"\\r";
    case u'\t':
        return u"\\t";
    case u'\b':
        return u"\\b";
    case u'\f':
        return u"\\f";
    default:
        return nullptr;
    }
}

} // namespace

// Written by hand: a document's whole text passes through here on every
// render, and a round trip through QJsonDocument and UTF-8 costs several
// times more.
QString json(const QString &text)
{
    static constexpr char16_t hex[] = u"0123456789abcdef";
    const QChar *data = text.constData();
    const qsizetype n = text.size();
    QString out;
    out.reserve(n + n / 8 + 2);
    out += u'"';
    qsizetype run = 0; // start of the characters that go out as they are
    for (qsizetype i = 0; i < n; ++i) {
        const char16_t c = data[i].unicode();
        const char16_t *named = namedEscape(c);
        // Control characters, and surrogates without their other half, which
        // would not survive the trip to the page as raw UTF-16.
        bool escape = c < 0x20;
        if (QChar::isHighSurrogate(c))
            escape = i + 1 >= n || !data[i + 1].isLowSurrogate();
        else if (QChar::isLowSurrogate(c))
            escape = i == 0 || !data[i - 1].isHighSurrogate();
        if (!named && !escape)
            continue;
        out.append(data + run, i - run);
        run = i + 1;
        if (named) {
            out += QStringView(named);
        } else {
            const char16_t digits[] = {
                u'\\', u'u', hex[c >> 12], hex[(c >> 8) & 15], hex[(c >> 4) & 15], hex[c & 15]};
            out += QStringView(digits, 6);
        }
    }
    out.append(data + run, n - run);
    out += u'"';
    return out;
}

QString number(double value)
{
    return QString::number(value, 'g', QLocale::FloatingPointShortest);
}

QStringList render(const QString &text, const std::optional<QString> &base, bool diff,
                   qint64 revision, qsizetype partSize)
{
    const QString options = QStringLiteral("diff: %1, rev: %2")
                                .arg(diff ? QStringLiteral("true") : QStringLiteral("false"),
                                     QString::number(revision));
    const QString baseJs = base ? json(*base) : QStringLiteral("null");
    if (text.size() <= partSize)
        return {QStringLiteral("mv.render(%1, %2, {%3})").arg(json(text), baseJs, options)};
    QStringList scripts;
    qsizetype at = 0;
    for (; text.size() - at > partSize; at += partSize)
        scripts += QStringLiteral("mv.stageText(%1, %2)")
                       .arg(QString::number(scripts.size()), json(text.mid(at, partSize)));
    scripts += QStringLiteral("mv.render(%1, %2, {%3, staged: true, length: %4})")
                   .arg(json(text.mid(at)), baseJs, options, QString::number(text.size()));
    return scripts;
}

QString renderEdit(qint64 from, const TextSplice &splice, qsizetype length,
                   const std::optional<QString> &base, bool diff, qint64 revision)
{
    return QStringLiteral("mv.renderEdit(%1, %2, %3, %4, %5, {diff: %6, rev: %7, length: %8})")
        .arg(QString::number(from), QString::number(splice.start), QString::number(splice.end),
             json(splice.inserted), base ? json(*base) : QStringLiteral("null"),
             diff ? QStringLiteral("true") : QStringLiteral("false"), QString::number(revision),
             QString::number(length));
}

QString setFollowChanges(bool on)
{
    return on ? QStringLiteral("mv.setFollowChanges(true)")
              : QStringLiteral("mv.setFollowChanges(false)");
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

} // namespace Lumo::Document::PageScript
