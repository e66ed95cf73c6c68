#pragma once

#include <optional>
#include <QHashFunctions>
#include <QList>
#include <QStringView>

// The rules of the editor's Markdown colouring, apart from any text widget: the
// multi-line blocks of a text, the lines an edit can have restyled, and the styles
// of a range as runs of abstract roles. Positions are UTF-16 code units.
// Stateless; the compiled rules are shared and safe to use from any thread.
namespace Lumo::Editor::MarkdownHighlighting {

struct Range
{
    qint64 location = 0;
    qint64 length = 0;

    qint64 end() const { return location + length; }
    friend bool operator==(const Range &, const Range &) = default;
};

struct Block
{
    enum class Kind { FrontMatter, Fence, Comment };

    Kind kind = Kind::FrontMatter;
    Range range;

    friend bool operator==(const Block &, const Block &) = default;
};

inline size_t qHash(const Block &block, size_t seed = 0)
{
    return qHashMulti(seed, static_cast<int>(block.kind), block.range.location, block.range.length);
}

// Every style is one of a few fonts and colours, resolved against the appearance by
// whoever draws them.
enum class FontRole : quint8 { Base, Strong, Emphasis };
enum class ColorRole : quint8 { Base, Muted, Secondary, Accent, CodeSpan };

struct Style
{
    FontRole font = FontRole::Base;
    ColorRole color = ColorRole::Base;
    bool codeBackground = false;

    bool isBase() const { return *this == Style(); }
    friend bool operator==(const Style &, const Style &) = default;
};

struct StyleRun
{
    qint64 location = 0;
    qint64 length = 0;
    Style style;

    friend bool operator==(const StyleRun &, const StyleRun &) = default;
};

// All front matter, then all fences, then all comments, each in text order.
QList<Block> findBlocks(QStringView text);

// The blocks of a text after an edit, from those before it: what findBlocks would
// give, found by scanning only from the last block that ends before the edit until
// the scan meets the old blocks again. `edited` is the replacement in the new text,
// delta the change of length.
struct BlockChange
{
    QList<Block> blocks;
    // In the old text.
    QList<Block> removed;
    QList<Block> added;
};
BlockChange updatedBlocks(QStringView text, const QList<Block> &oldBlocks, Range edited,
                          qint64 delta);

// Sorted by location, overlapping and touching ranges joined.
QList<Range> merged(QList<Range> ranges);

// Whether a match at location p with length n meets the sorted, disjoint protected
// list; an empty match counts as the one position p.
bool isProtected(const QList<Range> &protectedRanges, qint64 p, qint64 n);

// The whole lines to restyle after an edit that left `edited` (in the new text) and
// changed the length by delta: the edited lines, the line the edit ends on, and the
// old and new extent of every block that appeared, vanished or changed shape. No edit
// means the whole text.
Range dirtyRange(QStringView text, const BlockChange &change, std::optional<Range> edited,
                 qint64 delta);

// The range grown to the whole lines it touches.
Range wholeLines(QStringView text, Range range);

// The styles of range as contiguous runs covering it, equal neighbours joined.
QList<StyleRun> style(QStringView text, const QList<Block> &blocks, Range range);

} // namespace Lumo::Editor::MarkdownHighlighting
