// The colouring's rules on strings: which multi-line blocks a text holds, and the
// range arithmetic the highlighter restyles by.
#include "editor/MarkdownHighlighting.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace Lumo::Editor;
using namespace Lumo::Editor::MarkdownHighlighting;

namespace {

// A block as "kind location+length".
QString describe(const Block &block)
{
    const QString kind = block.kind == Block::Kind::FrontMatter ? u"front"_s
                         : block.kind == Block::Kind::Fence     ? u"fence"_s
                                                                : u"comment"_s;
    return u"%1 %2+%3"_s.arg(kind).arg(block.range.location).arg(block.range.length);
}

} // namespace

class TestMarkdownHighlighting : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void blocks_data();
    void blocks();
    void merged();
    void isProtected_data();
    void isProtected();
    void wholeLines_data();
    void wholeLines();
};

void TestMarkdownHighlighting::blocks_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("blocks");

    QTest::newRow("front matter") << u"---\na: b\n---\n# h"_s << QStringList{u"front 0+12"_s};
    QTest::newRow("front matter closed by dots")
        << u"---\na: b\n...\n"_s << QStringList{u"front 0+12"_s};
    QTest::newRow("the line after the opener never closes")
        << u"---\n---\nx\n---"_s << QStringList{u"front 0+13"_s};
    QTest::newRow("front matter only at the start") << u"\n---\na\n---\n"_s << QStringList{};
    QTest::newRow("unclosed front matter") << u"---\na: b\n"_s << QStringList{};
    QTest::newRow("fence to the end") << u"a\n```\ncode"_s << QStringList{u"fence 2+8"_s};
    QTest::newRow("closed by its own marker only")
        << u"~~~\n```\n~~~\nx"_s << QStringList{u"fence 0+11"_s};
    QTest::newRow("indented fences") << u"  ```\nx\n  ```"_s << QStringList{u"fence 0+13"_s};
    QTest::newRow("a marker with no line after") << u"```"_s << QStringList{};
    QTest::newRow("two fences") << u"```\na\n```\nb\n~~~\nc\n~~~\n"_s
                                << QStringList{u"fence 0+9"_s, u"fence 12+9"_s};
    QTest::newRow("comment across lines")
        << u"a <!-- b\nc --> d"_s << QStringList{u"comment 2+12"_s};
    QTest::newRow("unclosed comment") << u"x <!-- a"_s << QStringList{};
    QTest::newRow("fences before comments")
        << u"<!--\n```\n-->\n"_s << QStringList{u"fence 5+8"_s, u"comment 0+12"_s};
}

void TestMarkdownHighlighting::blocks()
{
    QFETCH(QString, text);
    QFETCH(QStringList, blocks);
    QStringList found;
    for (const Block &block : findBlocks(text))
        found.append(describe(block));
    QCOMPARE(found, blocks);
}

void TestMarkdownHighlighting::merged()
{
    const QList<Range> ranges = {{5, 2}, {0, 3}, {3, 1}, {10, 0}, {1, 1}};
    const QList<Range> expected = {{0, 4}, {5, 2}, {10, 0}};
    QCOMPARE(MarkdownHighlighting::merged(ranges), expected);
}

void TestMarkdownHighlighting::isProtected_data()
{
    QTest::addColumn<qint64>("location");
    QTest::addColumn<qint64>("length");
    QTest::addColumn<bool>("meets");

    // Against the protected characters 2 to 4 and 8.
    QTest::newRow("before") << qint64(0) << qint64(2) << false;
    QTest::newRow("overlapping the start") << qint64(1) << qint64(2) << true;
    QTest::newRow("inside") << qint64(3) << qint64(1) << true;
    QTest::newRow("between") << qint64(5) << qint64(3) << false;
    QTest::newRow("across the second") << qint64(6) << qint64(4) << true;
    QTest::newRow("empty at the start") << qint64(2) << qint64(0) << true;
    QTest::newRow("empty just after") << qint64(5) << qint64(0) << false;
    QTest::newRow("after all") << qint64(9) << qint64(5) << false;
}

void TestMarkdownHighlighting::isProtected()
{
    QFETCH(qint64, location);
    QFETCH(qint64, length);
    QFETCH(bool, meets);
    QCOMPARE(MarkdownHighlighting::isProtected({{2, 3}, {8, 1}}, location, length), meets);
}

void TestMarkdownHighlighting::wholeLines_data()
{
    QTest::addColumn<qint64>("location");
    QTest::addColumn<qint64>("length");
    QTest::addColumn<qint64>("lineStart");
    QTest::addColumn<qint64>("lineLength");

    // In "ab\ncd\nef".
    QTest::newRow("caret mid line") << qint64(4) << qint64(0) << qint64(3) << qint64(3);
    QTest::newRow("caret at a line start") << qint64(3) << qint64(0) << qint64(3) << qint64(3);
    QTest::newRow("across a line end") << qint64(1) << qint64(3) << qint64(0) << qint64(6);
    QTest::newRow("last line") << qint64(7) << qint64(1) << qint64(6) << qint64(2);
    QTest::newRow("past the end") << qint64(20) << qint64(5) << qint64(6) << qint64(2);
}

void TestMarkdownHighlighting::wholeLines()
{
    QFETCH(qint64, location);
    QFETCH(qint64, length);
    QFETCH(qint64, lineStart);
    QFETCH(qint64, lineLength);
    const Range lines = MarkdownHighlighting::wholeLines(u"ab\ncd\nef", {location, length});
    QCOMPARE(lines, (Range{lineStart, lineLength}));
}

QTEST_APPLESS_MAIN(TestMarkdownHighlighting)
#include "tst_markdownhighlighting.moc"
