#include "LineEndings.h"

#include <array>

namespace Lumo::Document::LineEndings {

namespace {

// The character at the front of text[from, to) as the editor sees it, and how many
// code units of text it takes.
struct Unit
{
    QChar character;
    qsizetype length;
};

Unit unitAt(QStringView text, qsizetype index)
{
    const QChar c = text.at(index);
    if (c != u'\r')
        return {c, 1};
    const bool pair = index + 1 < text.size() && text.at(index + 1) == u'\n';
    return {QChar(u'\n'), pair ? 2 : 1};
}

Unit unitBefore(QStringView text, qsizetype end)
{
    const QChar c = text.at(end - 1);
    if (c == u'\r')
        return {QChar(u'\n'), 1};
    const bool pair = c == u'\n' && end >= 2 && text.at(end - 2) == u'\r';
    return {c, pair ? 2 : 1};
}

} // namespace

Style dominant(QStringView text)
{
    std::array<qsizetype, 3> counts{};
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text.at(i) == u'\n') {
            ++counts[0];
        } else if (text.at(i) == u'\r') {
            const bool pair = i + 1 < text.size() && text.at(i + 1) == u'\n';
            ++counts[pair ? 1 : 2];
            i += pair ? 1 : 0;
        }
    }
    size_t best = 0;
    for (size_t i = 1; i < counts.size(); ++i) {
        if (counts[i] > counts[best])
            best = i;
    }
    return static_cast<Style>(best);
}

QString sequence(Style style)
{
    switch (style) {
    case Style::CarriageReturnLineFeed:
        return QStringLiteral("\r\n");
    case Style::CarriageReturn:
        return QStringLiteral("\r");
    case Style::LineFeed:
        break;
    }
    return QStringLiteral("\n");
}

QString toLineFeeds(const QString &text)
{
    if (!text.contains(u'\r'))
        return text;
    QString result;
    result.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); i += unitAt(text, i).length)
        result.append(unitAt(text, i).character);
    return result;
}

QString applyEdit(const QString &text, const QString &edited)
{
    // Common front, in whole units so that a CR LF pair is never split.
    qsizetype front = 0;
    qsizetype editedFront = 0;
    while (front < text.size() && editedFront < edited.size()) {
        const Unit unit = unitAt(text, front);
        if (unit.character != edited.at(editedFront))
            break;
        front += unit.length;
        ++editedFront;
    }
    // Common back, not reaching into the common front.
    qsizetype back = text.size();
    qsizetype editedBack = edited.size();
    while (back > front && editedBack > editedFront) {
        const Unit unit = unitBefore(text, back);
        if (back - unit.length < front || unit.character != edited.at(editedBack - 1))
            break;
        back -= unit.length;
        --editedBack;
    }
    QString middle = edited.mid(editedFront, editedBack - editedFront);
    const Style style = dominant(text);
    if (style != Style::LineFeed)
        middle.replace(u'\n', sequence(style));
    QString result = text.left(front) + middle + text.mid(back);
    // A lone carriage return now before a line feed would read as one ending, not two.
    const qsizetype end = front + middle.size();
    for (const qsizetype at : {end, front}) {
        if (at > 0 && at < result.size() && result.at(at - 1) == u'\r' && result.at(at) == u'\n')
            result.insert(at, u'\n');
        if (end == front)
            break;
    }
    return result;
}

} // namespace Lumo::Document::LineEndings
