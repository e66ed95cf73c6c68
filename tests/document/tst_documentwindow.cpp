// The window around the documents: its commands follow the current tab.
#include "app/DebugHookRouter.h"
#include "app/DocumentTab.h"
#include "app/DocumentWindow.h"
#include "app/WindowMenus.h"
#include "base/DebugHooks.h"
#include "document/EmptyHint.h"
#include "document/PageConnection.h"
#include "document/PreviewPage.h"
#include "document/PreviewView.h"
#include "document/TabPanels.h"
#include "editor/EditorView.h"
#include "support/WebTest.h"
#include "workspace/SidebarView.h"

#include <QAction>
#include <QFile>
#include <QJsonObject>
#include <QMenuBar>
#include <QPlainTextEdit>

using namespace Lumo::App;
using namespace Lumo::Base;
using namespace Lumo::Document;
using namespace Lumo::Workspace;

using namespace Qt::StringLiterals;
using Lumo::Editor::EditorView;

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
    void editCommandsActOnTheFocusedView();
    void anEmptyWindowSaysHowToBegin();
    void nothingIsClippedAtAnyWidth_data();
    void nothingIsClippedAtAnyWidth();
    void typingKeepsTheFilesLineEndings_data();
    void typingKeepsTheFilesLineEndings();
    void hooksActOnceOnTheActiveTab();
    void menusHaveDistinctKeys();

private:
    static QAction *action(QWidget *window, const QString &name)
    {
        return window->findChild<QAction *>(name);
    }
};

void TestDocumentWindow::documentCommandsNeedADocument()
{
    DocumentWindow window;
    WindowMenus::build(&window);
    const QStringList commands{u"save"_s,       u"find"_s,       u"outline"_s,
                               u"biggerText"_s, u"toggleMode"_s, u"exportHtml"_s};
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
    WindowMenus::build(&window);
    DocumentTab *tab = window.addDocument(new OpenDocument(u"# One"_s));
    QAction *sidebar = action(&window, u"toggleSidebar"_s);
    QVERIFY(sidebar);
    QCOMPARE(sidebar->shortcut(), QKeySequence(u"Ctrl+B"_s));
    const bool before = tab->panels()->sidebarVisible();
    sidebar->trigger();
    QCOMPARE(tab->panels()->sidebarVisible(), !before);

    tab->controller()->toggleMode();
    QCOMPARE(sidebar->shortcut(), QKeySequence(u"Ctrl+Alt+S"_s));
    tab->controller()->toggleMode();
    QCOMPARE(sidebar->shortcut(), QKeySequence(u"Ctrl+B"_s));
}

void TestDocumentWindow::modeSwitchKeepsThePage()
{
    DocumentWindow window;
    WindowMenus::build(&window);
    window.show();
    DocumentTab *tab = window.addDocument(new OpenDocument(u"# Kept"_s));
    QSignalSpy rendered(tab->controller(), &DocumentController::renderCompleted);
    QTRY_COMPARE_WITH_TIMEOUT(rendered.count(), 1, 20000);
    QSignalSpy loads(tab->view()->previewPage(), &QWebEnginePage::loadStarted);
    WebTest::evaluate(tab->view()->previewPage(), u"window.lumoMarker = 7"_s);

    tab->controller()->toggleMode();
    QTRY_VERIFY(tab->editor()->isVisible());
    QVERIFY(tab->view()->isVisible());
    // The page sits to the right of the editor, and it is the same page.
    QTRY_VERIFY(tab->view()->mapTo(tab, QPoint()).x() >
                tab->editor()->mapTo(tab, QPoint()).x() + tab->editor()->width() - 1);
    tab->controller()->toggleMode();
    QTRY_VERIFY(!tab->editor()->isVisible());
    QCOMPARE(loads.count(), 0);
    QCOMPARE(WebTest::evaluate(tab->view()->previewPage(), u"window.lumoMarker"_s).toInt(), 7);
}

void TestDocumentWindow::modeSwitchKeepsTheLine()
{
    DocumentWindow window;
    WindowMenus::build(&window);
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
    WindowMenus::build(&window);
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    DocumentTab *tab = window.addDocument(new OpenDocument(u"word"_s));
    QAction *bold = action(&window, u"bold"_s);
    QVERIFY(bold);
    QVERIFY(!bold->isEnabled());

    tab->controller()->toggleMode();
    QTRY_VERIFY(tab->editor()->hasFocus());
    QVERIFY(bold->isEnabled());
    tab->editor()->selectAll();
    const bool sidebar = tab->panels()->sidebarVisible();
    QTest::keyClick(tab->editor(), Qt::Key_B, Qt::ControlModifier);
    QCOMPARE(tab->document()->text(), u"**word**"_s);
    QCOMPARE(tab->panels()->sidebarVisible(), sidebar);
    QTest::keyClick(tab->editor(), Qt::Key_S, Qt::ControlModifier | Qt::AltModifier);
    QCOMPARE(tab->panels()->sidebarVisible(), !sidebar);
    // Ctrl+K is Link, not the text view's delete-to-end-of-line.
    QTest::keyClick(tab->editor(), Qt::Key_K, Qt::ControlModifier);
    QCOMPARE(tab->document()->text(), u"**[word]()**"_s);

    tab->controller()->toggleMode();
    QVERIFY(!bold->isEnabled());
}

void TestDocumentWindow::thePageFollowsTheEditor()
{
    DocumentWindow window;
    WindowMenus::build(&window);
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
    const auto pageTop = [tab] {
        return WebTest::evaluate(tab->view()->page(), u"mv.topLine()"_s).toDouble();
    };

    // The caret keys scroll the editor without its scroll bar saying so.
    for (int i = 0; i < 4; ++i)
        QTest::keyClick(tab->editor(), Qt::Key_PageDown);
    const double top = EditorView::topLine(tab->editor());
    QVERIFY(top > 20);
    QTRY_VERIFY(std::abs(pageTop() - top) < 1);

    // A render puts the page back on the editor's line. (That the page moving by
    // itself leaves the editor alone is tst_documentcontrollercore's.)
    WebTest::evaluate(tab->view()->page(), u"window.scrollTo(0, 0)"_s);
    QTest::keyClicks(tab->editor(), u"x"_s);
    QTRY_COMPARE_WITH_TIMEOUT(rendered.count(), 2, 10000);
    QTRY_VERIFY(std::abs(pageTop() - EditorView::topLine(tab->editor())) < 1);
}

void TestDocumentWindow::editCommandsActOnTheFocusedView()
{
    DocumentWindow window;
    WindowMenus::build(&window);
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    DocumentTab *tab = window.addDocument(new OpenDocument(u"one two"_s));
    QVERIFY(action(&window, u"about"_s));
    QVERIFY(action(&window, u"keyboardShortcuts"_s));

    tab->controller()->toggleMode();
    QTRY_VERIFY(tab->editor()->hasFocus());
    action(&window, u"selectAll"_s)->trigger();
    QCOMPARE(tab->editor()->textCursor().selectedText(), u"one two"_s);
    action(&window, u"cut"_s)->trigger();
    QCOMPARE(tab->document()->text(), QString());
    action(&window, u"undo"_s)->trigger();
    QCOMPARE(tab->document()->text(), u"one two"_s);

    // The page, when it has the keyboard.
    tab->controller()->toggleMode();
    QTRY_VERIFY_WITH_TIMEOUT(tab->controller()->completedRevision() > 0, 20000);
    QTRY_VERIFY(!tab->editor()->isVisible());
    action(&window, u"selectAll"_s)->trigger();
    QTRY_COMPARE(WebTest::evaluate(tab->view()->previewPage(), u"String(getSelection())"_s)
                     .toString()
                     .trimmed(),
                 u"one two"_s);
}

void TestDocumentWindow::anEmptyWindowSaysHowToBegin()
{
    DocumentWindow window;
    WindowMenus::build(&window);
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
    WindowMenus::build(&window);
    DocumentTab *tab = window.addDocument(new OpenDocument(u"# Wide enough"_s));
    tab->panels()->setSidebarVisible(true);
    if (editing)
        tab->controller()->toggleMode();
    window.resize(width, 600);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QWidget *page = tab->view();
    QTRY_COMPARE(page->mapTo(&window, QPoint(page->width(), 0)).x() <= window.width(), true);
    if (editing)
        QVERIFY(tab->editor()->width() >= DocumentTab::editorMinimumWidth);
    QCOMPARE(tab->findChild<SidebarView *>()->isVisible(), sidebarShown);
    QVERIFY(tab->panels()->sidebarVisible());
}

void TestDocumentWindow::typingKeepsTheFilesLineEndings_data()
{
    QTest::addColumn<QByteArray>("original");
    QTest::addColumn<QByteArray>("saved");

    // The rules for each kind of ending are tested on strings; this is the wiring.
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
    WindowMenus::build(&window);
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

void TestDocumentWindow::hooksActOnceOnTheActiveTab()
{
    DocumentWindow window;
    WindowMenus::build(&window);
    DebugHookRouter hooks([&window] { return &window; });
    QList<DocumentTab *> tabs{window.addDocument(new OpenDocument(u"# One"_s)),
                              window.addDocument(new OpenDocument(u"# Two"_s))};
    for (DocumentTab *tab : std::as_const(tabs)) {
        QTRY_VERIFY_WITH_TIMEOUT(tab->controller()->completedRevision() >= 1, 20000);
    }
    window.showTab(tabs.at(0));
    const auto post = [](const char *name, const QString &argument) {
        DebugHooks::shared().post(u"lumoapp.debug."_s + QLatin1String(name), argument);
    };

    QSignalSpy opens(&hooks, &DebugHookRouter::openRequested);
    post("openURL", u"/tmp/some.md"_s);
    QCOMPARE(opens.count(), 1);

    post("toggleMode", {});
    QCOMPARE(tabs.at(0)->controller()->mode(), DocumentController::Mode::Edit);
    QCOMPARE(tabs.at(1)->controller()->mode(), DocumentController::Mode::Read);

    post("js", u"window.hookRuns = (window.hookRuns || 0) + 1"_s);
    const auto runs = [](DocumentTab *tab) {
        return WebTest::evaluate(tab->view()->page(), u"window.hookRuns || 0"_s).toInt();
    };
    QTRY_COMPARE(runs(tabs.at(0)), 1);
    QCOMPARE(runs(tabs.at(1)), 0);

    post("quickOpen", {});
    QVERIFY(tabs.at(0)->panels()->showQuickOpen());
    QVERIFY(!tabs.at(1)->panels()->showQuickOpen());
}

// An access key or shortcut used twice picks one item at random or neither (Qt calls
// the shortcut ambiguous), in read and in edit mode alike.
void TestDocumentWindow::menusHaveDistinctKeys()
{
    const auto accessKey = [](const QString &text) {
        for (qsizetype i = text.indexOf(u'&'); i >= 0 && i + 1 < text.size();
             i = text.indexOf(u'&', i + 2)) {
            if (text.at(i + 1) != u'&')
                return text.at(i + 1).toLower();
        }
        return QChar();
    };
    DocumentWindow window;
    WindowMenus::build(&window);
    DocumentTab *tab = window.addDocument(new OpenDocument(u"# One"_s));
    for (const bool editing : {false, true}) {
        if (editing)
            tab->controller()->toggleMode();
        QHash<QKeySequence, QString> shortcuts;
        QHash<QChar, QString> titles;
        for (QAction *menuAction : window.menuBar()->actions()) {
            const QChar title = accessKey(menuAction->text());
            QVERIFY2(!titles.contains(title), qPrintable(menuAction->text()));
            titles.insert(title, menuAction->text());
            QHash<QChar, QString> keys;
            for (QAction *item : menuAction->menu()->actions()) {
                const QChar key = accessKey(item->text());
                if (!key.isNull()) {
                    QVERIFY2(!keys.contains(key),
                             qPrintable(keys.value(key) + u" / "_s + item->text()));
                    keys.insert(key, item->text());
                }
                if (!item->shortcut().isEmpty() && item->isEnabled()) {
                    QVERIFY2(
                        !shortcuts.contains(item->shortcut()),
                        qPrintable(shortcuts.value(item->shortcut()) + u" / "_s + item->text()));
                    shortcuts.insert(item->shortcut(), item->text());
                }
            }
        }
    }
}

LUMO_WEB_TEST_MAIN(TestDocumentWindow)
#include "tst_documentwindow.moc"
