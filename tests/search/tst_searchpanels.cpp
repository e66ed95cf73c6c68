// Quick open and project search over a document window, opening real pages.
#include "app/DebugHookRouter.h"
#include "app/DocumentTab.h"
#include "app/DocumentWindow.h"
#include "app/WindowMenus.h"
#include "base/DebugHooks.h"
#include "base/Preferences.h"
#include "document/PreviewView.h"
#include "document/TabPanels.h"
#include "search/QuickOpenPanel.h"
#include "search/SearchPanel.h"
#include "support/TreeBuilder.h"
#include "support/WebTest.h"

#include <QAction>
#include <QLineEdit>

using namespace Lumo::App;
using namespace Lumo::Base;
using namespace Lumo::Document;
using namespace Lumo::Search;

using namespace Qt::StringLiterals;

class TestSearchPanels : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void quickOpenKeys();
    void quickOpenOpensInPlaceOrInANewTab();
    void quickOpenEmptyStatesAndBackdrop();
    void searchOpensTheHitAtItsLine();
    void commandsAndHooksShowThePanels();

private:
    DocumentTab *openReadme(DocumentWindow &window)
    {
        return window.addDocument(OpenDocument::open(m_root + u"/README.md"_s, nullptr));
    }
    QuickOpenPanel *showQuickOpen(DocumentTab *tab)
    {
        tab->panels()->setShowQuickOpen(true);
        auto *panel = tab->findChild<QuickOpenPanel *>();
        if (panel && !QTest::qWaitFor([panel] { return !panel->loading(); }))
            return nullptr;
        return panel;
    }

    QTemporaryDir m_dir;
    QString m_root;
};

void TestSearchPanels::init()
{
    m_root = m_dir.path() + u"/handbook"_s;
    QDir(m_root).removeRecursively();
    QVERIFY(TreeBuilder::make(m_root, {u".git/"_s, u"README.md"_s, u"guides/setup.md"_s,
                                       u"docs/notes.md"_s, u"docs/plan.md"_s}));
    QByteArray text;
    for (int i = 0; i < 400; ++i)
        text += i == 300 ? "The needle is here.\n\n"
                         : QByteArray("Line ") + QByteArray::number(i) + "\n\n";
    QFile file(m_root + u"/docs/notes.md"_s);
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(text) == text.size());
}

void TestSearchPanels::quickOpenKeys()
{
    DocumentWindow window;
    WindowMenus::build(&window);
    window.show();
    DocumentTab *tab = openReadme(window);
    tab->panels()->setShowQuickOpen(true);
    auto *panel = tab->findChild<QuickOpenPanel *>();
    QVERIFY(panel && panel->isVisible());
    // Listing happens off the main thread: nothing has arrived yet.
    QVERIFY(panel->loading());
    QCOMPARE(panel->message(), u"Finding Markdown files…"_s);
    QCOMPARE(panel->field()->placeholderText(), u"Open a Markdown file in handbook"_s);
    QTRY_VERIFY(!panel->loading());
    QCOMPARE(panel->results().size(), 3); // README.md is the current document
    QCOMPARE(panel->summary(), u"3 files"_s);

    QTest::keyClicks(panel->field(), u"md"_s);
    QCOMPARE(panel->results().size(), 3);
    for (int i = 0; i < 3; ++i)
        QTest::keyClick(panel->field(), Qt::Key_Down);
    QCOMPARE(panel->selection(), 0);
    QTest::keyClick(panel->field(), Qt::Key_Up);
    QCOMPARE(panel->selection(), 2);
    QCOMPARE(panel->field()->cursorPosition(), 2);

    QTest::keyClick(panel->field(), Qt::Key_Escape);
    QVERIFY(!tab->panels()->showQuickOpen());
    QTRY_VERIFY(!panel->isVisible());
}

void TestSearchPanels::quickOpenOpensInPlaceOrInANewTab()
{
    DocumentWindow window;
    WindowMenus::build(&window);
    window.show();
    // The application answers the window's requests to open files; here, as a tab.
    connect(&window, &DocumentWindow::openFilesRequested, this,
            [](const QStringList &paths, DocumentWindow *from) {
                from->addDocument(OpenDocument::open(paths.value(0), nullptr));
            });
    QuickOpenPanel *panel = showQuickOpen(openReadme(window));
    QVERIFY(panel);
    QTest::keyClicks(panel->field(), u"setup"_s);
    QTest::keyClick(panel->field(), Qt::Key_Return);
    QTRY_VERIFY(window.currentTab()->document()->path().endsWith(u"guides/setup.md"_s));
    QCOMPARE(window.tabs().size(), 1);

    panel = showQuickOpen(window.currentTab());
    QVERIFY(panel);
    QTest::keyClicks(panel->field(), u"plan"_s);
    QTest::keyClick(panel->field(), Qt::Key_Return, Qt::ControlModifier);
    QTRY_COMPARE(window.tabs().size(), 2);
    QVERIFY(window.currentTab()->document()->path().endsWith(u"docs/plan.md"_s));
}

void TestSearchPanels::quickOpenEmptyStatesAndBackdrop()
{
    QDir(m_root + u"/docs"_s).removeRecursively();
    QDir(m_root + u"/guides"_s).removeRecursively();
    DocumentWindow window;
    WindowMenus::build(&window);
    window.show();
    DocumentTab *tab = openReadme(window);
    QuickOpenPanel *panel = showQuickOpen(tab);
    QVERIFY(panel);
    QCOMPARE(panel->message(), u"No other Markdown files here."_s);
    QTest::keyClicks(panel->field(), u"zz"_s);
    QCOMPARE(panel->message(), u"No matches."_s);
    QTest::keyClick(panel->field(), Qt::Key_Down); // nothing to move to

    QTest::mouseClick(panel->card(), Qt::LeftButton, {}, QPoint(20, 20));
    QVERIFY(tab->panels()->showQuickOpen());
    QTest::mouseClick(panel, Qt::LeftButton, {}, QPoint(4, panel->height() - 4));
    QVERIFY(!tab->panels()->showQuickOpen());
}

void TestSearchPanels::searchOpensTheHitAtItsLine()
{
    DocumentWindow window;
    WindowMenus::build(&window);
    window.resize(900, 700);
    window.show();
    DocumentTab *tab = openReadme(window);
    tab->panels()->setShowSearch(true);
    auto *panel = tab->findChild<SearchPanel *>();
    QVERIFY(panel && panel->isVisible());
    QCOMPARE(panel->message(), u"Search all Markdown in handbook"_s);
    QTest::keyClicks(panel->field(), u" n "_s);
    QCOMPARE(panel->message(), u"Type at least 2 characters."_s);
    panel->field()->clear();
    QTest::keyClicks(panel->field(), u"NEEDLE"_s);
    QTRY_VERIFY(panel->session()->settled() && !panel->loading());
    QCOMPARE(panel->summary(), u"1 matches in 1 file"_s);
    QCOMPARE(panel->session()->hits().value(0).line, 600);

    QTest::keyClick(panel->field(), Qt::Key_Return);
    QTRY_VERIFY(window.currentTab()->document()->path().endsWith(u"docs/notes.md"_s));
    DocumentController *opened = window.currentTab()->controller();
    QTRY_VERIFY_WITH_TIMEOUT(opened->completedRevision() >= 1, 20000);
    QTRY_COMPARE(
        WebTest::evaluate(window.currentTab()->view()->page(), u"Math.round(mv.topLine())"_s)
            .toInt(),
        600);
}

void TestSearchPanels::commandsAndHooksShowThePanels()
{
    DocumentWindow window;
    WindowMenus::build(&window);
    DebugHookRouter hooks([&window] { return &window; });
    DocumentTab *tab = openReadme(window);
    auto *quickOpen = window.findChild<QAction *>(u"openQuickly"_s);
    auto *search = window.findChild<QAction *>(u"findInProject"_s);
    QVERIFY(quickOpen && search);
    QCOMPARE(search->shortcut(), QKeySequence(u"Ctrl+Shift+F"_s));
    quickOpen->trigger();
    QVERIFY(tab->panels()->showQuickOpen());
    search->trigger();
    QVERIFY(tab->panels()->showSearch());
    QVERIFY(!tab->panels()->showQuickOpen());
    tab->panels()->setShowSearch(false);

    DebugHooks::shared().post(u"lumoapp.debug.search"_s, {});
    QVERIFY(tab->panels()->showSearch());
    DebugHooks::shared().post(u"lumoapp.debug.quickOpen"_s, {});
    QVERIFY(tab->panels()->showQuickOpen());
    QVERIFY(!tab->panels()->showSearch());
}

LUMO_WEB_TEST_MAIN(TestSearchPanels)
#include "tst_searchpanels.moc"
