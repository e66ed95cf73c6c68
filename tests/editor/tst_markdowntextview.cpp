// The editing assists through the real text view: which key runs which assist, one
// undo step each, focus kept on Shift+Tab, and pasted images stored beside the
// document. What each assist does to the text is tested on strings.
#include "editor/MarkdownTextView.h"

#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QMimeData>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

using namespace Qt::StringLiterals;
using namespace Lumo::Editor;

namespace {

// Text with the caret written as "|", or a selection as "«" and "»".
void load(MarkdownTextView &view, QString marked)
{
    const qsizetype caret = marked.indexOf(u'|');
    qsizetype start = caret;
    qsizetype end = caret;
    if (caret >= 0) {
        marked.remove(caret, 1);
    } else {
        start = marked.indexOf(u'«');
        marked.remove(start, 1);
        end = marked.indexOf(u'»');
        marked.remove(end, 1);
    }
    view.setPlainText(marked);
    QTextCursor cursor = view.textCursor();
    cursor.setPosition(static_cast<int>(start));
    cursor.setPosition(static_cast<int>(end), QTextCursor::KeepAnchor);
    view.setTextCursor(cursor);
}

QString marked(const MarkdownTextView &view)
{
    QString text = view.toPlainText();
    const QTextCursor cursor = view.textCursor();
    if (!cursor.hasSelection())
        return text.insert(cursor.position(), u'|');
    text.insert(cursor.selectionEnd(), u'»');
    return text.insert(cursor.selectionStart(), u'«');
}

} // namespace

class TestMarkdownTextView : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void assists_data();
    void assists();
    void aReadOnlyViewRefuses();
    void tabKeysStayInTheEditor_data();
    void tabKeysStayInTheEditor();
    void pastedImages();
};

void TestMarkdownTextView::assists_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("after");

    QTest::newRow("continue") << u"1. a|"_s << u"Return"_s << u"1. a\n2. |"_s;
    QTest::newRow("plain line break") << u"plain|"_s << u"Return"_s << u"plain\n|"_s;
    QTest::newRow("line break inside the marker") << u"-| item"_s << u"Return"_s << u"-\n| item"_s;
    QTest::newRow("indent") << u"- a|"_s << u"Tab"_s << u"  - a|"_s;
    QTest::newRow("tab elsewhere") << u"plain|"_s << u"Tab"_s << u"plain\t|"_s;
    QTest::newRow("outdent") << u"   - a|"_s << u"Backtab"_s << u" - a|"_s;
    QTest::newRow("bold") << u"a «b» c"_s << u"**"_s << u"a **«b»** c"_s;
    QTest::newRow("link text") << u"«some text»"_s << u"link"_s << u"[some text](|)"_s;
}

void TestMarkdownTextView::assists()
{
    QFETCH(QString, before);
    QFETCH(QString, command);
    QFETCH(QString, after);
    MarkdownTextView view;
    load(view, before);
    const QString original = view.toPlainText();
    if (command == u"Return")
        QTest::keyClick(&view, Qt::Key_Return);
    else if (command == u"Tab")
        QTest::keyClick(&view, Qt::Key_Tab);
    else if (command == u"Backtab")
        QTest::keyClick(&view, Qt::Key_Backtab, Qt::ShiftModifier);
    else if (command == u"link")
        view.insertLink();
    else
        view.toggleWrap(command);
    QCOMPARE(marked(view), after);
    QCOMPARE(view.text(), view.toPlainText());
    view.undo();
    QCOMPARE(view.toPlainText(), original);
}

void TestMarkdownTextView::tabKeysStayInTheEditor_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<int>("key");
    QTest::addColumn<QString>("after");

    QTest::newRow("backtab on a plain line") << u"plain|"_s << int(Qt::Key_Backtab) << u"plain|"_s;
    QTest::newRow("shift+tab on a plain line") << u"plain|"_s << int(Qt::Key_Tab) << u"plain|"_s;
}

void TestMarkdownTextView::tabKeysStayInTheEditor()
{
    QFETCH(QString, before);
    QFETCH(int, key);
    QFETCH(QString, after);
    // Beside other widgets that would take focus, as in the window.
    QWidget window;
    auto *view = new MarkdownTextView(&window);
    auto *other = new MarkdownTextView(&window);
    other->move(0, 200);
    window.show();
    QApplication::setActiveWindow(&window);
    QVERIFY(QTest::qWaitForWindowActive(&window));
    load(*view, before);
    view->setFocus();
    QTRY_VERIFY(view->hasFocus());
    QTest::keyClick(view, Qt::Key(key), Qt::ShiftModifier);
    QCOMPARE(QApplication::focusWidget(), view);
    QCOMPARE(marked(*view), after);
}

void TestMarkdownTextView::aReadOnlyViewRefuses()
{
    MarkdownTextView view;
    load(view, u"- a|"_s);
    view.setReadOnly(true);
    QVERIFY(view.continueList());
    view.toggleWrap(u"**"_s);
    QCOMPARE(marked(view), u"- a|"_s);
}

void TestMarkdownTextView::pastedImages()
{
    QTemporaryDir dir;
    const QString document = dir.filePath(u"my notes.md"_s);
    QImage image(4, 4, QImage::Format_ARGB32);
    image.fill(Qt::red);
    QVERIFY(image.save(dir.filePath(u"in folder.png"_s)));
    QTemporaryDir elsewhere;
    QVERIFY(image.save(elsewhere.filePath(u"shot.png"_s)));

    MarkdownTextView view;
    view.setDocumentPath([document] { return document; });
    load(view, u"x |"_s);
    auto *files = new QMimeData;
    files->setUrls({QUrl::fromLocalFile(dir.filePath(u"in folder.png"_s)),
                    QUrl::fromLocalFile(elsewhere.filePath(u"shot.png"_s))});
    QApplication::clipboard()->setMimeData(files);
    view.paste();
    const QStringList stored = QDir(dir.filePath(u"assets"_s)).entryList(QDir::Files);
    QCOMPARE(stored.size(), 1);
    QVERIFY2(QRegularExpression(u"^my-notes-\\d{4}-\\d\\d-\\d\\dT\\d{6}\\.png$"_s)
                 .match(stored.first())
                 .hasMatch(),
             qPrintable(stored.first()));
    QCOMPARE(marked(view),
             u"x ![in folder](<in folder.png>)\n![shot](assets/"_s + stored.first() + u")|"_s);
    view.undo();
    QCOMPARE(view.toPlainText(), u"x "_s);
    QVERIFY(QFile::remove(dir.filePath(u"assets/"_s + stored.first())));

    // Image data without a file, from a document without a file: an ordinary paste.
    auto *data = new QMimeData;
    data->setImageData(image);
    QApplication::clipboard()->setMimeData(data);
    view.setDocumentPath([] { return QString(); });
    view.paste();
    QCOMPARE(view.toPlainText(), u"x "_s);
    view.setDocumentPath([document] { return document; });
    view.moveCursor(QTextCursor::End);
    view.paste();
    QVERIFY2(view.toPlainText().startsWith(u"x ![](assets/my-notes-"_s),
             qPrintable(view.toPlainText()));
}

QTEST_MAIN(TestMarkdownTextView)
#include "tst_markdowntextview.moc"
