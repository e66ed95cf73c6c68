#include "MarkdownHighlighting.h"

#include <algorithm>
#include <QRegularExpression>
#include <QSet>
#include <vector>

namespace MarkdownHighlighting {

namespace {

QRegularExpression rule(const char16_t *pattern)
{
    QRegularExpression expression(QString::fromUtf16(pattern),
                                  QRegularExpression::MultilineOption |
                                      QRegularExpression::UseUnicodePropertiesOption);
    if (!expression.isValid())
        qFatal("Invalid highlighting rule %s: %s", qPrintable(expression.pattern()),
               qPrintable(expression.errorString()));
    expression.optimize();
    return expression;
}

struct Rules
{
    QRegularExpression frontMatter = rule(uR"(\A---[ \t]*\n[\s\S]*?\n(?:---|\.\.\.)[ \t]*$)");
    QRegularExpression fence = rule(uR"(^[ \t]*(```|~~~)[^\n]*\n[\s\S]*?(?:^[ \t]*\1[ \t]*$|\z))");
    QRegularExpression html = rule(uR"(<!--[\s\S]*?-->)");
    QRegularExpression heading = rule(uR"(^(#{1,6})[ \t]+.*$)");
    QRegularExpression quote = rule(uR"(^[ \t]*>.*$)");
    QRegularExpression hr = rule(uR"(^[ \t]*(?:-{3,}|\*{3,}|_{3,})[ \t]*$)");
    QRegularExpression listMarker = rule(uR"(^[ \t]*(?:[-*+]|\d+[.)])(?=[ \t]))");
    QRegularExpression task = rule(uR"(^[ \t]*(?:[-*+]|\d+[.)])[ \t]+(\[[ xX]\]))");
    QRegularExpression bold = rule(uR"((\*\*|__)(?=\S)[^\n]*?(?<=\S)\1)");
    QRegularExpression italic = rule(uR"((?<![*_\w])([*_])(?=\S)[^*_\n]*?(?<=\S)\1(?![*_\w]))");
    QRegularExpression code = rule(uR"(`[^`\n]+`)");
    QRegularExpression link = rule(uR"(!?\[([^\]\n]*)\]\(([^)\n]*)\))");
    QRegularExpression autolink = rule(uR"(<https?://[^>\s]+>|(?<![(\w])https?://[^\s)>\]]+)");
};

const Rules &rules()
{
    static const Rules shared;
    return shared;
}

Range clamped(Range range, qint64 length)
{
    const qint64 start = std::min(std::max<qint64>(range.location, 0), length);
    const qint64 end = std::min(std::max(range.end(), start), length);
    return {start, end - start};
}

Range intersection(Range a, Range b)
{
    const qint64 start = std::max(a.location, b.location);
    const qint64 end = std::min(a.end(), b.end());
    return end > start ? Range{start, end - start} : Range{start, 0};
}

// The styles of one range, character by character, so that each rule can set one
// attribute and leave the others as earlier rules made them.
class Canvas
{
public:
    explicit Canvas(Range range)
        : m_range(range)
        , m_styles(static_cast<size_t>(range.length))
    {}

    template <typename Change> void paint(Range where, Change change)
    {
        const Range inside = intersection(where, m_range);
        for (qint64 i = inside.location; i < inside.end(); ++i)
            change(m_styles[static_cast<size_t>(i - m_range.location)]);
    }
    void setFont(Range where, FontRole font)
    {
        paint(where, [font](Style &style) { style.font = font; });
    }
    void setColor(Range where, ColorRole color)
    {
        paint(where, [color](Style &style) { style.color = color; });
    }
    void setBackground(Range where)
    {
        paint(where, [](Style &style) { style.codeBackground = true; });
    }

    QList<StyleRun> runs() const
    {
        QList<StyleRun> result;
        for (size_t i = 0; i < m_styles.size(); ++i) {
            const qint64 at = m_range.location + static_cast<qint64>(i);
            if (!result.isEmpty() && result.last().style == m_styles[i])
                ++result.last().length;
            else
                result.append({at, 1, m_styles[i]});
        }
        return result;
    }

private:
    Range m_range;
    std::vector<Style> m_styles;
};

// The text as the expressions accept it: they refuse a whole text that holds an
// unpaired surrogate, so each becomes U+FFFD, which keeps every position.
QStringView matchable(QStringView text, QString &storage)
{
    const auto unpaired = [&](qsizetype i) {
        const QChar c = text[i];
        if (c.isHighSurrogate())
            return i + 1 >= text.size() || !text[i + 1].isLowSurrogate();
        return c.isLowSurrogate() && (i == 0 || !text[i - 1].isHighSurrogate());
    };
    qsizetype i = 0;
    while (i < text.size() && !(text[i].isSurrogate() && unpaired(i)))
        ++i;
    if (i == text.size())
        return text;
    storage = text.toString();
    for (; i < text.size(); ++i) {
        if (text[i].isSurrogate() && unpaired(i))
            storage[i] = QChar::ReplacementCharacter;
    }
    return storage;
}

Range captured(const QRegularExpressionMatch &match, qint64 offset, int group = 0)
{
    return {offset + match.capturedStart(group), match.capturedLength(group)};
}

} // namespace

QList<Block> findBlocks(QStringView text)
{
    QString storage;
    text = matchable(text, storage);
    QList<Block> blocks;
    const auto collect = [&](const QRegularExpression &expression, Block::Kind kind) {
        QRegularExpressionMatchIterator matches = expression.globalMatch(text);
        while (matches.hasNext()) {
            const QRegularExpressionMatch match = matches.next();
            blocks.append({kind, captured(match, 0)});
        }
    };
    collect(rules().frontMatter, Block::Kind::FrontMatter);
    collect(rules().fence, Block::Kind::Fence);
    collect(rules().html, Block::Kind::Comment);
    return blocks;
}

QList<Range> merged(QList<Range> ranges)
{
    std::stable_sort(ranges.begin(), ranges.end(),
                     [](const Range &a, const Range &b) { return a.location < b.location; });
    QList<Range> result;
    for (const Range &range : std::as_const(ranges)) {
        if (!result.isEmpty() && result.last().end() >= range.location)
            result.last().length =
                std::max(result.last().end(), range.end()) - result.last().location;
        else
            result.append(range);
    }
    return result;
}

bool isProtected(const QList<Range> &protectedRanges, qint64 p, qint64 n)
{
    const auto first = std::upper_bound(protectedRanges.begin(), protectedRanges.end(), p,
                                        [](qint64 at, const Range &r) { return r.end() > at; });
    return first != protectedRanges.end() && first->location < std::max(p + n, p + 1);
}

Range dirtyRange(QStringView text, const QList<Block> &oldBlocks, const QList<Block> &newBlocks,
                 std::optional<Range> edited, qint64 delta)
{
    const qint64 length = text.size();
    if (!edited)
        return {0, length};
    Range dirty = clamped(*edited, length);
    const qint64 l = edited->location;
    const qint64 e = edited->end() - delta;
    const auto moved = [&](qint64 p) { return p <= l ? p : (p < e ? l : p + delta); };

    QSet<Block> before;
    before.reserve(oldBlocks.size());
    for (const Block &block : oldBlocks) {
        const qint64 start = moved(block.range.location);
        const qint64 end = moved(block.range.end());
        before.insert({block.kind, {start, std::max<qint64>(0, end - start)}});
    }
    QSet<Block> after(newBlocks.begin(), newBlocks.end());
    bool fencesChanged = false;
    const auto widen = [&](const QSet<Block> &blocks, const QSet<Block> &others) {
        for (const Block &block : blocks) {
            if (others.contains(block))
                continue;
            fencesChanged = fencesChanged || block.kind != Block::Kind::Comment;
            const Range range = clamped(block.range, length);
            const qint64 start = std::min(dirty.location, range.location);
            dirty = {start, std::max(dirty.end(), range.end()) - start};
        }
    };
    widen(before, after);
    widen(after, before);
    // A comment is muted only where no fence or front matter meets it: when those
    // changed, a comment that reaches into the restyled span may have changed all along.
    for (const Block &block : fencesChanged ? newBlocks : QList<Block>()) {
        const Range range = clamped(block.range, length);
        if (block.kind == Block::Kind::Comment && range.location <= dirty.end() &&
            range.end() >= dirty.location) {
            const qint64 start = std::min(dirty.location, range.location);
            dirty = {start, std::max(dirty.end(), range.end()) - start};
        }
    }

    // Whole lines, and the line the edit ends on: a line broken in two has its second
    // half in a line of its own, which no earlier styling covers.
    const qint64 start = dirty.location == 0 ? 0 : text.lastIndexOf(u'\n', dirty.location - 1) + 1;
    const qint64 terminator = dirty.end() >= length ? -1 : text.indexOf(u'\n', dirty.end());
    const qint64 end = terminator < 0 ? length : terminator + 1;
    return {start, end - start};
}

QList<StyleRun> style(QStringView text, const QList<Block> &blocks, Range range)
{
    range = clamped(range, text.size());
    if (range.length < 1)
        return {};
    Canvas canvas(range);

    QList<Range> fenced;
    for (const Block &block : blocks) {
        if (block.kind == Block::Kind::Comment)
            continue;
        fenced.append(block.range);
        if (block.kind == Block::Kind::FrontMatter) {
            canvas.setColor(block.range, ColorRole::Muted);
        } else {
            canvas.setColor(block.range, ColorRole::Secondary);
            canvas.setBackground(block.range);
        }
    }
    const QList<Range> protectedRanges = merged(fenced);

    QString storage;
    const QStringView slice = matchable(text.mid(range.location, range.length), storage);
    const auto each = [&](const QRegularExpression &expression, auto add) {
        QRegularExpressionMatchIterator matches = expression.globalMatch(slice);
        while (matches.hasNext()) {
            const QRegularExpressionMatch match = matches.next();
            const Range whole = captured(match, range.location);
            if (!isProtected(protectedRanges, whole.location, whole.length))
                add(match, whole);
        }
    };
    const Rules &r = rules();
    const qint64 at = range.location;
    each(r.heading, [&](const QRegularExpressionMatch &m, Range whole) {
        canvas.setFont(whole, FontRole::Strong);
        canvas.setColor(captured(m, at, 1), ColorRole::Muted);
    });
    each(r.quote, [&](auto &, Range whole) { canvas.setColor(whole, ColorRole::Secondary); });
    each(r.hr, [&](auto &, Range whole) { canvas.setColor(whole, ColorRole::Muted); });
    each(r.listMarker, [&](auto &, Range whole) { canvas.setColor(whole, ColorRole::Accent); });
    each(r.task, [&](const QRegularExpressionMatch &m, Range) {
        canvas.setColor(captured(m, at, 1), ColorRole::Accent);
    });
    each(r.bold, [&](auto &, Range whole) { canvas.setFont(whole, FontRole::Strong); });
    each(r.italic, [&](auto &, Range whole) { canvas.setFont(whole, FontRole::Emphasis); });
    each(r.code, [&](auto &, Range whole) {
        canvas.setColor(whole, ColorRole::CodeSpan);
        canvas.setBackground(whole);
    });
    each(r.link, [&](const QRegularExpressionMatch &m, Range whole) {
        canvas.setColor(whole, ColorRole::Muted);
        canvas.setColor(captured(m, at, 1), ColorRole::Accent);
    });
    each(r.autolink, [&](auto &, Range whole) { canvas.setColor(whole, ColorRole::Accent); });

    for (const Block &block : blocks) {
        if (block.kind == Block::Kind::Comment &&
            !isProtected(protectedRanges, block.range.location, block.range.length))
            canvas.setColor(block.range, ColorRole::Muted);
    }
    return canvas.runs();
}

} // namespace MarkdownHighlighting
