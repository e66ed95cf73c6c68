// The folder sidebar: its rows as a model, keyboard navigation through real key events,
// its states, and revealing the document.
#include "app/DocumentTab.h"
#include "app/DocumentWindow.h"
#include "app/FolderOpener.h"
#include "app/WindowMenus.h"
#include "base/Preferences.h"
#include "document/DocumentController.h"
#include "document/TabPanels.h"
#include "support/FakePage.h"
#include "support/TreeBuilder.h"
#include "support/WebTest.h"
#include "workspace/FolderSidebar.h"
#include "workspace/FolderTree.h"
#include "workspace/FolderTreeModel.h"
#include "workspace/ReadState.h"
#include "workspace/SidebarList.h"
#include "workspace/SidebarView.h"
#include "workspace/Workspace.h"

#include <QAbstractItemModelTester>
#include <QFileDialog>
#include <QLabel>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QScrollBar>
#include <QStackedWidget>
#include <QTestEventList>

using namespace Lumo::App;
using namespace Lumo::Base;
using namespace Lumo::Document;
using namespace Lumo::Workspace;

using namespace Qt::StringLiterals;

class TestFolderSidebar : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void modelFollowsTheTree();
    void keyboard_data();
    void keyboard();
    void activationAndEscape();
    void emptyFolderWaitsForItsScan();
    void marksWhatChangedSinceItWasRead();
    void revealShowsTheDocument();
    void documentOpenedHereKeepsTheScrollPosition();
    void sidebarFollowsTheRoot();
    void openingAFolderRaisesOpensOrTells();
    void dropsOpenFoldersAndFiles();
    void openFolderInTheSidebarAsksForAFolder();

private:
    QString path(const QString &relative) const { return m_dir.filePath(relative); }
    // A sidebar on the "notes" folder, for a document showing `file`.
    struct Fixture
    {
        std::unique_ptr<FakePage> page = std::make_unique<FakePage>();
        std::unique_ptr<TabPanels> panels = std::make_unique<TabPanels>();
        std::unique_ptr<DocumentController> controller;
        std::shared_ptr<FolderTree> tree;
        std::unique_ptr<FolderSidebar> sidebar;
    };
    Fixture open(const QString &folder, const QString &file);
    static QStringList sorted(const QSet<QString> &set)
    {
        QStringList list(set.cbegin(), set.cend());
        list.sort();
        return list;
    }

    QTemporaryDir m_dir;
};

void TestFolderSidebar::initTestCase()
{
    QVERIFY(TreeBuilder::make(m_dir.path(),
                              {u"notes/alpha/a1.md"_s, u"notes/alpha/sub/s.md"_s,
                               u"notes/beta/b.md"_s, u"notes/readme.md"_s, u"notes/zeta.md"_s,
                               u"notes/beta/image.png"_s, u"empty/"_s}));
}

TestFolderSidebar::Fixture TestFolderSidebar::open(const QString &folder, const QString &file)
{
    Fixture fixture;
    QString error;
    fixture.controller = std::make_unique<DocumentController>(
        file.isEmpty() ? new OpenDocument() : OpenDocument::open(path(file), &error),
        fixture.page.get(), false);
    fixture.tree = FolderTree::shared(path(folder));
    if (!QTest::qWaitFor([&] { return fixture.tree->loaded(); }, 10000))
        qWarning("the tree did not load");
    fixture.tree->setExpanded({});
    fixture.sidebar = std::make_unique<FolderSidebar>(fixture.tree, fixture.controller.get(),
                                                      fixture.panels.get());
    fixture.sidebar->resize(260, 400);
    fixture.sidebar->show();
    if (!QTest::qWaitForWindowExposed(fixture.sidebar.get()))
        qWarning("the sidebar was not shown");
    return fixture;
}

void TestFolderSidebar::modelFollowsTheTree()
{
    Fixture fixture = open(u"notes"_s, u"notes/alpha/sub/s.md"_s);
    FolderTreeModel *model = fixture.sidebar->model();
    QAbstractItemModelTester tester(model, QAbstractItemModelTester::FailureReportingMode::QtTest);

    QStringList names;
    for (int row = 0; row < model->rowCount(); ++row)
        names << model->index(row, 0).data().toString();
    QCOMPARE(names, (QStringList{u"alpha"_s, u"beta"_s, u"readme.md"_s, u"zeta.md"_s}));
    const QModelIndex current = model->indexOf(u"alpha/sub/s.md"_s);
    QVERIFY(current.data(FolderTreeModel::CurrentRole).toBool());
    QCOMPARE(current.data(FolderTreeModel::FilePathRole).toString(),
             path(u"notes/alpha/sub/s.md"_s));
    QCOMPARE(current.parent(), model->indexOf(u"alpha/sub"_s));
    QCOMPARE(model->indexOf(u"beta"_s).data(FolderTreeModel::FileCountRole).toInt(), 1);

    // Showing the sidebar reveals the document: its folders open, here and in the tree.
    QTRY_COMPARE(sorted(fixture.tree->expanded()), (QStringList{u"alpha"_s, u"alpha/sub"_s}));
    QTRY_VERIFY(fixture.sidebar->list()->isExpanded(model->indexOf(u"alpha/sub"_s)));
    QVERIFY(model->indexOf(u"alpha"_s).data(FolderTreeModel::ExpandedRole).toBool());
    QCOMPARE(fixture.sidebar->list()->visibleRows().size(), 7);

    // A new file lands in the rows after the rescan; the model stays consistent.
    QSignalSpy reset(model, &QAbstractItemModel::modelReset);
    QVERIFY(TreeBuilder::make(path(u"notes"_s), {u"beta/c.md"_s}));
    fixture.tree->rescan();
    QTRY_VERIFY(model->indexOf(u"beta/c.md"_s).isValid());
    QVERIFY(reset.count() >= 1);
    QCOMPARE(model->indexOf(u"beta"_s).data(FolderTreeModel::FileCountRole).toInt(), 2);
    QFile::remove(path(u"notes/beta/c.md"_s));
    fixture.tree->rescan();
    QTRY_VERIFY(!model->indexOf(u"beta/c.md"_s).isValid());
}

void TestFolderSidebar::keyboard_data()
{
    QTest::addColumn<QTestEventList>("keys");
    QTest::addColumn<QString>("cursor");
    QTest::addColumn<QStringList>("expanded");

    const auto keys = [](std::initializer_list<Qt::Key> list) {
        QTestEventList events;
        for (Qt::Key key : list)
            events.addKeyClick(key);
        return events;
    };
    using K = Qt::Key;
    // Rows: alpha/, beta/, readme.md (the document), zeta.md.
    QTest::newRow("down from the document's row")
        << keys({K::Key_Down}) << u"zeta.md"_s << QStringList{};
    QTest::newRow("down stops at the last row")
        << keys({K::Key_Down, K::Key_Down, K::Key_Down}) << u"zeta.md"_s << QStringList{};
    QTest::newRow("up stops at the first row")
        << keys({K::Key_Up, K::Key_Up, K::Key_Up, K::Key_Up}) << u"alpha"_s << QStringList{};
    QTest::newRow("home and end") << keys({K::Key_End, K::Key_Home}) << u"alpha"_s << QStringList{};
    QTest::newRow("right expands a folder")
        << keys({K::Key_Up, K::Key_Up, K::Key_Right}) << u"alpha"_s << QStringList{u"alpha"_s};
    QTest::newRow("right again enters it")
        << keys({K::Key_Up, K::Key_Up, K::Key_Right, K::Key_Right}) << u"alpha/sub"_s
        << QStringList{u"alpha"_s};
    QTest::newRow("left goes to the parent, then collapses it")
        << keys({K::Key_Up, K::Key_Up, K::Key_Right, K::Key_Right, K::Key_Left, K::Key_Left})
        << u"alpha"_s << QStringList{};
    QTest::newRow("left on a file at the root stays")
        << keys({K::Key_Down, K::Key_Left}) << u"zeta.md"_s << QStringList{};
    QTest::newRow("return opens a folder")
        << keys({K::Key_Up, K::Key_Return}) << u"beta"_s << QStringList{u"beta"_s};
    QTest::newRow("space opens a folder")
        << keys({K::Key_Up, K::Key_Space}) << u"beta"_s << QStringList{u"beta"_s};

    QTestEventList typed;
    typed.addKeyClicks(u"ZE"_s);
    QTest::newRow("typing selects by prefix, any case") << typed << u"zeta.md"_s << QStringList{};
    QTestEventList noMatch;
    noMatch.addKeyClicks(u"zr"_s);
    QTest::newRow("a prefix nothing has leaves the cursor")
        << noMatch << u"zeta.md"_s << QStringList{};
    QTestEventList paused;
    paused.addKeyClick(Qt::Key_Z);
    paused.addDelay(SidebarList::typeSelectResetMilliseconds + 100);
    paused.addKeyClick(Qt::Key_R);
    QTest::newRow("a pause starts a new prefix") << paused << u"readme.md"_s << QStringList{};
}

void TestFolderSidebar::keyboard()
{
    QFETCH(QTestEventList, keys);
    QFETCH(QString, cursor);
    QFETCH(QStringList, expanded);
    Fixture fixture = open(u"notes"_s, u"notes/readme.md"_s);
    SidebarList *list = fixture.sidebar->list();
    list->setFocus();
    QTRY_VERIFY(list->hasFocus());
    keys.simulate(list);
    QCOMPARE(list->cursorPath().value_or(QString()), cursor);
    QCOMPARE(sorted(fixture.tree->expanded()), expanded);
    QVERIFY(list->usingKeyboard());
}

void TestFolderSidebar::activationAndEscape()
{
    Fixture fixture = open(u"notes"_s, u"notes/readme.md"_s);
    SidebarList *list = fixture.sidebar->list();
    list->setFocus();
    QSignalSpy replaced(fixture.controller.get(), &DocumentController::replaceRequested);
    QSignalSpy left(fixture.sidebar.get(), &FolderSidebar::leaveRequested);
    QTest::keyClick(list, Qt::Key_Down);
    QTest::keyClick(list, Qt::Key_Return);
    QCOMPARE(replaced.count(), 1);
    QCOMPARE(replaced.constFirst().constFirst().toString(), path(u"notes/zeta.md"_s));
    // The list remembers where it was for the document that opens.
    QCOMPARE(fixture.tree->handoff(), path(u"notes/zeta.md"_s));
    QTest::keyClick(list, Qt::Key_Escape);
    QCOMPARE(left.count(), 1);
}

void TestFolderSidebar::emptyFolderWaitsForItsScan()
{
    Fixture fixture = open(u"empty"_s, QString());
    auto *body = fixture.sidebar->findChild<QStackedWidget *>();
    QVERIFY(body);
    const auto *note = qobject_cast<QLabel *>(body->currentWidget());
    QVERIFY(note);
    QCOMPARE(note->text(), u"No Markdown files"_s);

    Fixture notes = open(u"notes"_s, u"notes/readme.md"_s);
    QVERIFY(notes.sidebar->findChild<QStackedWidget *>()->currentWidget() == notes.sidebar->list());
    const QStringList texts = [&] {
        QStringList all;
        for (const QLabel *label : notes.sidebar->findChildren<QLabel *>())
            all << label->text();
        return all;
    }();
    QVERIFY(texts.contains(u"notes"_s));
    QVERIFY(texts.contains(u"5 Markdown files"_s));
}

void TestFolderSidebar::marksWhatChangedSinceItWasRead()
{
    const QStringList files{u"marks/a/b/deep.md"_s, u"marks/top.md"_s, u"marks/open.md"_s};
    QVERIFY(TreeBuilder::make(m_dir.path(), files));
    Fixture fixture = open(u"marks"_s, u"marks/open.md"_s);
    FolderTreeModel *model = fixture.sidebar->model();
    const auto unread = [model](const QString &relative) {
        return model->indexOf(relative).data(FolderTreeModel::UnreadRole).toBool();
    };
    // A folder browsed for the first time shows no marks.
    fixture.tree->setExpanded({});
    QVERIFY(!unread(u"a"_s) && !unread(u"top.md"_s) && !unread(u"open.md"_s));

    // Everything changes after the folder's baseline; only the document is read.
    const QDateTime changed = ReadState::shared().baseline(path(u"marks"_s)).addMSecs(1);
    for (const QString &file : files)
        QVERIFY(TreeBuilder::setModified(path(file), changed));
    fixture.tree->rescan();
    QTRY_VERIFY(unread(u"top.md"_s));
    QVERIFY(unread(u"a"_s));
    QVERIFY(!unread(u"open.md"_s));
    // A screen reader hears the mark with the row's name.
    const auto description = [model](const QString &relative) {
        return model->indexOf(relative).data(Qt::AccessibleDescriptionRole).toString();
    };
    QCOMPARE(description(u"top.md"_s), u"Changed since you last read it"_s);
    QCOMPARE(description(u"a"_s), u"Holds files changed since you last read them"_s);
    QCOMPARE(description(u"open.md"_s), QString());

    // An open folder leaves the mark to what it shows.
    fixture.tree->setExpanded({u"a"_s});
    QVERIFY(!unread(u"a"_s));
    QVERIFY(unread(u"a/b"_s));
    fixture.tree->setExpanded({u"a"_s, u"a/b"_s});
    QVERIFY(!unread(u"a/b"_s));
    QVERIFY(unread(u"a/b/deep.md"_s));

    // Shown once, after the change, it is read.
    QTRY_VERIFY(QDateTime::currentDateTimeUtc() > changed);
    QSignalSpy marks(model, &QAbstractItemModel::dataChanged);
    ReadState::shared().noteViewed(path(u"marks/top.md"_s));
    QVERIFY(!unread(u"top.md"_s));
    QCOMPARE(marks.count(), 1);
    QVERIFY(unread(u"a/b/deep.md"_s));
}

void TestFolderSidebar::revealShowsTheDocument()
{
    Fixture fixture = open(u"notes"_s, u"notes/alpha/sub/s.md"_s);
    fixture.tree->setExpanded({});
    fixture.panels->setSidebarVisible(false);
    fixture.panels->revealInSidebar();
    QVERIFY(fixture.panels->sidebarVisible());
    QCOMPARE(sorted(fixture.tree->expanded()), (QStringList{u"alpha"_s, u"alpha/sub"_s}));
    SidebarList *list = fixture.sidebar->list();
    QTRY_COMPARE(list->cursorPath().value_or(QString()), u"alpha/sub/s.md"_s);
    QVERIFY(list->hasFocus());
}

void TestFolderSidebar::documentOpenedHereKeepsTheScrollPosition()
{
    QStringList many;
    for (int i = 1; i <= 60; ++i)
        many << u"long/file%1.md"_s.arg(i);
    QVERIFY(TreeBuilder::make(m_dir.path(), many));
    Fixture first = open(u"long"_s, u"long/file1.md"_s);
    SidebarList *list = first.sidebar->list();
    QTRY_VERIFY(list->verticalScrollBar()->maximum() > 300);
    list->verticalScrollBar()->setValue(300);
    QCOMPARE(first.tree->scrollOffset(), 300.0);

    QSignalSpy replaced(first.controller.get(), &DocumentController::replaceRequested);
    const QModelIndex row = list->indexAt(QPoint(60, 100));
    QVERIFY(row.isValid());
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->visualRect(row).center());
    QCOMPARE(replaced.count(), 1);
    const QString clicked = replaced.constFirst().constFirst().toString();
    QCOMPARE(clicked, row.data(FolderTreeModel::FilePathRole).toString());

    // The tab that shows the clicked file opens its sidebar where the click was...
    Fixture second = open(u"long"_s, QDir(m_dir.path()).relativeFilePath(clicked));
    QTRY_COMPARE(second.sidebar->list()->verticalScrollBar()->value(), 300);
    // ...one opened otherwise scrolls to its document.
    Fixture third = open(u"long"_s, u"long/file60.md"_s);
    SidebarList *thirdList = third.sidebar->list();
    QTRY_VERIFY(thirdList->viewport()->rect().contains(
        thirdList->visualRect(third.sidebar->model()->indexOf(u"file60.md"_s)).center()));
}

void TestFolderSidebar::sidebarFollowsTheRoot()
{
    Preferences::shared().setWorkspaceFolders({});
    QString error;
    FakePage page;
    TabPanels panels;
    DocumentController controller(OpenDocument::open(path(u"notes/beta/b.md"_s), &error), &page,
                                  false);
    SidebarView view(&controller, &panels);
    // Outside every remembered folder: the project root, its own folder here.
    QTRY_COMPARE(controller.sidebarRoot(), path(u"notes/beta"_s));
    QVERIFY(view.folderSidebar());
    QCOMPARE(view.currentWidget(), view.folderSidebar());
    QCOMPARE(view.folderSidebar()->tree()->root(), path(u"notes/beta"_s));

    Workspace::remember(Preferences::shared(), path(u"notes"_s));
    QCOMPARE(controller.sidebarRoot(), path(u"notes"_s));
    QCOMPARE(view.folderSidebar()->tree()->root(), path(u"notes"_s));

    DocumentController untitled(new OpenDocument(), &page, false);
    SidebarView none(&untitled, &panels);
    QCOMPARE(none.currentWidget()->objectName(), u"noFolder"_s);
}

void TestFolderSidebar::openingAFolderRaisesOpensOrTells()
{
    DocumentWindow window;
    WindowMenus::build(&window);
    QString error;
    DocumentTab *inside =
        window.addDocument(OpenDocument::open(path(u"notes/readme.md"_s), &error));
    window.addDocument(new OpenDocument());
    QStringList opened;
    const auto openFile = [&opened](const QString &file) { opened << file; };

    // A tab already shows a file of the folder: it comes to the front, sidebar on.
    inside->panels()->setSidebarVisible(false);
    FolderOpener::open(path(u"notes"_s), {&window}, &window, openFile);
    QCOMPARE(window.currentTab(), inside);
    QVERIFY(inside->panels()->sidebarVisible());
    QVERIFY(opened.isEmpty());
    Preferences &prefs = Preferences::shared();
    QCOMPARE(prefs.workspaceFolders().value(0), path(u"notes"_s));
    QCOMPARE(prefs.recentDocuments().value(0), path(u"notes"_s));
    QVERIFY(prefs.showSidebar());

    // Otherwise its first file opens...
    QVERIFY(TreeBuilder::make(m_dir.path(), {u"opening/sub/only.md"_s}));
    FolderOpener::open(path(u"opening"_s), {&window}, &window, openFile);
    QTRY_COMPARE(opened, QStringList{path(u"opening/sub/only.md"_s)});

    // ...and without any, the user is told.
    FolderOpener::open(path(u"empty"_s), {&window}, &window, openFile);
    QMessageBox *box = nullptr;
    QTRY_VERIFY((box = window.findChild<QMessageBox *>()));
    QCOMPARE(box->text(), u"No Markdown files in “empty”"_s);
    QCOMPARE(box->informativeText(),
             u"Lumo shows .md files. This folder and the folders inside it have none."_s);
    box->close();
    QCOMPARE(opened.size(), 1);
    QCOMPARE(prefs.workspaceFolders().value(0), path(u"empty"_s));
}

void TestFolderSidebar::dropsOpenFoldersAndFiles()
{
    DocumentWindow window;
    WindowMenus::build(&window);
    window.addDocument(new OpenDocument());
    auto *sidebar = window.findChild<SidebarView *>();
    QVERIFY(sidebar);
    QSignalSpy requested(&window, &DocumentWindow::openFilesRequested);
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(path(u"notes"_s)),
                  QUrl::fromLocalFile(path(u"notes/readme.md"_s)), QUrl(u"https://example.org"_s)});
    QDragEnterEvent enter(QPoint(10, 10), Qt::CopyAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(sidebar, &enter);
    QVERIFY(enter.isAccepted());
    QDropEvent drop(QPointF(10, 10), Qt::CopyAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(sidebar, &drop);
    QCOMPARE(requested.count(), 1);
    QCOMPARE(requested.constFirst().constFirst().toStringList(),
             (QStringList{path(u"notes"_s), path(u"notes/readme.md"_s)}));
}

void TestFolderSidebar::openFolderInTheSidebarAsksForAFolder()
{
    DocumentWindow window;
    window.addDocument(new OpenDocument());
    auto *sidebar = window.findChild<SidebarView *>();
    QVERIFY(sidebar);
    QWidget *invitation = sidebar->findChild<QWidget *>(u"noFolder"_s);
    QVERIFY(invitation);
    auto *button = invitation->findChild<QPushButton *>();
    QVERIFY(button);
    button->click();
    QFileDialog *dialog = nullptr;
    QTRY_VERIFY((dialog = window.findChild<QFileDialog *>()));
    QVERIFY(FolderOpener::acceptsFolders(dialog));
    QCOMPARE(dialog->fileMode(), QFileDialog::Directory);
    dialog->reject();
}

LUMO_WEB_TEST_MAIN(TestFolderSidebar)
#include "tst_foldersidebar.moc"
