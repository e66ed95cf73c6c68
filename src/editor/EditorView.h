#pragma once

#include "MarkdownTextView.h"

#include <optional>

namespace Lumo::Editor {

// The editing face of a document: the Markdown text view bound to the document's text
// both ways, coloured at the document's zoom, following light and dark, and reporting
// the source line at its top for scroll synchronisation.
// The text goes into the view when it is first shown, so that a document opened for
// reading never pays for laying out and colouring it.
//
// Lines are logical lines (separated by line feeds) counted from 0; a fraction says how
// far down a wrapped line is. Scrolling moves by whole visual lines.
class EditorView : public MarkdownTextView
{
    Q_OBJECT

public:
    // Space beside and above the text; the space above scrolls with it.
    static constexpr int horizontalInset = 28;
    static constexpr int verticalInset = 36;

    explicit EditorView(const QString &text, double scale, QWidget *parent = nullptr);

    // Takes a text changed elsewhere (a reload, a ticked task box); carets stay where
    // they were, as far as the new text reaches. Not reported back as an edit.
    void setBoundText(const QString &text);
    // Restyles everything at the new size; new typing uses it too.
    void setScale(double scale);
    double scale() const;

    static double topLine(const QPlainTextEdit *view);
    static void scrollToLine(QPlainTextEdit *view, double line);
    static void placeCaretAtLine(QPlainTextEdit *view, int line);

Q_SIGNALS:
    // The user changed the text: `removed` characters at `position` became `inserted`
    // ones there. Carries the whole new text too, every line ending in a line feed.
    void textEdited(const QString &text, qint64 position, qint64 removed, qint64 inserted);
    // The top visible line moved.
    void scrolled(double topLine);

protected:
    void changeEvent(QEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    void setTextSilently(const QString &text);
    void reportTopLine();

    std::optional<QString> m_unshownText;
    bool m_settingText = false;
    double m_reportedTopLine = 0;
};

} // namespace Lumo::Editor
