#include "EditorView.h"

#include "document/LineEndings.h"
#include "MarkdownHighlighter.h"

#include <algorithm>
#include <cmath>
#include <QEvent>
#include <QPlainTextDocumentLayout>
#include <QScrollBar>
#include <QTextBlock>

namespace LineEndings = Lumo::Document::LineEndings;

namespace Lumo::Editor {

namespace {

// Where stepping `line` lines down from the start of the text stops: that line's
// start, or the end of the text when there are fewer lines.
int positionOfLine(const QTextDocument *document, qint64 line)
{
    if (line < document->blockCount())
        return document->findBlockByNumber(static_cast<int>(line)).position();
    return document->characterCount() - 1;
}

// The block's visual line count, laid out first if it was not yet.
int lineCountOf(const QPlainTextEdit *view, const QTextBlock &block)
{
    if (auto *layout = qobject_cast<QPlainTextDocumentLayout *>(view->document()->documentLayout()))
        layout->ensureBlockLayout(block);
    return block.lineCount();
}

} // namespace

EditorView::EditorView(const QString &text, double scale, QWidget *parent)
    : MarkdownTextView(parent)
{
    setAccessibleName(tr("Markdown source"));
    setFrameShape(QFrame::NoFrame);
    setLineWrapMode(QPlainTextEdit::WidgetWidth);
    setTabChangesFocus(false);
    setUndoRedoEnabled(true);
    // The document margin is one value for all sides: the viewport reaches past the
    // sides by the difference, so the text keeps the narrower inset there.
    document()->setDocumentMargin(verticalInset);
    setViewportMargins(horizontalInset - verticalInset, 0, horizontalInset - verticalInset, 0);
    highlighter()->setScale(scale);
    highlighter()->setPalette(MarkdownHighlighter::Palette::from(palette()));
    setFont(highlighter()->baseFont());
    m_unshownText = text;

    connect(this, &QPlainTextEdit::textChanged, this, [this] {
        if (m_settingText)
            return;
        const MarkdownHighlighter::Edit &edit = highlighter()->lastEdit();
        Q_EMIT textEdited(this->text(), edit.inserted.location, edit.removed, edit.inserted.length);
    });
    // The text view moves itself (caret keys, typing, find) with the scroll bar's
    // signals blocked; what it repaints after tells.
    connect(verticalScrollBar(), &QScrollBar::valueChanged, this, &EditorView::reportTopLine);
    connect(this, &QPlainTextEdit::updateRequest, this, [this](const QRect &, int dy) {
        if (dy != 0)
            reportTopLine();
    });
}

void EditorView::reportTopLine()
{
    const double line = topLine(this);
    if (line == m_reportedTopLine)
        return;
    m_reportedTopLine = line;
    Q_EMIT scrolled(line);
}

void EditorView::setTextSilently(const QString &text)
{
    m_settingText = true;
    setPlainText(text);
    m_settingText = false;
}

void EditorView::showEvent(QShowEvent *event)
{
    if (m_unshownText) {
        if (*m_unshownText != text())
            setTextSilently(*m_unshownText);
        m_unshownText.reset();
    }
    MarkdownTextView::showEvent(event);
}

void EditorView::setBoundText(const QString &text)
{
    // Hidden (reading): laying out and colouring a long text that nobody sees, on
    // every change from disk, would cost more than the page's own work.
    if (m_unshownText || !isVisible()) {
        m_unshownText = text;
        return;
    }
    // The view holds line feeds only; the text may end its lines otherwise.
    if (LineEndings::toLineFeeds(text) == this->text())
        return;
    QTextCursor cursor = textCursor();
    const int anchor = std::min(cursor.anchor(), static_cast<int>(text.size()));
    const int position = std::min(cursor.position(), static_cast<int>(text.size()));
    const int scroll = verticalScrollBar()->value();
    setTextSilently(text);
    cursor = textCursor();
    // Carets, not selections: the selected text may be gone.
    cursor.setPosition(std::min(anchor, position));
    setTextCursor(cursor);
    verticalScrollBar()->setValue(scroll);
}

double EditorView::scale() const
{
    return highlighter()->scale();
}

void EditorView::setScale(double scale)
{
    if (qFuzzyCompare(scale, highlighter()->scale()))
        return;
    highlighter()->setScale(scale);
    setFont(highlighter()->baseFont());
    highlighter()->highlightAll();
}

void EditorView::changeEvent(QEvent *event)
{
    MarkdownTextView::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) {
        highlighter()->setPalette(MarkdownHighlighter::Palette::from(palette()));
        highlighter()->highlightAll();
    }
}

double EditorView::topLine(const QPlainTextEdit *view)
{
    const QTextDocument *document = view->document();
    const int top = view->verticalScrollBar()->value();
    if (document->isEmpty() || top <= 0)
        return 0;
    const QTextBlock block = document->findBlockByLineNumber(top);
    if (!block.isValid())
        return 0;
    const int lines = lineCountOf(view, block);
    const double fraction =
        lines > 0 ? std::clamp(double(top - block.firstLineNumber()) / lines, 0.0, 1.0) : 0.0;
    return block.blockNumber() + fraction;
}

void EditorView::scrollToLine(QPlainTextEdit *view, double line)
{
    const QTextDocument *document = view->document();
    if (!std::isfinite(line))
        return;
    const qint64 whole = static_cast<qint64>(std::trunc(std::max(line, 0.0)));
    const int length = document->characterCount() - 1;
    const int position = std::min(positionOfLine(document, whole), std::max(length - 1, 0));
    const QTextBlock block = document->findBlock(position);
    const int lines = lineCountOf(view, block);
    // The row holding the line, as the page's top shows part of it: the nearest
    // row would be the one after a line scrolled more than half out of view.
    // The slack absorbs the rounding of a fraction this view reported itself.
    const int target =
        block.firstLineNumber() +
        std::min(static_cast<int>(std::floor((std::max(line, 0.0) - whole) * lines + 1e-6)),
                 std::max(lines - 1, 0));
    view->verticalScrollBar()->setValue(std::max(target, 0));
}

void EditorView::placeCaretAtLine(QPlainTextEdit *view, int line)
{
    QTextCursor cursor = view->textCursor();
    cursor.setPosition(positionOfLine(view->document(), std::max(line, 0)));
    view->setTextCursor(cursor);
}

} // namespace Lumo::Editor
