#include "MarkdownHighlighter.h"

#include "base/Brand.h"

#include <array>
#include <optional>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QPalette>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextLayout>

using Lumo::Base::Appearance;
namespace Brand = Lumo::Base::Brand;

namespace Lumo::Editor {

using namespace MarkdownHighlighting;

namespace {

QColor withAlpha(QColor color, double alpha)
{
    color.setAlphaF(static_cast<float>(alpha));
    return color;
}

QString withLineFeeds(QString text)
{
    text.replace(QChar::ParagraphSeparator, u'\n');
    return text;
}

// Restyled at once, and the size of one background slice: a few milliseconds.
constexpr qint64 sliceLength = 24 * 1024;

} // namespace

MarkdownHighlighter::Palette MarkdownHighlighter::Palette::from(const QPalette &palette)
{
    const bool dark = palette.color(QPalette::Base).lightnessF() < 0.5;
    const QColor text = palette.color(QPalette::Text);
    Palette result;
    result.base = text;
    result.muted = withAlpha(text, dark ? 0.45 : 0.4);
    result.secondary = withAlpha(text, dark ? 0.62 : 0.58);
    result.accent = Brand::accent().resolved(dark ? Appearance::Dark : Appearance::Light);
    result.codeBackground = withAlpha(text, 0.08);
    result.codeSpan = dark ? QColor(255, 55, 95) : QColor(222, 30, 75);
    return result;
}

MarkdownHighlighter::MarkdownHighlighter(QTextDocument *document, QObject *parent)
    : QObject(parent)
    , m_document(document)
    , m_text(withLineFeeds(document->toRawText()))
    , m_palette(Palette::from(QGuiApplication::palette()))
{
    // Without a layout the document reports no changes.
    document->documentLayout();
    connect(document, &QTextDocument::contentsChange, this, &MarkdownHighlighter::contentsChanged);
    m_slicer.setSingleShot(true);
    m_slicer.setInterval(0);
    connect(&m_slicer, &QTimer::timeout, this, &MarkdownHighlighter::restyleSlice);
}

QFont MarkdownHighlighter::baseFont() const
{
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setPixelSize(std::max(1, qRound(14 * m_scale)));
    font.setWeight(QFont::Normal);
    font.setItalic(false);
    return font;
}

QTextCharFormat MarkdownHighlighter::format(const Style &style) const
{
    QTextCharFormat format;
    if (style.font == FontRole::Strong) {
        format.setFontWeight(QFont::DemiBold);
    } else if (style.font == FontRole::Emphasis) {
        format.setFontWeight(QFont::Normal);
        format.setFontItalic(true);
    }
    const std::array<QColor, 5> colors = {m_palette.base, m_palette.muted, m_palette.secondary,
                                          m_palette.accent, m_palette.codeSpan};
    if (style.color != ColorRole::Base)
        format.setForeground(colors.at(static_cast<size_t>(style.color)));
    if (style.codeBackground)
        format.setBackground(m_palette.codeBackground);
    return format;
}

void MarkdownHighlighter::highlightAll()
{
    if (!m_document)
        return;
    m_text = withLineFeeds(m_document->toRawText());
    m_blocks = findBlocks(m_text);
    m_pending.clear();
    restyle({0, m_text.size()});
}

QString MarkdownHighlighter::rawText(int from, int to) const
{
    QTextCursor cursor(m_document);
    cursor.setPosition(from);
    cursor.setPosition(to, QTextCursor::KeepAnchor);
    return withLineFeeds(cursor.selectedText());
}

void MarkdownHighlighter::contentsChanged(int position, int removed, int added)
{
    const qint64 newLength = m_document->characterCount() - 1;
    const qint64 delta = newLength - m_text.size();
    // A replacement of the whole text reports the final paragraph end as well.
    const qint64 inserted = std::min<qint64>(added, newLength - position);
    const qint64 replaced = inserted - delta;
    if (position < 0 || inserted < 0 || replaced < 0 || position + replaced > m_text.size()) {
        const qint64 before = m_text.size();
        highlightAll();
        m_lastEdit = {{0, m_text.size()}, before};
        return;
    }
    m_lastEdit = {{position, inserted}, replaced};
    if (removed == added && replaced == inserted && removed > 0) {
        const QString now = rawText(position, position + static_cast<int>(inserted));
        // The same characters within one line: nothing the rules can see has changed.
        // Across lines the lines were made anew, without their styles.
        if (QStringView(m_text).mid(position, replaced) == now && !now.contains(u'\n'))
            return;
        m_text.replace(position, replaced, now);
    } else {
        m_text.replace(position, replaced,
                       rawText(position, position + static_cast<int>(inserted)));
    }

    // Lines waiting for the background pass move with the edit.
    const qint64 editEnd = position + replaced;
    const auto moved = [&](qint64 p) {
        return p <= position ? p : (p < editEnd ? position : p + delta);
    };
    for (Range &range : m_pending) {
        const qint64 start = moved(range.location);
        range = {start, moved(range.end()) - start};
    }

    const Range edited{position, inserted};
    BlockChange change = updatedBlocks(m_text, m_blocks, edited, delta);
    const Range dirty = dirtyRange(m_text, change, edited, delta);
    m_blocks = std::move(change.blocks);
    restyle(dirty);
}

void MarkdownHighlighter::restyle(Range dirty)
{
    if (dirty.length <= sliceLength || !m_visibleRange) {
        apply(dirty);
        return;
    }
    // What is on screen, with a margin for a short scroll, now; the rest later.
    const Range visible = m_visibleRange();
    const Range near =
        wholeLines(m_text, {visible.location - sliceLength / 4, visible.length + sliceLength / 2});
    const qint64 start = std::max(near.location, dirty.location);
    const qint64 end = std::min(near.end(), dirty.end());
    if (end > start)
        apply({start, end - start});
    QList<Range> pending = m_pending;
    if (end > start) {
        pending.append({dirty.location, start - dirty.location});
        pending.append({end, dirty.end() - end});
    } else {
        pending.append(dirty);
    }
    pending.removeIf([](const Range &range) { return range.length < 1; });
    m_pending = merged(pending);
    if (!m_pending.isEmpty())
        m_slicer.start();
}

void MarkdownHighlighter::restyleSlice()
{
    if (m_pending.isEmpty())
        return;
    // Lines scrolled into view since go first.
    qsizetype index = 0;
    qint64 from = m_pending.first().location;
    if (m_visibleRange) {
        const Range visible = m_visibleRange();
        for (qsizetype i = 0; i < m_pending.size(); ++i) {
            const Range pending = m_pending.at(i);
            if (pending.location < visible.end() && pending.end() > visible.location) {
                index = i;
                from = std::max(pending.location, visible.location);
                break;
            }
        }
    }
    const Range range = m_pending.at(index);
    const Range slice = wholeLines(m_text, {from, std::min(range.end() - from, sliceLength)});
    apply(slice);
    m_pending.removeAt(index);
    if (slice.end() < range.end())
        m_pending.insert(index, {slice.end(), range.end() - slice.end()});
    if (slice.location > range.location)
        m_pending.insert(index, {range.location, slice.location - range.location});
    if (!m_pending.isEmpty())
        m_slicer.start();
}

void MarkdownHighlighter::apply(Range range)
{
    if (!m_document || range.length < 1)
        return;
    const QList<StyleRun> runs = style(m_text, m_blocks, range);
    std::array<std::optional<QTextCharFormat>, 30> formats;
    const auto formatOf = [&](const Style &s) -> const QTextCharFormat & {
        const size_t key = static_cast<size_t>(s.font) * 10 + static_cast<size_t>(s.color) * 2 +
                           (s.codeBackground ? 1 : 0);
        if (!formats.at(key))
            formats.at(key) = format(s);
        return *formats.at(key);
    };

    qsizetype next = 0;
    for (QTextBlock block = m_document->findBlock(static_cast<int>(range.location));
         block.isValid() && block.position() < range.end(); block = block.next()) {
        const qint64 start = block.position();
        const qint64 end = start + block.length() - 1;
        while (next < runs.size() && runs.at(next).location + runs.at(next).length <= start)
            ++next;
        QList<QTextLayout::FormatRange> ranges;
        for (qsizetype i = next; i < runs.size() && runs.at(i).location < end; ++i) {
            const StyleRun &run = runs.at(i);
            if (run.style.isBase())
                continue;
            const qint64 from = std::max(run.location, start);
            const qint64 to = std::min(run.location + run.length, end);
            if (to > from)
                ranges.append({static_cast<int>(from - start), static_cast<int>(to - from),
                               formatOf(run.style)});
        }
        block.layout()->setFormats(ranges);
    }
    m_document->markContentsDirty(static_cast<int>(range.location), static_cast<int>(range.length));
}

} // namespace Lumo::Editor
