// The editor view: line arithmetic on wrapped paragraphs at a fixed size, the binding
// to the document text, and zoom.
#include "editor/EditorView.h"
#include "editor/MarkdownHighlighter.h"

#include <QApplication>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QTextBlock>

using namespace Qt::StringLiterals;
using namespace Lumo::Editor;

namespace {

QString paragraph()
{
    return u"word "_s.repeated(120).trimmed();
}

// The view at a fixed size, shown, with its layout settled.
std::unique_ptr<EditorView> shown(const QString &text)
{
    auto view = std::make_unique<EditorView>(text, 1.0);
    view->resize(420, 300);
    view->show();
    if (!QTest::qWaitForWindowExposed(view.get()))
        qWarning("the editor was not shown");
    return view;
}

// The text position at the top-left of the visible text.
int topPosition(EditorView *view)
{
    return view->cursorForPosition(QPoint(EditorView::horizontalInset + 2, 2)).position();
}

} // namespace

class TestEditorView : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void scrollingIntoAWrappedParagraph();
    void aLineMostlyOutOfViewStaysAtTheTop_data();
    void aLineMostlyOutOfViewStaysAtTheTop();
    void linesWithoutALineFeed();
    void linesBeyondTheEnd();
    void theCaretGoesToALine();
    void outsideTextKeepsCaretsClamped();
    void zoomRestylesAtTheNewSize();
    void coloursFollowTheAppearance();
    void linesAreSpacedAndClicksFindTheirCharacter_data();
    void linesAreSpacedAndClicksFindTheirCharacter();
    void spaceBetweenLinesIsFilledUnderSelectionAndFences();
};

void TestEditorView::scrollingIntoAWrappedParagraph()
{
    QString text = u"title\n"_s + paragraph() + u"\n"_s;
    for (int i = 0; i < 80; ++i)
        text += u"line %1\n"_s.arg(i);
    auto view = shown(text);
    const QTextBlock block = view->document()->findBlockByNumber(1);
    const int lines = block.lineCount();
    QVERIFY2(lines >= 4, qPrintable(QString::number(lines)));

    QCOMPARE(EditorView::topLine(view.get()), 0.0);
    for (int k = 0; k < lines; ++k) {
        const double line = 1.0 + double(k) / lines;
        EditorView::scrollToLine(view.get(), line);
        QCOMPARE(EditorView::topLine(view.get()), line);
        // The visual line at the top is the k-th of the paragraph.
        const int top = topPosition(view.get()) - block.position();
        const QTextLine shownLine = block.layout()->lineForTextPosition(top);
        QCOMPARE(shownLine.lineNumber(), k);
    }
    // Half-way down a paragraph of four or more lines: the row holding its middle.
    EditorView::scrollToLine(view.get(), 1.5);
    QCOMPARE(view->verticalScrollBar()->value() - block.firstLineNumber(), lines / 2);

    QSignalSpy scrolled(view.get(), &EditorView::scrolled);
    view->verticalScrollBar()->setValue(block.firstLineNumber() + lines + 3);
    QCOMPARE(scrolled.count(), 1);
    QCOMPARE(scrolled.first().first().toDouble(), 5.0);
}

void TestEditorView::aLineMostlyOutOfViewStaysAtTheTop_data()
{
    QTest::addColumn<double>("shown");
    QTest::addColumn<int>("topRow");
    // The page's top shows the bottom sliver of a line, or of a wrapped paragraph's last row.
    QTest::newRow("a one-row line") << 0.9 << 0;
    QTest::newRow("half of a one-row line") << 0.5 << 0;
    QTest::newRow("the last row of a paragraph") << -0.1 << -1;
}

void TestEditorView::aLineMostlyOutOfViewStaysAtTheTop()
{
    QFETCH(double, shown);
    QFETCH(int, topRow);
    auto view = ::shown(u"title\n"_s + paragraph() + u"\n"_s + u"line\n"_s.repeated(80));
    // Line 2 is one row; line 1 the paragraph, whose rows a negative figure counts from its end.
    const int line = topRow < 0 ? 1 : 2;
    const QTextBlock block = view->document()->findBlockByNumber(line);
    const int lines = block.lineCount();
    const double fraction = topRow < 0 ? (lines + shown) / lines : shown;
    EditorView::scrollToLine(view.get(), line + fraction);
    const int expected = topRow < 0 ? lines + topRow : topRow;
    QCOMPARE(view->verticalScrollBar()->value() - block.firstLineNumber(), expected);
}

void TestEditorView::linesWithoutALineFeed()
{
    auto view = shown(paragraph() + u" "_s + paragraph() + u" "_s + paragraph());
    const int lines = view->document()->firstBlock().lineCount();
    QVERIFY(lines > 6);
    view->verticalScrollBar()->setValue(3);
    QCOMPARE(EditorView::topLine(view.get()), 3.0 / lines);
}

void TestEditorView::linesBeyondTheEnd()
{
    QString text;
    for (int i = 0; i < 200; ++i)
        text += u"line %1\n"_s.arg(i);
    auto view = shown(text + u"last"_s);
    EditorView::scrollToLine(view.get(), 200);
    const int last = view->verticalScrollBar()->value();
    QVERIFY(last > 0);
    EditorView::scrollToLine(view.get(), 0);
    EditorView::scrollToLine(view.get(), 1e6);
    QCOMPARE(view->verticalScrollBar()->value(), last);
}

void TestEditorView::theCaretGoesToALine()
{
    auto view = shown(u"a\nbb\nccc"_s);
    EditorView::placeCaretAtLine(view.get(), 2);
    QCOMPARE(view->textCursor().position(), 5);
    EditorView::placeCaretAtLine(view.get(), 9);
    QCOMPARE(view->textCursor().position(), 8);
}

void TestEditorView::outsideTextKeepsCaretsClamped()
{
    EditorView view(u"w"_s, 1.0);
    view.setBoundText(u"x"_s.repeated(600));
    view.show();
    QCOMPARE(view.text(), u"x"_s.repeated(600));
    QSignalSpy edited(&view, &EditorView::textEdited);
    QTextCursor cursor = view.textCursor();
    cursor.setPosition(500);
    view.setTextCursor(cursor);
    view.setBoundText(u"y"_s.repeated(100));
    QCOMPARE(view.textCursor().position(), 100);
    QCOMPARE(view.text(), u"y"_s.repeated(100));
    QCOMPARE(edited.count(), 0);

    QTest::keyClicks(&view, u"z"_s);
    QCOMPARE(edited.count(), 1);
    QCOMPARE(edited.first().first().toString(), u"y"_s.repeated(100) + u"z"_s);
    QCOMPARE(edited.first().mid(1), (QVariantList{100, 0, 1}));
}

void TestEditorView::zoomRestylesAtTheNewSize()
{
    auto view = shown(u"# Title\n\ntext"_s);
    QCOMPARE(view->font().pixelSize(), 14);
    const auto headingFormats = [&] { return view->document()->begin().layout()->formats(); };
    QVERIFY(!headingFormats().isEmpty());
    view->document()->begin().layout()->setFormats({});
    view->setScale(1.5);
    QCOMPARE(view->font().pixelSize(), 21);
    QCOMPARE(view->document()->defaultFont().pixelSize(), 21);
    QVERIFY(!headingFormats().isEmpty());
}

void TestEditorView::coloursFollowTheAppearance()
{
    auto view = shown(u"a `c`"_s);
    const QColor light = MarkdownHighlighter::Palette::from(view->palette()).codeSpan;
    QPalette dark = view->palette();
    dark.setColor(QPalette::Base, QColor(24, 24, 26));
    dark.setColor(QPalette::Text, QColor(228, 228, 230));
    view->setPalette(dark);
    const QList<QTextLayout::FormatRange> formats = view->document()->begin().layout()->formats();
    QCOMPARE(formats.size(), 1);
    const QColor drawn = formats.first().format.foreground().color();
    QCOMPARE(drawn, MarkdownHighlighter::Palette::from(dark).codeSpan);
    QVERIFY(drawn != light);
}

void TestEditorView::linesAreSpacedAndClicksFindTheirCharacter_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("line");
    QTest::addColumn<int>("column");

    QTest::newRow("second of three lines") << u"first\nsecond\nthird"_s << 1 << 3;
    QTest::newRow("third of three lines") << u"first\nsecond\nthird"_s << 2 << 2;
    QTest::newRow("restyled lines") << u"# one\n```\ntwo\n```\n*three*"_s << 4 << 1;
    // Visual lines of one wrapped paragraph.
    QTest::newRow("wrapped paragraph") << paragraph() << 3 << 4;
}

void TestEditorView::linesAreSpacedAndClicksFindTheirCharacter()
{
    QFETCH(QString, text);
    QFETCH(int, line);
    QFETCH(int, column);
    auto view = shown(text);
    const QTextLayout *layout = view->document()->firstBlock().layout();
    QVERIFY(layout->lineCount() > 0);
    const qreal height = layout->lineAt(0).height();
    const QRect first = view->cursorRect(QTextCursor(view->document()));
    QTextCursor second(view->document());
    second.movePosition(QTextCursor::Down);
    QVERIFY(second.position() > 0);
    QVERIFY(qAbs(view->cursorRect(second).top() - first.top() - 1.3 * height) <= 1);

    // The middle of the line's space, the left of the column's character.
    const qreal advance = QFontMetricsF(view->font()).horizontalAdvance(u'x');
    const QPoint point(first.left() + qRound(advance * column) + 1,
                       first.top() + qRound(1.3 * height * (line + 0.5) - 0.15 * height));
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, point);
    QTextCursor expected(view->document());
    for (int i = 0; i < line; ++i)
        expected.movePosition(QTextCursor::Down);
    expected.movePosition(QTextCursor::StartOfLine);
    QCOMPARE(view->textCursor().position(), expected.position() + column);
}

QTEST_MAIN(TestEditorView)
void TestEditorView::spaceBetweenLinesIsFilledUnderSelectionAndFences()
{
    auto view = shown(u"```\ncode one\ncode two\n```\nplain one\nplain two\nplain three"_s);
    QTextCursor selection(view->document()->findBlockByNumber(4));
    selection.movePosition(QTextCursor::Down, QTextCursor::KeepAnchor);
    selection.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
    view->setTextCursor(selection);
    const QImage image = view->viewport()->grab().toImage();
    // In the space below a line's text, a little in from the left.
    const auto gapBelow = [&](int blockNumber) {
        const QRect caret =
            view->cursorRect(QTextCursor(view->document()->findBlockByNumber(blockNumber)));
        return image.pixelColor(caret.left() + 3, caret.bottom() + 1 + caret.height() / 10);
    };
    const QColor background = view->palette().color(QPalette::Base);
    const QColor highlight = view->palette().color(
        view->hasFocus() ? QPalette::Active : QPalette::Inactive, QPalette::Highlight);
    QCOMPARE(gapBelow(4), highlight);
    QVERIFY(gapBelow(1) != background);
    QCOMPARE(gapBelow(6), background);
}

#include "tst_editorview.moc"
