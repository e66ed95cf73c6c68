// The window around the documents: its commands follow the current tab.
#include "document/DocumentTab.h"
#include "document/DocumentWindow.h"
#include "editor/EditorView.h"
#include "support/WebTest.h"

#include <QAction>
#include <QFile>
#include <QMenuBar>
#include <QPlainTextEdit>

using namespace Qt::StringLiterals;

class TestDocumentWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void documentCommandsNeedADocument();
    void sidebarShortcutFollowsTheMode();
    void modeSwitchKeepsThePage();
    void modeSwitchKeepsTheLine();
    void ctrlBIsBoldWhileEditing();
    void typingKeepsTheFilesLineEndings_data();
    void typingKeepsTheFilesLineEndings();

private:
    static QAction *action(QWidget *window, const QString &text)
    {
        for (QAction *candidate : window->findChildren<QAction *>()) {
            if (candidate->text().remove(u'&') == text)
                return candidate;
        }
        return nullptr;
    }
};

void TestDocumentWindow::documentCommandsNeedADocument()
{
    DocumentWindow window;
    const QStringList commands{u"Save"_s,        u"Find…"_s,         u"Outline"_s,
                               u"Bigger Text"_s, u"Edit Document"_s, u"Export as HTML…"_s};
    for (const QString &command : commands) {
        QVERIFY2(action(&window, command), qPrintable(command));
        QVERIFY2(!action(&window, command)->isEnabled(), qPrintable(command));
    }
    window.addDocument(new OpenDocument(u"# One"_s));
    for (const QString &command : commands)
        QVERIFY2(action(&window, command)->isEnabled(), qPrintable(command));
}

void TestDocumentWindow::sidebarShortcutFollowsTheMode()
{
    DocumentWindow window;
    DocumentTab *tab = window.addDocument(new OpenDocument(u"# One"_s));
    QAction *sidebar = action(&window, u"Show Sidebar"_s);
    QVERIFY(sidebar);
    QCOMPARE(sidebar->shortcut(), QKeySequence(u"Ctrl+B"_s));
    const bool before = tab->controller()->sidebarVisible();
    sidebar->trigger();
    QCOMPARE(tab->controller()->sidebarVisible(), !before);

    tab->controller()->toggleMode();
    QCOMPARE(sidebar->shortcut(), QKeySequence(u"Ctrl+Alt+S"_s));
    tab->controller()->toggleMode();
    QCOMPARE(sidebar->shortcut(), QKeySequence(u"Ctrl+B"_s));
}

void TestDocumentWindow::modeSwitchKeepsThePage()
{
    DocumentWindow window;
    window.show();
    DocumentTab *tab = window.addDocument(new OpenDocument(u"# Kept"_s));
    QSignalSpy rendered(tab->controller(), &DocumentController::renderCompleted);
    QTRY_COMPARE_WITH_TIMEOUT(rendered.count(), 1, 20000);
    QSignalSpy loads(tab->controller()->page(), &QWebEnginePage::loadStarted);
    WebTest::evaluate(tab->controller()->page(), u"window.lumoMarker = 7"_s);

    tab->controller()->toggleMode();
    QTRY_VERIFY(tab->editor()->isVisible());
    QVERIFY(tab->controller()->webView()->isVisible());
    // The page sits to the right of the editor, and it is the same page.
    QTRY_VERIFY(tab->controller()->webView()->mapTo(tab, QPoint()).x() >
                tab->editor()->mapTo(tab, QPoint()).x() + tab->editor()->width() - 1);
    tab->controller()->toggleMode();
    QTRY_VERIFY(!tab->editor()->isVisible());
    QCOMPARE(loads.count(), 0);
    QCOMPARE(WebTest::evaluate(tab->controller()->page(), u"window.lumoMarker"_s).toInt(), 7);
}

void TestDocumentWindow::modeSwitchKeepsTheLine()
{
    DocumentWindow window;
    window.show();
    QString text;
    for (int i = 0; i < 300; ++i)
        text += u"Paragraph %1.\n\n"_s.arg(i);
    DocumentTab *tab = window.addDocument(new OpenDocument(text));
    DocumentController *controller = tab->controller();
    QSignalSpy rendered(controller, &DocumentController::renderCompleted);
    QTRY_COMPARE_WITH_TIMEOUT(rendered.count(), 1, 20000);

    controller->toggleMode();
    QTRY_VERIFY(tab->editor()->isVisible());
    QTest::qWait(DocumentController::scrollQuietMilliseconds + 50);
    EditorView::scrollToLine(tab->editor(), 240);
    controller->toggleMode();
    QCOMPARE(controller->previewTopLine(), 240.0);

    QTest::qWait(DocumentController::scrollQuietMilliseconds + 50);
    const double line = controller->previewTopLine();
    controller->toggleMode();
    QTRY_COMPARE(tab->editor()->textCursor().blockNumber(), int(line));
    QTRY_VERIFY(std::abs(EditorView::topLine(tab->editor()) - line) < 1);
}

void TestDocumentWindow::ctrlBIsBoldWhileEditing()
{
    DocumentWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    DocumentTab *tab = window.addDocument(new OpenDocument(u"word"_s));
    QAction *bold = action(&window, u"Bold"_s);
    QVERIFY(bold);
    QVERIFY(!bold->isEnabled());

    tab->controller()->toggleMode();
    QTRY_VERIFY(tab->editor()->hasFocus());
    QVERIFY(bold->isEnabled());
    tab->editor()->selectAll();
    const bool sidebar = tab->controller()->sidebarVisible();
    QTest::keyClick(tab->editor(), Qt::Key_B, Qt::ControlModifier);
    QCOMPARE(tab->document()->text(), u"**word**"_s);
    QCOMPARE(tab->controller()->sidebarVisible(), sidebar);
    QTest::keyClick(tab->editor(), Qt::Key_S, Qt::ControlModifier | Qt::AltModifier);
    QCOMPARE(tab->controller()->sidebarVisible(), !sidebar);
    // Ctrl+K is Link, not the text view's delete-to-end-of-line.
    QTest::keyClick(tab->editor(), Qt::Key_K, Qt::ControlModifier);
    QCOMPARE(tab->document()->text(), u"**[word]()**"_s);

    tab->controller()->toggleMode();
    QVERIFY(!bold->isEnabled());
}

void TestDocumentWindow::typingKeepsTheFilesLineEndings_data()
{
    QTest::addColumn<QByteArray>("original");
    QTest::addColumn<QByteArray>("saved");

    QTest::newRow("crlf") << "# A\r\n\r\nb\r\n"_ba
                          << "# AX\r\nY\r\n\r\nb\r\n"_ba;
    QTest::newRow("cr") << "# A\r\rb\r"_ba
                        << "# AX\rY\r\rb\r"_ba;
    QTest::newRow("mixed") << "# A\r\nb\nc\r\n"_ba
                           << "# AX\r\nY\r\nb\nc\r\n"_ba;
}

void TestDocumentWindow::typingKeepsTheFilesLineEndings()
{
    QFETCH(QByteArray, original);
    QFETCH(QByteArray, saved);
    QTemporaryDir dir;
    const QString path = dir.filePath(u"doc.md"_s);
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(original) == original.size());
    file.close();

    DocumentWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    DocumentTab *tab = window.addDocument(OpenDocument::open(path, nullptr));
    tab->controller()->toggleMode();
    QTRY_VERIFY(tab->editor()->hasFocus());
    tab->editor()->moveCursor(QTextCursor::Start);
    QTest::keyClick(tab->editor(), Qt::Key_End);
    QTest::keyClicks(tab->editor(), u"X"_s);
    QTest::keyClick(tab->editor(), Qt::Key_Return);
    QTest::keyClicks(tab->editor(), u"Y"_s);
    QVERIFY(tab->document()->save());

    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), saved);
}

LUMO_WEB_TEST_MAIN(TestDocumentWindow)
#include "tst_documentwindow.moc"
