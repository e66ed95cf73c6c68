// The window around the documents: its commands follow the current tab.
#include "app/DocumentTab.h"
#include "app/DocumentWindow.h"
#include "document/EmptyHint.h"
#include "document/PreviewPage.h"
#include "editor/EditorView.h"
#include "support/WebTest.h"
#include "workspace/SidebarView.h"

#include <QAction>
#include <QFile>
#include <QJsonObject>
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
    void thePageFollowsTheEditor();
    void shownDocumentsTakeTheKeyboard();
    void editCommandsActOnTheFocusedView();
    void anEmptyWindowSaysHowToBegin();
    void nothingIsClippedAtAnyWidth_data();
    void nothingIsClippedAtAnyWidth();
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

void TestDocumentWindow::thePageFollowsTheEditor()
{
    DocumentWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    QString text;
    for (int i = 0; i < 300; ++i)
        text += u"Paragraph %1.\n\n"_s.arg(i);
    DocumentTab *tab = window.addDocument(new OpenDocument(text));
    DocumentController *controller = tab->controller();
    QSignalSpy rendered(controller, &DocumentController::renderCompleted);
    QTRY_COMPARE_WITH_TIMEOUT(rendered.count(), 1, 20000);
    controller->toggleMode();
    QTRY_VERIFY(tab->editor()->hasFocus());
    const auto pageTop = [controller] {
        return WebTest::evaluate(controller->page(), u"mv.topLine()"_s).toDouble();
    };

    // The caret keys scroll the editor without its scroll bar saying so.
    for (int i = 0; i < 4; ++i)
        QTest::keyClick(tab->editor(), Qt::Key_PageDown);
    const double top = EditorView::topLine(tab->editor());
    QVERIFY(top > 20);
    QTRY_VERIFY(std::abs(pageTop() - top) < 1);

    // The page moving by itself (a find, layout) leaves the editor where it is...
    QTest::qWait(DocumentController::scrollQuietMilliseconds + 50);
    Q_EMIT controller->page()->messageReceived(
        {{u"type"_s, u"topLine"_s}, {u"line"_s, 3}, {u"user"_s, false}});
    QCOMPARE(EditorView::topLine(tab->editor()), top);
    // ...and a render puts the page back on the editor's line.
    WebTest::evaluate(controller->page(), u"window.scrollTo(0, 0)"_s);
    QTest::keyClicks(tab->editor(), u"x"_s);
    QTRY_COMPARE_WITH_TIMEOUT(rendered.count(), 2, 10000);
    QTRY_VERIFY(std::abs(pageTop() - EditorView::topLine(tab->editor())) < 1);
}

void TestDocumentWindow::shownDocumentsTakeTheKeyboard()
{
    DocumentWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    const auto focusIn = [](const QWidget *widget) {
        const QWidget *focus = QApplication::focusWidget();
        return focus && (focus == widget || widget->isAncestorOf(focus));
    };
    DocumentTab *first = window.addDocument(new OpenDocument(u"# One"_s));
    QSignalSpy loaded(first->controller()->webView(), &QWebEngineView::loadFinished);
    QTRY_VERIFY_WITH_TIMEOUT(loaded.count() > 0, 20000);
    QTRY_VERIFY(focusIn(first->controller()->webView()));

    first->controller()->toggleMode();
    DocumentTab *second = window.addDocument(new OpenDocument(u"# Two"_s));
    QTRY_VERIFY(focusIn(second->controller()->webView()));
    window.showTab(first);
    QTRY_VERIFY(first->editor()->hasFocus());
    window.showTab(second);
    QTRY_VERIFY(focusIn(second->controller()->webView()));
}

void TestDocumentWindow::editCommandsActOnTheFocusedView()
{
    DocumentWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    DocumentTab *tab = window.addDocument(new OpenDocument(u"one two"_s));
    QVERIFY(action(&window, u"About Lumo"_s));
    QVERIFY(action(&window, u"Keyboard Shortcuts"_s));

    tab->controller()->toggleMode();
    QTRY_VERIFY(tab->editor()->hasFocus());
    action(&window, u"Select All"_s)->trigger();
    QCOMPARE(tab->editor()->textCursor().selectedText(), u"one two"_s);
    action(&window, u"Cut"_s)->trigger();
    QCOMPARE(tab->document()->text(), QString());
    action(&window, u"Undo"_s)->trigger();
    QCOMPARE(tab->document()->text(), u"one two"_s);

    // The page, when it has the keyboard.
    tab->controller()->toggleMode();
    QTRY_VERIFY_WITH_TIMEOUT(tab->controller()->completedRevision() > 0, 20000);
    QTRY_VERIFY(!tab->editor()->isVisible());
    action(&window, u"Select All"_s)->trigger();
    QTRY_COMPARE(WebTest::evaluate(tab->controller()->page(), u"String(getSelection())"_s)
                     .toString()
                     .trimmed(),
                 u"one two"_s);
}

void TestDocumentWindow::anEmptyWindowSaysHowToBegin()
{
    DocumentWindow window;
    window.show();
    DocumentTab *tab = window.addDocument(new OpenDocument());
    auto *hint = tab->findChild<EmptyHint *>();
    QVERIFY(hint);
    QVERIFY(hint->isVisibleTo(&window));
    QVERIFY(hint->text().contains(u"Ctrl+E"_s));
    tab->controller()->toggleMode();
    QVERIFY(!hint->isVisibleTo(&window));
    tab->document()->setText(u"# Now"_s);
    tab->controller()->toggleMode();
    QVERIFY(!hint->isVisibleTo(&window));
    // A file is never empty of purpose, even when it is empty of text.
    DocumentTab *file = window.addDocument(new OpenDocument(MarkdownDocument{}, u"/tmp/x.md"_s));
    QVERIFY(!file->findChild<EmptyHint *>()->isVisibleTo(&window));
}

void TestDocumentWindow::nothingIsClippedAtAnyWidth_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<bool>("editing");
    QTest::addColumn<bool>("sidebarShown");
    QTest::newRow("smallest, reading") << 420 << false << false;
    QTest::newRow("smallest, editing") << 420 << true << false;
    QTest::newRow("600, editing") << 600 << true << false;
    QTest::newRow("first size, reading") << 920 << false << true;
    QTest::newRow("first size, editing") << 920 << true << false;
    QTest::newRow("wide, editing") << 1400 << true << true;
}

void TestDocumentWindow::nothingIsClippedAtAnyWidth()
{
    QFETCH(int, width);
    QFETCH(bool, editing);
    QFETCH(bool, sidebarShown);
    DocumentWindow window;
    DocumentTab *tab = window.addDocument(new OpenDocument(u"# Wide enough"_s));
    tab->controller()->setSidebarVisible(true);
    if (editing)
        tab->controller()->toggleMode();
    window.resize(width, 600);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QWidget *page = tab->controller()->webView();
    QTRY_COMPARE(page->mapTo(&window, QPoint(page->width(), 0)).x() <= window.width(), true);
    if (editing)
        QVERIFY(tab->editor()->width() >= DocumentTab::editorMinimumWidth);
    QCOMPARE(tab->findChild<SidebarView *>()->isVisible(), sidebarShown);
    QVERIFY(tab->controller()->sidebarVisible());
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
