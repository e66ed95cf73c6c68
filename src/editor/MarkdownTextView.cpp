#include "MarkdownTextView.h"

#include "MarkdownHighlighter.h"
#include "SpacedLineLayout.h"

#include <algorithm>
#include <QApplication>
#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QKeyEvent>
#include <QMimeData>
#include <QMimeDatabase>
#include <QPainter>
#include <QPaintEvent>
#include <QTextBlock>
#include <QUrl>

namespace Lumo::Editor {

using namespace MarkdownEditing;

namespace {

bool isImageFile(const QString &path)
{
    static const QMimeDatabase database;
    return QFileInfo(path).isFile() && database.mimeTypeForFile(path, QMimeDatabase::MatchExtension)
                                           .name()
                                           .startsWith(QLatin1String("image/"));
}

QByteArray pngData(const QMimeData *source)
{
    const QByteArray png = source->data(QStringLiteral("image/png"));
    if (!png.isEmpty())
        return png;
    const QImage image = qvariant_cast<QImage>(source->imageData());
    if (image.isNull())
        return {};
    QByteArray data;
    QBuffer buffer(&data);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return data;
}

// Lines at 1.3 times their height, as in a text editor set for reading.
constexpr qreal lineHeight = 1.3;

// The view's own document, laid out with spaced lines.
QTextDocument *spacedDocument(QPlainTextEdit *view)
{
    auto *document = new QTextDocument(view);
    document->setDocumentLayout(new SpacedLineLayout(document, lineHeight));
    view->setDocument(document);
    return document;
}

} // namespace

MarkdownTextView::MarkdownTextView(QWidget *parent)
    : QPlainTextEdit(parent)
    , m_highlighter(new MarkdownHighlighter(spacedDocument(this), this))
{
    m_highlighter->setVisibleRange([this] { return visibleText(); });
}

void MarkdownTextView::paintEvent(QPaintEvent *event)
{
    {
        QPainter painter(viewport());
        paintUnderText(painter, event->rect());
    }
    QPlainTextEdit::paintEvent(event);
}

bool MarkdownTextView::isFenced(const QTextBlock &block) const
{
    using MarkdownHighlighting::Block;
    const QList<Block> &blocks = m_highlighter->blocks();
    const qint64 position = block.position();
    const auto after = std::upper_bound(
        blocks.cbegin(), blocks.cend(), position,
        [](qint64 at, const Block &candidate) { return at < candidate.range.location; });
    if (after == blocks.cbegin())
        return false;
    const Block &candidate = *std::prev(after);
    return candidate.kind == Block::Kind::Fence && position < candidate.range.end();
}

void MarkdownTextView::paintUnderText(QPainter &painter, const QRect &area)
{
    const auto *layout = qobject_cast<const SpacedLineLayout *>(document()->documentLayout());
    const qreal spacing = layout ? layout->lineHeight() - 1 : 0;
    // Drawn per line, these would be striped by the space between the lines.
    const QTextCursor cursor = textCursor();
    const int selectionStart = cursor.selectionStart();
    const int selectionEnd = cursor.selectionEnd();
    const QBrush selection =
        palette().brush(hasFocus() ? QPalette::Active : QPalette::Inactive, QPalette::Highlight);
    const QColor code = m_highlighter->palette().codeBackground;
    const qreal margin = document()->documentMargin();
    // Just wider than the text, as the page's code blocks are.
    const qreal bandOverhang = fontMetrics().averageCharWidth() / 2.0;
    const QPointF offset = contentOffset();
    for (QTextBlock block = firstVisibleBlock(); block.isValid(); block = block.next()) {
        const QRectF box = blockBoundingGeometry(block).translated(offset);
        if (box.top() > area.bottom())
            break;
        if (!block.isVisible())
            continue;
        const bool last = !block.next().isValid();
        if (isFenced(block)) {
            painter.fillRect(QRectF(QPointF(margin - bandOverhang, box.top()),
                                    QPointF(viewport()->width() - margin + bandOverhang,
                                            box.bottom() - (last ? margin : 0))),
                             code);
        }
        if (selectionStart == selectionEnd || block.position() + block.length() <= selectionStart)
            continue;
        if (block.position() > selectionEnd)
            break;
        QTextLayout *lines = block.layout();
        for (int i = 0; i < lines->lineCount(); ++i) {
            const QTextLine line = lines->lineAt(i);
            const int lineStart = block.position() + line.textStart();
            const int lineEnd = lineStart + line.textLength();
            const int from = std::max(selectionStart, lineStart);
            const int to = std::min(selectionEnd, lineEnd);
            const bool throughEnd = selectionEnd > lineEnd;
            if (from > to || (from == to && !throughEnd))
                continue;
            // As the layout draws it: a whole line's text, without the spaces it wraps at.
            const QRectF text = line.naturalTextRect();
            const qreal left =
                from > lineStart ? line.cursorToX(from - block.position()) : text.left();
            qreal right = throughEnd ? text.right() : line.cursorToX(to - block.position());
            // The layout marks a selected line break with a quarter of the line's height.
            if (throughEnd && i == lines->lineCount() - 1)
                right += line.height() / 4;
            const qreal extra = spacing * line.height();
            painter.fillRect(QRectF(box.left() + left, box.top() + line.y() - extra / 2,
                                    right - left, line.height() + extra),
                             selection);
        }
    }
}

MarkdownHighlighting::Range MarkdownTextView::visibleText() const
{
    // From the lines' counts as last laid out: this is asked while the document is
    // changing, before its layout has caught up.
    QTextBlock block = firstVisibleBlock();
    if (!block.isValid())
        block = document()->firstBlock();
    const qint64 start = block.position();
    int lines = viewport()->height() / std::max(1, fontMetrics().height()) + 1;
    while (block.isValid() && lines > 0) {
        lines -= std::max(1, block.lineCount());
        block = block.next();
    }
    const qint64 end = block.isValid() ? block.position() : document()->characterCount() - 1;
    return {start, std::max<qint64>(end - start, 0)};
}

const QString &MarkdownTextView::text() const
{
    return m_highlighter->text();
}

Selection MarkdownTextView::selection() const
{
    const QTextCursor cursor = textCursor();
    return {cursor.selectionStart(), cursor.selectionEnd() - cursor.selectionStart()};
}

bool MarkdownTextView::apply(const TextChange &change)
{
    if (isReadOnly())
        return false;
    QTextCursor cursor(document());
    if (change.length > 0 || !change.replacement.isEmpty()) {
        cursor.beginEditBlock();
        cursor.setPosition(static_cast<int>(change.location));
        cursor.setPosition(static_cast<int>(change.location + change.length),
                           QTextCursor::KeepAnchor);
        cursor.insertText(change.replacement);
        cursor.endEditBlock();
    }
    cursor.setPosition(static_cast<int>(change.selectionStart));
    cursor.setPosition(static_cast<int>(change.selectionStart + change.selectionLength),
                       QTextCursor::KeepAnchor);
    setTextCursor(cursor);
    ensureCursorVisible();
    return true;
}

bool MarkdownTextView::continueList()
{
    const auto change = MarkdownEditing::continueList(text(), selection());
    if (change)
        apply(*change);
    return change.has_value();
}

bool MarkdownTextView::indentListItem(bool outdent)
{
    const auto change = MarkdownEditing::indentListItem(text(), selection(), outdent);
    if (change)
        apply(*change);
    return change.has_value();
}

void MarkdownTextView::toggleWrap(const QString &marker)
{
    apply(MarkdownEditing::toggleWrap(text(), selection(), marker));
}

void MarkdownTextView::insertLink()
{
    apply(MarkdownEditing::insertLink(text(), selection()));
}

bool MarkdownTextView::event(QEvent *event)
{
    // Ctrl+K deletes to the end of the line on some desktops; here it is Link.
    if (event->type() == QEvent::ShortcutOverride &&
        static_cast<QKeyEvent *>(event)->matches(QKeySequence::DeleteEndOfLine)) {
        event->ignore();
        return false;
    }
    return QPlainTextEdit::event(event);
}

void MarkdownTextView::keyPressEvent(QKeyEvent *event)
{
    const Qt::KeyboardModifiers modifiers = event->modifiers() & ~Qt::KeypadModifier;
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (modifiers == Qt::NoModifier && continueList())
            return;
        if (modifiers == Qt::NoModifier || modifiers == Qt::ShiftModifier) {
            // Always a line feed: a soft line break would not survive saving as text.
            if (!isReadOnly()) {
                QTextCursor cursor = textCursor();
                cursor.insertText(QStringLiteral("\n"));
                setTextCursor(cursor);
                ensureCursorVisible();
            }
            return;
        }
        break;
    case Qt::Key_Tab:
        if (modifiers == Qt::ShiftModifier) {
            outdentOrStay(event);
            return;
        }
        if (modifiers == Qt::NoModifier && indentListItem(false))
            return;
        break;
    case Qt::Key_Backtab:
        outdentOrStay(event);
        return;
    default:
        break;
    }
    QPlainTextEdit::keyPressEvent(event);
}

void MarkdownTextView::outdentOrStay(QKeyEvent *event)
{
    // Ignored, the key would travel to the parent widgets and move focus out of the
    // editor; whatever the user typed next would be lost.
    indentListItem(true);
    event->accept();
}

bool MarkdownTextView::canInsertFromMimeData(const QMimeData *source) const
{
    return source->hasImage() || source->hasFormat(QStringLiteral("image/png")) ||
           QPlainTextEdit::canInsertFromMimeData(source);
}

void MarkdownTextView::insertFromMimeData(const QMimeData *source)
{
    if (!pasteImages(source))
        QPlainTextEdit::insertFromMimeData(source);
}

bool MarkdownTextView::pasteImages(const QMimeData *source)
{
    const QString documentPath = m_documentPath ? m_documentPath() : QString();
    if (documentPath.isEmpty() || isReadOnly())
        return false;
    const QString folder = QDir::cleanPath(QFileInfo(documentPath).absolutePath());
    const QDateTime now = QDateTime::currentDateTime();

    QStringList links;
    for (const QUrl &url : source->urls()) {
        if (!url.isLocalFile() || !isImageFile(url.toLocalFile()))
            continue;
        const QString path = QDir::cleanPath(url.toLocalFile());
        const QFileInfo image(path);
        QString target;
        if (path.startsWith(folder + u'/')) {
            target = QDir(folder).relativeFilePath(path);
        } else {
            QFile file(path);
            if (!file.open(QIODevice::ReadOnly))
                continue;
            const auto stored = saveAsset(file.readAll(), image.suffix(), documentPath, now);
            if (!stored)
                continue;
            target = *stored;
        }
        links.append(imageLink(target, image.completeBaseName()));
    }

    if (links.isEmpty()) {
        if (source->hasText())
            return false;
        const QByteArray png = pngData(source);
        if (png.isEmpty())
            return false;
        const auto stored = saveAsset(png, QStringLiteral("png"), documentPath, now);
        if (!stored) {
            QApplication::beep();
            return false;
        }
        links.append(imageLink(*stored, QString()));
    }

    const Selection selected = selection();
    const QString inserted = links.join(u'\n');
    return apply(
        {selected.location, selected.length, inserted, selected.location + inserted.size(), 0});
}

} // namespace Lumo::Editor
