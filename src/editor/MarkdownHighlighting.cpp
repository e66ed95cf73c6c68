#include "MarkdownHighlighting.h"

#include <algorithm>
#include <QRegularExpression>
#include <QSet>
#include <vector>

namespace Lumo::Editor::MarkdownHighlighting {

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

bool unpairedAt(QStringView text, qsizetype i)
{
    const QChar c = text[i];
    if (c.isHighSurrogate())
        return i + 1 >= text.size() || !text[i + 1].isLowSurrogate();
    return c.isLowSurrogate() && (i == 0 || !text[i - 1].isHighSurrogate());
}

// The text as the expressions accept it: they refuse a whole text that holds an
// unpaired surrogate, so each becomes U+FFFD, which keeps every position.
QStringView matchable(QStringView text, QString &storage)
{
    qsizetype i = 0;
    while (i < text.size() && !(text[i].isSurrogate() && unpairedAt(text, i)))
        ++i;
    if (i == text.size())
        return text;
    storage = text.toString();
    for (; i < text.size(); ++i) {
        if (text[i].isSurrogate() && unpairedAt(text, i))
            storage[i] = QChar::ReplacementCharacter;
    }
    return storage;
}

Range captured(const QRegularExpressionMatch &match, qint64 offset, int group = 0)
{
    return {offset + match.capturedStart(group), match.capturedLength(group)};
}

// The blocks are found by hand rather than by expressions: a lazy expression that
// runs to the end of a long text is slow, and past a few megabytes it gives up.

qint64 skipBlanks(QStringView text, qint64 at)
{
    while (at < text.size() && (text[at] == u' ' || text[at] == u'\t'))
        ++at;
    return at;
}

// Whether text[at, end of line) is the marker with nothing but blanks after it.
bool isMarkerLine(QStringView text, qint64 at, QStringView marker)
{
    if (text.mid(at, marker.size()) != marker)
        return false;
    const qint64 end = skipBlanks(text, at + marker.size());
    return end == text.size() || text[end] == u'\n';
}

// The end of the first line at or after `line` that closes; -1 when none does.
template <typename Closes> qint64 closingLineEnd(QStringView text, qint64 line, Closes closes)
{
    while (line <= text.size()) {
        const qint64 end = text.indexOf(u'\n', line);
        if (closes(line))
            return end < 0 ? text.size() : end;
        if (end < 0)
            break;
        line = end + 1;
    }
    return -1;
}

// Front matter: "---" opening the text, up to a line of "---" or "..." that is not the
// first after it.
std::optional<Range> frontMatterAt(QStringView text)
{
    if (!isMarkerLine(text, 0, u"---"))
        return std::nullopt;
    const qint64 opened = text.indexOf(u'\n');
    if (opened < 0)
        return std::nullopt;
    const qint64 firstLineEnd = text.indexOf(u'\n', opened + 1);
    if (firstLineEnd < 0)
        return std::nullopt;
    const qint64 end = closingLineEnd(text, firstLineEnd + 1, [&](qint64 line) {
        return isMarkerLine(text, line, u"---") || isMarkerLine(text, line, u"...");
    });
    if (end < 0)
        return std::nullopt;
    return Range{0, end};
}

// A fence: a line of blanks and ``` or ~~~ (and anything after), up to a line of
// blanks and the same three characters, or to the end of the text.
std::optional<Range> fenceAt(QStringView text, qint64 line)
{
    const qint64 at = skipBlanks(text, line);
    const QStringView marker = text.mid(at, 3);
    if (marker != u"```" && marker != u"~~~")
        return std::nullopt;
    const qint64 opened = text.indexOf(u'\n', at);
    if (opened < 0)
        return std::nullopt;
    const qint64 end = closingLineEnd(text, opened + 1, [&](qint64 next) {
        return isMarkerLine(text, skipBlanks(text, next), marker);
    });
    return Range{line, (end < 0 ? text.size() : end) - line};
}

std::optional<Range> commentAt(QStringView text, qint64 at)
{
    const qint64 close = text.indexOf(u"-->", at + 4);
    if (close < 0)
        return std::nullopt;
    return Range{at, close + 3 - at};
}

// The leftmost block of the kind that starts in [from, limit), as a scan from `from`
// finds it: only the places where such a block can open are tried.
std::optional<Range> nextBlock(QStringView text, Block::Kind kind, qint64 from, qint64 limit)
{
    limit = std::min<qint64>(limit, text.size());
    switch (kind) {
    case Block::Kind::FrontMatter:
        return from == 0 && limit > 0 ? frontMatterAt(text) : std::nullopt;
    case Block::Kind::Comment:
        for (qint64 at = from; at < limit; ++at) {
            at = text.first(std::min<qint64>(limit + 3, text.size())).indexOf(u"<!--", at);
            if (at < 0 || at >= limit)
                break;
            if (auto found = commentAt(text, at))
                return found;
        }
        return std::nullopt;
    case Block::Kind::Fence:
        break;
    }
    qint64 line = from;
    if (from > 0 && text[from - 1] != u'\n') {
        const qint64 end = text.indexOf(u'\n', from);
        if (end < 0)
            return std::nullopt;
        line = end + 1;
    }
    while (line < limit) {
        if (auto found = fenceAt(text, line))
            return found;
        const qint64 end = text.indexOf(u'\n', line);
        if (end < 0)
            break;
        line = end + 1;
    }
    return std::nullopt;
}

// One kind's blocks after an edit, found as updatedBlocks says. An opener fails only
// when nothing closes it up to the end of the text, so a failed opener never precedes
// a found block: the scan that found a block looked at no text after it.
QList<Range> updatedRanges(QStringView text, Block::Kind kind, const QList<Range> &old,
                           Range edited, qint64 delta, BlockChange &change)
{
    const qint64 oldLength = text.size() - delta;
    const auto endsBefore = [&](qint64 p) {
        return std::partition_point(old.begin(), old.end(),
                                    [p](const Range &r) { return r.end() < p; }) -
               old.begin();
    };
    const qsizetype kept = endsBefore(edited.location);
    QList<Range> result(old.begin(), old.begin() + kept);
    qint64 scan = kept > 0 ? old.at(kept - 1).end() : 0;
    for (;;) {
        // The first place past the edit (with the character before it unchanged) where
        // the old scan stood too: anywhere outside an old block.
        qint64 resume = std::max(scan, edited.end() + 1) - delta;
        const auto around = std::partition_point(
            old.begin(), old.end(), [resume](const Range &r) { return r.end() <= resume; });
        if (around != old.end() && around->location < resume)
            resume = around->end();
        const bool canMeet = resume <= oldLength;
        const std::optional<Range> found =
            nextBlock(text, kind, scan, canMeet ? resume + delta : text.size() + 1);
        if (found) {
            result.append(*found);
            change.added.append({kind, *found});
            scan = std::max(found->end(), found->location + 1);
            continue;
        }
        const auto rest =
            canMeet ? std::partition_point(old.begin(), old.end(),
                                           [resume](const Range &r) { return r.location < resume; })
                    : old.end();
        for (auto it = old.begin() + kept; it != rest; ++it)
            change.removed.append({kind, *it});
        for (auto it = rest; it != old.end(); ++it)
            result.append({it->location + delta, it->length});
        return result;
    }
}

} // namespace

BlockChange updatedBlocks(QStringView text, const QList<Block> &oldBlocks, Range edited,
                          qint64 delta)
{
    BlockChange change;
    change.blocks.reserve(oldBlocks.size() + 1);
    for (const Block::Kind kind :
         {Block::Kind::FrontMatter, Block::Kind::Fence, Block::Kind::Comment}) {
        QList<Range> old;
        for (const Block &block : oldBlocks) {
            if (block.kind == kind)
                old.append(block.range);
        }
        for (const Range &range : updatedRanges(text, kind, old, edited, delta, change))
            change.blocks.append({kind, range});
    }
    return change;
}

QList<Block> findBlocks(QStringView text)
{
    QList<Block> blocks;
    for (const Block::Kind kind :
         {Block::Kind::FrontMatter, Block::Kind::Fence, Block::Kind::Comment}) {
        qint64 scan = 0;
        while (const std::optional<Range> found = nextBlock(text, kind, scan, text.size())) {
            blocks.append({kind, *found});
            scan = std::max(found->end(), found->location + 1);
        }
    }
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

Range wholeLines(QStringView text, Range range)
{
    const qint64 length = text.size();
    range = clamped(range, length);
    const qint64 start = range.location == 0 ? 0 : text.lastIndexOf(u'\n', range.location - 1) + 1;
    const qint64 terminator = range.end() >= length ? -1 : text.indexOf(u'\n', range.end());
    const qint64 end = terminator < 0 ? length : terminator + 1;
    return {start, end - start};
}

Range dirtyRange(QStringView text, const BlockChange &change, std::optional<Range> edited,
                 qint64 delta)
{
    const qint64 length = text.size();
    if (!edited)
        return {0, length};
    Range dirty = clamped(*edited, length);
    const qint64 l = edited->location;
    const qint64 e = edited->end() - delta;
    const auto moved = [&](qint64 p) { return p <= l ? p : (p < e ? l : p + delta); };

    QSet<Block> before;
    for (const Block &block : change.removed) {
        const qint64 start = moved(block.range.location);
        const qint64 end = moved(block.range.end());
        before.insert({block.kind, {start, std::max<qint64>(0, end - start)}});
    }
    const QSet<Block> after(change.added.begin(), change.added.end());
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
    for (const Block &block : fencesChanged ? change.blocks : QList<Block>()) {
        const Range range = clamped(block.range, length);
        if (block.kind == Block::Kind::Comment && range.location <= dirty.end() &&
            range.end() >= dirty.location) {
            const qint64 start = std::min(dirty.location, range.location);
            dirty = {start, std::max(dirty.end(), range.end()) - start};
        }
    }

    // Whole lines, and the line the edit ends on: a line broken in two has its second
    // half in a line of its own, which no earlier styling covers.
    return wholeLines(text, dirty);
}

QList<StyleRun> style(QStringView text, const QList<Block> &blocks, Range range)
{
    range = clamped(range, text.size());
    if (range.length < 1)
        return {};
    Canvas canvas(range);

    // Matches lie inside the range, so only the blocks that meet it can touch them, and
    // the fences that meet those comments, which decide whether a comment is muted.
    const auto meets = [](const Range &a, const Range &b) {
        return a.location <= b.end() && a.end() >= b.location;
    };
    Range reach = range;
    for (const Block &block : blocks) {
        if (block.kind == Block::Kind::Comment && meets(block.range, range)) {
            const qint64 start = std::min(reach.location, block.range.location);
            reach = {start, std::max(reach.end(), block.range.end()) - start};
        }
    }
    QList<Block> meeting;
    for (const Block &block : blocks) {
        if (meets(block.range, block.kind == Block::Kind::Comment ? range : reach))
            meeting.append(block);
    }
    QList<Range> fenced;
    for (const Block &block : std::as_const(meeting)) {
        if (block.kind == Block::Kind::Comment)
            continue;
        fenced.append(block.range);
        if (block.kind == Block::Kind::FrontMatter) {
            canvas.setColor(block.range, ColorRole::Muted);
        } else {
            // The view fills fenced lines with the code background as one band.
            canvas.setColor(block.range, ColorRole::Secondary);
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

    for (const Block &block : std::as_const(meeting)) {
        if (block.kind == Block::Kind::Comment &&
            !isProtected(protectedRanges, block.range.location, block.range.length))
            canvas.setColor(block.range, ColorRole::Muted);
    }
    return canvas.runs();
}

} // namespace Lumo::Editor::MarkdownHighlighting
