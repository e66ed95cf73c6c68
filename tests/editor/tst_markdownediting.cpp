// The editing assists on strings: the change each one makes and where the selection
// lands, without a widget.
#include "editor/MarkdownEditing.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace Lumo::Editor;
using namespace Lumo::Editor::MarkdownEditing;

namespace {

// Text with the caret written as "|", or a selection as "«" and "»".
struct Marked
{
    QString text;
    Selection selection;
};

Marked unmark(QString marked)
{
    const qsizetype caret = marked.indexOf(u'|');
    if (caret >= 0)
        return {marked.remove(caret, 1), {caret, 0}};
    const qsizetype start = marked.indexOf(u'«');
    marked.remove(start, 1);
    const qsizetype end = marked.indexOf(u'»');
    marked.remove(end, 1);
    return {marked, {start, end - start}};
}

QString applied(QString text, const TextChange &change)
{
    text.replace(change.location, change.length, change.replacement);
    if (change.selectionLength == 0)
        return text.insert(change.selectionStart, u'|');
    text.insert(change.selectionStart + change.selectionLength, u'»');
    return text.insert(change.selectionStart, u'«');
}

} // namespace

class TestMarkdownEditing : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void assists_data();
    void assists();
    void toggledTask_data();
    void toggledTask();
    void anAssetNeverReplacesAFile();
};

void TestMarkdownEditing::assists_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("command");
    // Empty when the assist leaves the key to its ordinary meaning.
    QTest::addColumn<QString>("after");

    QTest::newRow("end an empty item") << u"a\n- |"_s << u"Return"_s << u"a\n\n|"_s;
    QTest::newRow("inside the marker") << u"-| item"_s << u"Return"_s << QString();
    QTest::newRow("a selection") << u"- «a»"_s << u"Return"_s << QString();
    QTest::newRow("bullet") << u"  - item|"_s << u"Return"_s << u"  - item\n  - |"_s;
    QTest::newRow("mid item") << u"- ab|cd"_s << u"Return"_s << u"- ab\n- |cd"_s;
    QTest::newRow("number") << u"1. a|"_s << u"Return"_s << u"1. a\n2. |"_s;
    QTest::newRow("zeros") << u"007. a|"_s << u"Return"_s << u"007. a\n8. |"_s;
    QTest::newRow("parenthesis") << u"9)  step|"_s << u"Return"_s << u"9)  step\n10)  |"_s;
    QTest::newRow("task box reset") << u"* [X] done|"_s << u"Return"_s << u"* [X] done\n* [ ] |"_s;
    QTest::newRow("twenty digits")
        << u"12345678901234567890. a|"_s << u"Return"_s << u"12345678901234567890. a\n1. |"_s;
    QTest::newRow("quote") << u"> > quoted|"_s << u"Return"_s << u"> > quoted\n> > |"_s;
    QTest::newRow("plain line") << u"plain|"_s << u"Return"_s << QString();
    QTest::newRow("unicode blank") << u"-\u3000a|"_s << u"Return"_s << u"-\u3000a\n-\u3000|"_s;
    QTest::newRow("second line") << u"x\n- a|\ny"_s << u"Return"_s << u"x\n- a\n- |\ny"_s;
    QTest::newRow("indent") << u"- a|"_s << u"Tab"_s << u"  - a|"_s;
    QTest::newRow("indent keeps selection") << u"- «a»"_s << u"Tab"_s << u"  - «a»"_s;
    QTest::newRow("tab elsewhere") << u"plain|"_s << u"Tab"_s << QString();
    QTest::newRow("outdent") << u"   - a|"_s << u"Backtab"_s << u" - a|"_s;
    QTest::newRow("outdent at the margin") << u"- a|"_s << u"Backtab"_s << u"- a|"_s;
    QTest::newRow("outdent a plain line") << u"plain|"_s << u"Backtab"_s << QString();
    QTest::newRow("outdent stops at the line") << u"  |- a"_s << u"Backtab"_s << u"|- a"_s;
    QTest::newRow("outdent a selection from the leading spaces")
        << u" «  - a»"_s << u"Backtab"_s << u"« - a»"_s;
    QTest::newRow("outdent a selection across lines")
        << u"  - a\n «  - b»"_s << u"Backtab"_s << u"  - a\n« - b»"_s;
    QTest::newRow("bold") << u"a «b» c"_s << u"**"_s << u"a **«b»** c"_s;
    QTest::newRow("bold caret") << u"a |"_s << u"**"_s << u"a **|**"_s;
    QTest::newRow("unbold selected markers") << u"«**word**»"_s << u"**"_s << u"«word»"_s;
    QTest::newRow("unbold around") << u"**«word»**"_s << u"**"_s << u"«word»"_s;
    QTest::newRow("italic inside bold") << u"**«word»**"_s << u"*"_s << u"*«word»*"_s;
    QTest::newRow("code") << u"«x»"_s << u"`"_s << u"`«x»`"_s;
    QTest::newRow("link to address")
        << u"«https://x.org»"_s << u"link"_s << u"[|](https://x.org)"_s;
    QTest::newRow("link text") << u"«some text»"_s << u"link"_s << u"[some text](|)"_s;
}

void TestMarkdownEditing::assists()
{
    QFETCH(QString, before);
    QFETCH(QString, command);
    QFETCH(QString, after);
    const Marked start = unmark(before);
    std::optional<TextChange> change;
    if (command == u"Return")
        change = continueList(start.text, start.selection);
    else if (command == u"Tab" || command == u"Backtab")
        change = indentListItem(start.text, start.selection, command == u"Backtab");
    else if (command == u"link")
        change = insertLink(start.text, start.selection);
    else
        change = toggleWrap(start.text, start.selection, command);
    QCOMPARE(change ? applied(start.text, *change) : QString(), after);
}

void TestMarkdownEditing::toggledTask_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("line");
    QTest::addColumn<bool>("checked");
    QTest::addColumn<QString>("result");

    QTest::newRow("check") << u"a\n- [ ] b"_s << 1 << true << u"a\n- [x] b"_s;
    QTest::newRow("uncheck in a quote")
        << u"> > 12) [X] b\r\n"_s << 0 << false << u"> > 12) [ ] b\r\n"_s;
    QTest::newRow("sets, does not toggle") << u"- [x] b"_s << 0 << true << u"- [x] b"_s;
    QTest::newRow("no box") << u"- b"_s << 0 << true << QString();
    QTest::newRow("ten digits") << u"1234567890. [ ] b"_s << 0 << true << QString();
    QTest::newRow("beyond the end") << u"- [ ] b"_s << 1 << true << QString();
}

void TestMarkdownEditing::toggledTask()
{
    QFETCH(QString, text);
    QFETCH(int, line);
    QFETCH(bool, checked);
    QFETCH(QString, result);
    QCOMPARE(MarkdownEditing::toggledTask(text, line, checked).value_or(QString()), result);
}

void TestMarkdownEditing::anAssetNeverReplacesAFile()
{
    QTemporaryDir dir;
    const QString document = dir.filePath(u"my notes.md"_s);
    const QDateTime now(QDate(2024, 5, 6), QTime(7, 8, 9));
    QCOMPARE(saveAsset("first", u"png"_s, document, now),
             u"assets/my-notes-2024-05-06T070809.png"_s);
    QCOMPARE(saveAsset("second", u"png"_s, document, now), std::nullopt);
    QFile stored(dir.filePath(u"assets/my-notes-2024-05-06T070809.png"_s));
    QVERIFY(stored.open(QIODevice::ReadOnly));
    QCOMPARE(stored.readAll(), "first");
    QCOMPARE(QDir(dir.filePath(u"assets"_s)).entryList(QDir::Files | QDir::Hidden).size(), 1);
}

QTEST_GUILESS_MAIN(TestMarkdownEditing)
#include "tst_markdownediting.moc"
