#pragma once

#include "MarkdownEditing.h"
#include "MarkdownHighlighting.h"

#include <functional>
#include <QPlainTextEdit>

class QPainter;
class QTextBlock;

namespace Lumo::Editor {

class MarkdownHighlighter;

// The editor's text widget: plain text coloured by a MarkdownHighlighter, with the
// Markdown assists on Return, Tab and Shift+Tab, the wrap and link commands, and
// pasted images stored beside the document as image links. Every assist is one undo
// step; a read-only view refuses them and keeps its text and selection.
class MarkdownTextView : public QPlainTextEdit
{
    Q_OBJECT

public:
    explicit MarkdownTextView(QWidget *parent = nullptr);

    // Where the edited document lives; pasted images need it (none while untitled).
    void setDocumentPath(std::function<QString()> documentPath)
    {
        m_documentPath = std::move(documentPath);
    }

    MarkdownHighlighter *highlighter() const { return m_highlighter; }
    // The text with line feeds between lines, kept in step with every edit.
    const QString &text() const;

    bool continueList();
    bool indentListItem(bool outdent);
    void toggleWrap(const QString &marker);
    void insertLink();
    // Replaces characters and selects as the change says, as one undo step; false when
    // the view is read-only.
    bool apply(const MarkdownEditing::TextChange &change);

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    bool canInsertFromMimeData(const QMimeData *source) const override;
    void insertFromMimeData(const QMimeData *source) override;

private:
    MarkdownEditing::Selection selection() const;
    // The characters of the lines on screen.
    MarkdownHighlighting::Range visibleText() const;
    // Shift+Tab: outdents a list item, and otherwise does nothing, keeping focus here.
    void outdentOrStay(QKeyEvent *event);
    bool pasteImages(const QMimeData *source);
    // Fenced code and the selection filled over whole line boxes, spacing included,
    // under what the plain view paints per line.
    void paintUnderText(QPainter &painter, const QRect &area);
    bool isFenced(const QTextBlock &block) const;

    MarkdownHighlighter *m_highlighter;
    std::function<QString()> m_documentPath;
};

} // namespace Lumo::Editor
