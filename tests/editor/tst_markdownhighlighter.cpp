// The editor's colouring, read back from the formats it applied to the document.
#include "editor/MarkdownHighlighter.h"

#include <algorithm>
#include <QRandomGenerator>
#include <QTest>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextLayout>

using namespace Qt::StringLiterals;
using namespace Lumo::Editor;

namespace {

// One character's look as "font/colour", plus "+bg" over the code background.
QString describe(const QTextCharFormat &format, const MarkdownHighlighter::Palette &palette)
{
    QString font = u"base"_s;
    if (format.fontItalic())
        font = u"em"_s;
    else if (format.hasProperty(QTextFormat::FontWeight) && format.fontWeight() > QFont::Normal)
        font = u"strong"_s;
    QString color = u"base"_s;
    if (format.hasProperty(QTextFormat::ForegroundBrush)) {
        const QColor c = format.foreground().color();
        color = c == palette.muted       ? u"muted"_s
                : c == palette.secondary ? u"secondary"_s
                : c == palette.accent    ? u"accent"_s
                : c == palette.codeSpan  ? u"code"_s
                                         : u"other"_s;
    }
    const bool background = format.hasProperty(QTextFormat::BackgroundBrush);
    return font + u'/' + color + (background ? u"+bg"_s : QString());
}

// The look of every character of the document, in order (line ends skipped).
QStringList looks(QTextDocument *document, const MarkdownHighlighter &highlighter)
{
    QStringList result;
    for (QTextBlock block = document->begin(); block.isValid(); block = block.next()) {
        const QList<QTextLayout::FormatRange> ranges = block.layout()->formats();
        for (int i = 0; i < block.length() - 1; ++i) {
            QTextCharFormat format;
            for (const QTextLayout::FormatRange &range : ranges) {
                if (i >= range.start && i < range.start + range.length)
                    format.merge(range.format);
            }
            result.append(describe(format, highlighter.palette()));
        }
        result.append(u"\n"_s);
    }
    result.removeLast();
    return result;
}

} // namespace

class TestMarkdownHighlighter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void styles_data();
    void styles();
    void anEmptyTextHasNoBlocks();
    void stylingStaysOutOfTheUndoHistory();
    void editsRestyleTheLinesTheyReach_data();
    void editsRestyleTheLinesTheyReach();
    void incrementalStylingEqualsStylingFromScratch();
    void linesReplacedByTheSameTextAreStyledAgain();
    void anUnpairedSurrogateStylesTheRest();
    void backgroundRestyleEndsAsAFullOne_data();
    void backgroundRestyleEndsAsAFullOne();
    void linesScrolledIntoViewAreRestyledFirst();
};

void TestMarkdownHighlighter::styles_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("part");
    QTest::addColumn<QString>("look");

    const QString heading = u"## Title *note*\n"_s;
    QTest::newRow("heading hashes") << heading << u"##"_s << u"strong/muted"_s;
    QTest::newRow("heading text") << heading << u"Title"_s << u"strong/base"_s;
    QTest::newRow("emphasis in heading") << heading << u"*note*"_s << u"em/base"_s;
    QTest::newRow("snake_case") << u"a snake_case_name b"_s << u"snake_case_name"_s
                                << u"base/base"_s;
    QTest::newRow("italic") << u"an _a_ b"_s << u"_a_"_s << u"em/base"_s;
    QTest::newRow("bold") << u"an **a** b"_s << u"**a**"_s << u"strong/base"_s;
    QTest::newRow("three asterisks alone") << u"x\n***\ny"_s << u"***"_s << u"base/muted"_s;
    QTest::newRow("front matter") << u"---\ntitle: *x*\n---\n# H"_s << u"title: *x*"_s
                                  << u"base/muted"_s;
    QTest::newRow("rule") << u"text\n\n---\n"_s << u"---"_s << u"base/muted"_s;
    const QString fenced = u"a\n```\n# not a heading\n```\n# yes\n"_s;
    QTest::newRow("inside a fence") << fenced << u"# not a heading"_s << u"base/secondary"_s;
    QTest::newRow("after a fence") << fenced << u"yes"_s << u"strong/base"_s;
    QTest::newRow("four do not close three")
        << u"```\nc\n````\n*x*\n"_s << u"*x*"_s << u"base/secondary"_s;
    QTest::newRow("comment touching a fence")
        << u"<!-- a `b`\n```\n-->\n```\n"_s << u"`b`"_s << u"base/code+bg"_s;
    QTest::newRow("comment mutes colours")
        << u"x <!-- *c* `d` --> y"_s << u"`d`"_s << u"base/muted+bg"_s;
    QTest::newRow("comment keeps fonts") << u"x <!-- *c* --> y"_s << u"*c*"_s << u"em/muted"_s;
    QTest::newRow("code span in link text") << u"[`a`](u)"_s << u"`a`"_s << u"base/accent+bg"_s;
    QTest::newRow("link target") << u"[t](u)"_s << u"(u)"_s << u"base/muted"_s;
    QTest::newRow("bare address as target")
        << u"[t](https://x.org)"_s << u"https://x.org"_s << u"base/muted"_s;
    QTest::newRow("autolink in link target")
        << u"[t](<https://x.org>)"_s << u"<https://x.org>"_s << u"base/accent"_s;
    QTest::newRow("list marker") << u"- [x] done"_s << u"-"_s << u"base/accent"_s;
    QTest::newRow("task box") << u"- [x] done"_s << u"[x]"_s << u"base/accent"_s;
    QTest::newRow("task text") << u"- [x] done"_s << u"done"_s << u"base/base"_s;
    QTest::newRow("quote") << u"> q *e*"_s << u"q"_s << u"base/secondary"_s;
}

void TestMarkdownHighlighter::styles()
{
    QFETCH(QString, text);
    QFETCH(QString, part);
    QFETCH(QString, look);
    QTextDocument document(text);
    MarkdownHighlighter highlighter(&document);
    highlighter.highlightAll();
    const QStringList all = looks(&document, highlighter);
    const qsizetype at = text.indexOf(part);
    QVERIFY(at >= 0);
    for (qsizetype i = at; i < at + part.size(); ++i)
        QCOMPARE(all.at(i), look);
}

void TestMarkdownHighlighter::anEmptyTextHasNoBlocks()
{
    QTextDocument document;
    MarkdownHighlighter highlighter(&document);
    highlighter.highlightAll();
    QVERIFY(highlighter.blocks().isEmpty());
    QVERIFY(document.begin().layout()->formats().isEmpty());
}

void TestMarkdownHighlighter::stylingStaysOutOfTheUndoHistory()
{
    QTextDocument document;
    MarkdownHighlighter highlighter(&document);
    QTextCursor(&document).insertText(u"# a\n```\nb"_s);
    const int steps = document.availableUndoSteps();
    highlighter.setScale(1.5);
    highlighter.highlightAll();
    QCOMPARE(document.availableUndoSteps(), steps);
    while (document.isUndoAvailable())
        document.undo();
    QCOMPARE(document.toPlainText(), QString());
    QCOMPARE(highlighter.text(), QString());
}

void TestMarkdownHighlighter::editsRestyleTheLinesTheyReach_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<int>("at");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("part");
    QTest::addColumn<QString>("look");

    const QString text = u"intro\n\n# later\n\nend *x*\n"_s;
    QTest::newRow("opening a fence")
        << text << 6 << u"```\n"_s << u"# later"_s << u"base/secondary"_s;
    QTest::newRow("closing a fence")
        << u"```\na\n\n# h\n"_s << 6 << u"```\n"_s << u"h"_s << u"strong/base"_s;
    QTest::newRow("opening a comment")
        << u"intro\n\n# later\n\nend *x* -->\n"_s << 6 << u"<!--"_s << u"*x*"_s << u"em/muted"_s;
    QTest::newRow("breaking a heading")
        << u"# ab cd\n"_s << 3 << u"\n"_s << u"b cd"_s << u"base/base"_s;
    QTest::newRow("front matter at the start")
        << u"a: b\n---\n# h"_s << 0 << u"---\n"_s << u"a: b"_s << u"base/muted"_s;
    QTest::newRow("a fence appearing inside a comment")
        << u"<!--\n*x*\n``\ny\n-->\n"_s << 9 << u"`"_s << u"*x*"_s << u"em/base"_s;
    QTest::newRow("a fence vanishing inside a comment")
        << u"<!--\n*x*\n```\ny\n-->\n"_s << 9 << u"a"_s << u"*x*"_s << u"em/muted"_s;
}

void TestMarkdownHighlighter::editsRestyleTheLinesTheyReach()
{
    QFETCH(QString, before);
    QFETCH(int, at);
    QFETCH(QString, typed);
    QFETCH(QString, part);
    QFETCH(QString, look);
    QTextDocument document(before);
    MarkdownHighlighter highlighter(&document);
    highlighter.highlightAll();
    QTextCursor cursor(&document);
    cursor.setPosition(at);
    cursor.insertText(typed);
    const QString after = before.left(at) + typed + before.mid(at);
    QCOMPARE(highlighter.text(), after);
    const QStringList all = looks(&document, highlighter);
    const qsizetype from = after.lastIndexOf(part);
    QVERIFY(from >= 0);
    for (qsizetype i = from; i < from + part.size(); ++i)
        QCOMPARE(all.at(i), look);
}

void TestMarkdownHighlighter::incrementalStylingEqualsStylingFromScratch()
{
    const QStringList pieces = {u"```\n"_s, u"~~~\n"_s,        u"<!--"_s, u"-->"_s,
                                u"---\n"_s, u"...\n"_s,        u"# "_s,   u"*"_s,
                                u"_"_s,     u"**"_s,           u"`"_s,    u"\n"_s,
                                u"word "_s, u"- [ ] "_s,       u"> "_s,   u"[t]("_s,
                                u")"_s,     u"https://a.b "_s, u"1. "_s,  u"\n\n"_s};
    QRandomGenerator random(20261123);
    QTextDocument document;
    MarkdownHighlighter highlighter(&document);
    highlighter.highlightAll();
    for (int step = 0; step < 400; ++step) {
        const int length = document.characterCount() - 1;
        QTextCursor cursor(&document);
        const int choice = random.bounded(10);
        if (choice == 0 && document.isUndoAvailable()) {
            document.undo();
        } else if (choice < 3 && length > 0) {
            const int from = random.bounded(length);
            cursor.setPosition(from);
            cursor.setPosition(std::min(length, from + random.bounded(1, 8)),
                               QTextCursor::KeepAnchor);
            cursor.removeSelectedText();
        } else {
            cursor.setPosition(random.bounded(length + 1));
            cursor.insertText(pieces.at(random.bounded(int(pieces.size()))));
        }
        const QString text = document.toRawText().replace(QChar::ParagraphSeparator, u'\n');
        QCOMPARE(highlighter.text(), text);
        QCOMPARE(highlighter.blocks(), MarkdownHighlighting::findBlocks(text));

        QTextDocument fresh(text);
        MarkdownHighlighter scratch(&fresh);
        scratch.highlightAll();
        const QStringList expected = looks(&fresh, scratch);
        const QStringList actual = looks(&document, highlighter);
        if (actual != expected) {
            for (qsizetype i = 0; i < expected.size(); ++i)
                QVERIFY2(actual.at(i) == expected.at(i),
                         qPrintable(u"step %1, position %2 of:\n%3"_s.arg(step).arg(i).arg(text)));
        }
    }
}

void TestMarkdownHighlighter::linesReplacedByTheSameTextAreStyledAgain()
{
    const QString text = u"# one\n# two\n# three\n"_s;
    QTextDocument document(text);
    MarkdownHighlighter highlighter(&document);
    highlighter.highlightAll();
    const QStringList before = looks(&document, highlighter);
    QTextCursor cursor(&document);
    cursor.setPosition(2);
    cursor.setPosition(15, QTextCursor::KeepAnchor);
    QString selected = cursor.selectedText();
    cursor.insertText(selected.replace(QChar::ParagraphSeparator, u'\n'));
    QCOMPARE(highlighter.text(), text);
    QCOMPARE(looks(&document, highlighter), before);
}

void TestMarkdownHighlighter::anUnpairedSurrogateStylesTheRest()
{
    QString text = u"# head\n\nsome *em* and `code`\n"_s;
    text.insert(9, QChar(0xD800));
    QTextDocument document(text);
    MarkdownHighlighter highlighter(&document);
    highlighter.highlightAll();
    const QStringList all = looks(&document, highlighter);
    QCOMPARE(all.at(text.indexOf(u"head"_s)), u"strong/base"_s);
    QCOMPARE(all.at(text.indexOf(u"em*"_s)), u"em/base"_s);
    QCOMPARE(all.at(text.indexOf(u"code"_s)), u"base/code+bg"_s);
}

void TestMarkdownHighlighter::backgroundRestyleEndsAsAFullOne_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<int>("at");
    QTest::addColumn<int>("removed");
    QTest::addColumn<QString>("typed");
    // A second edit while the background pass runs, at this fraction of the text.
    QTest::addColumn<double>("laterAt");
    QTest::addColumn<QString>("laterTyped");

    QString body;
    while (body.size() < 120'000)
        body += u"# Heading *em*\n\nProse with `code`, **bold** and a [link](u).\n\n"
                u"- item\n  ```\n  # in a fence\n  ```\n- [x] task\n<!-- note `c` -->\n\n"_s;
    const int middle = int(body.indexOf(u"- item"_s, body.size() / 3)) + 7;
    QTest::newRow("fence opened at the start") << body << 0 << 0 << u"```\n"_s << -1.0 << QString();
    QTest::newRow("fence closed at the start")
        << u"```\n"_s + body << 0 << 4 << QString() << -1.0 << QString();
    QTest::newRow("fence opened in a list item")
        << body << middle << 0 << u"  ~~~\n"_s << -1.0 << QString();
    QTest::newRow("fence closed in a list item")
        << u"~~~\n"_s + body << middle + 4 << 0 << u"  ~~~\n"_s << -1.0 << QString();
    QTest::newRow("fence opened at the end")
        << body << int(body.size()) << 0 << u"```\n# h\n"_s << -1.0 << QString();
    QTest::newRow("typing ahead of the background pass")
        << body << 0 << 0 << u"```\n"_s << 0.8 << u"x *y* z"_s;
    QTest::newRow("a paste ahead of the background pass")
        << body << 0 << 0 << u"```\n"_s << 0.05 << u"pasted *line*\n"_s.repeated(400);
    QTest::newRow("closing the fence again meanwhile")
        << body << 0 << 0 << u"```\n"_s << 0.0 << u"```\n"_s;
    QTest::newRow("a fence opened behind the pass")
        << body << int(body.indexOf(u"Prose"_s, body.size() / 2)) << 0 << u"```\n"_s << 0.1
        << u"~~~\n"_s;
}

void TestMarkdownHighlighter::backgroundRestyleEndsAsAFullOne()
{
    QFETCH(QString, before);
    QFETCH(int, at);
    QFETCH(int, removed);
    QFETCH(QString, typed);
    QFETCH(double, laterAt);
    QFETCH(QString, laterTyped);
    QTextDocument document(before);
    MarkdownHighlighter highlighter(&document);
    // A screen's worth in the middle of the text.
    highlighter.setVisibleRange([&document] {
        return MarkdownHighlighting::Range{(document.characterCount() - 1) / 2, 3000};
    });
    highlighter.highlightAll();
    QTRY_VERIFY_WITH_TIMEOUT(!highlighter.isRestyling(), 60'000);

    QTextCursor cursor(&document);
    cursor.setPosition(at);
    cursor.setPosition(at + removed, QTextCursor::KeepAnchor);
    cursor.insertText(typed);
    const bool reachesFar = at < before.size() - 30'000;
    QCOMPARE(highlighter.isRestyling(), reachesFar);
    if (laterAt >= 0) {
        QCoreApplication::processEvents();
        QVERIFY(highlighter.isRestyling());
        cursor.setPosition(int((document.characterCount() - 1) * laterAt));
        cursor.insertText(laterTyped);
    }
    QTRY_VERIFY_WITH_TIMEOUT(!highlighter.isRestyling(), 60'000);

    const QString text = document.toRawText().replace(QChar::ParagraphSeparator, u'\n');
    QTextDocument fresh(text);
    MarkdownHighlighter scratch(&fresh);
    scratch.highlightAll();
    const QStringList expected = looks(&fresh, scratch);
    const QStringList actual = looks(&document, highlighter);
    for (qsizetype i = 0; i < expected.size(); ++i) {
        if (actual.at(i) != expected.at(i))
            QFAIL(qPrintable(u"position %1 (line %2) is %3, not %4"_s.arg(i)
                                 .arg(text.first(i).count(u'\n') + 1)
                                 .arg(actual.at(i), expected.at(i))));
    }
}

void TestMarkdownHighlighter::linesScrolledIntoViewAreRestyledFirst()
{
    const QString body = u"para *em*\n\n# head\n\n"_s.repeated(8000);
    QTextDocument document(body);
    MarkdownHighlighter highlighter(&document);
    MarkdownHighlighting::Range visible{0, 2000};
    highlighter.setVisibleRange([&visible] { return visible; });
    highlighter.highlightAll();
    QTRY_VERIFY_WITH_TIMEOUT(!highlighter.isRestyling(), 60'000);

    QTextCursor(&document).insertText(u"~~~\n"_s);
    QVERIFY(highlighter.isRestyling());
    // Scrolled to the end: one turn of the loop styles what is shown there.
    visible = {document.characterCount() - 1 - 2000, 2000};
    QCoreApplication::processEvents();
    QVERIFY(highlighter.isRestyling());
    const QString text = document.toRawText().replace(QChar::ParagraphSeparator, u'\n');
    QTextDocument fresh(text);
    MarkdownHighlighter scratch(&fresh);
    scratch.highlightAll();
    QCOMPARE(looks(&document, highlighter).mid(visible.location),
             looks(&fresh, scratch).mid(visible.location));
}

QTEST_MAIN(TestMarkdownHighlighter)
#include "tst_markdownhighlighter.moc"
