#pragma once

#include "MarkdownHighlighting.h"

#include <functional>
#include <QColor>
#include <QFont>
#include <QObject>
#include <QPointer>
#include <QTextCharFormat>
#include <QTimer>

class QPalette;
class QTextDocument;

namespace Lumo::Editor {

// Colours a plain-text document as Markdown while it is edited. After each change of
// characters it rescans for fences, front matter and comments only around the change,
// and restyles only the lines the change can have affected. When those are many (a
// fence opened above a long text), the lines on screen are restyled at once and the
// rest in short slices from the event loop, so typing never waits for them. Styles are the blocks'
// layout formats, never character formats: they stay out of the undo history and never re-enter the
// highlighter. One monospaced face at 14 × scale; headings differ only in weight and colour.
//
// It keeps a copy of the document's text in step with every edit (text()), so that
// readers need not ask the document for its whole text on each keystroke.
// Main thread only, like the document.
class MarkdownHighlighter : public QObject
{
    Q_OBJECT

public:
    // The colour roles, resolved for one appearance.
    struct Palette
    {
        QColor base, muted, secondary, accent, codeBackground, codeSpan;

        // Derived from a widget palette: label shades of its text colour, the brand's
        // accent, a pink for code spans.
        static Palette from(const QPalette &palette);
    };

    explicit MarkdownHighlighter(QTextDocument *document, QObject *parent = nullptr);

    double scale() const { return m_scale; }
    // Takes effect at the next highlightAll.
    void setScale(double scale) { m_scale = scale; }
    // Takes effect at the next highlightAll.
    void setPalette(const Palette &palette) { m_palette = palette; }
    const Palette &palette() const { return m_palette; }

    // The monospaced system face at 14 × scale logical pixels.
    QFont baseFont() const;
    // The format that a run of the given style is drawn with over the base font.
    QTextCharFormat format(const MarkdownHighlighting::Style &style) const;

    // Scans and styles the whole text: what is on screen at once, the rest later.
    void highlightAll();

    // The text on screen, restyled first; without it every restyle is done at once.
    void setVisibleRange(std::function<MarkdownHighlighting::Range()> visibleRange)
    {
        m_visibleRange = std::move(visibleRange);
    }
    // Whether lines wait to be restyled in the background.
    bool isRestyling() const { return !m_pending.isEmpty(); }

    // The document's text with line feeds between its lines.
    const QString &text() const { return m_text; }
    // The last change of characters: text()[location, end) replaced `removed` of them.
    struct Edit
    {
        MarkdownHighlighting::Range inserted;
        qint64 removed = 0;
    };
    const Edit &lastEdit() const { return m_lastEdit; }
    const QList<MarkdownHighlighting::Block> &blocks() const { return m_blocks; }

private:
    void contentsChanged(int position, int removed, int added);
    QString rawText(int from, int to) const;
    void restyle(MarkdownHighlighting::Range dirty);
    void restyleSlice();
    void apply(MarkdownHighlighting::Range range);

    QPointer<QTextDocument> m_document;
    QString m_text;
    Edit m_lastEdit;
    QList<MarkdownHighlighting::Block> m_blocks;
    std::function<MarkdownHighlighting::Range()> m_visibleRange;
    // Lines still to restyle, sorted and disjoint.
    QList<MarkdownHighlighting::Range> m_pending;
    QTimer m_slicer;
    double m_scale = 1.0;
    Palette m_palette;
};

} // namespace Lumo::Editor
