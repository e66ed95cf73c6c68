#include "base/Preferences.h"
#include "support/LumoHome.h"
#include "support/TreeBuilder.h"
#include "workspace/FolderScanner.h"
#include "workspace/ReadState.h"

#include <QSignalSpy>
#include <QTest>

using namespace Lumo::Base;
using namespace Lumo::Workspace;

using namespace Qt::StringLiterals;

class TestReadState : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void marksChangesAfterTheBaseline();
    void equalDatesCountAsRead();
    void linkedPathsShareOneEntry();
    void aBurstOfViewsWritesOnce();
    void savesPruneWithHysteresis_data();
    void savesPruneWithHysteresis();
    void malformedStoreReadsAsEmpty();

private:
    TreeNode scannedFile(const QString &relative) const
    {
        TreeNode node;
        node.url = m_home->filePath(relative);
        node.path = relative;
        node.modified = QFileInfo(node.url).lastModified().toUTC();
        return node;
    }

    std::unique_ptr<LumoHome> m_home;
    std::unique_ptr<Preferences> m_preferences;
};

void TestReadState::init()
{
    m_home = std::make_unique<LumoHome>();
    m_preferences = std::make_unique<Preferences>(m_home->settingsPath());
    QVERIFY(TreeBuilder::make(m_home->path(), {u"notes/a.md"_s, u"notes/deep/b.md"_s}));
}

void TestReadState::marksChangesAfterTheBaseline()
{
    ReadState state(*m_preferences);
    const QString folder = m_home->filePath(u"notes"_s);
    const QDateTime firstBrowsed = state.baseline(folder);
    QCOMPARE(state.baseline(folder), firstBrowsed);
    // Files already there when the folder is first browsed are read.
    QVERIFY(!state.isUnread(FolderScanner::scan(folder).nodes.first(), firstBrowsed));

    // Another program saves b.md after the baseline; the collapsed folder rolls it up.
    const QDateTime baseline = firstBrowsed.addSecs(-120);
    QVERIFY(TreeBuilder::setModified(m_home->filePath(u"notes/a.md"_s), baseline.addSecs(-60)));
    QVERIFY(TreeBuilder::setModified(m_home->filePath(u"notes/deep/b.md"_s), baseline.addSecs(60)));
    const FolderScanner::Result tree = FolderScanner::scan(folder);
    const TreeNode deep = tree.nodes.first();
    QVERIFY(state.isUnread(deep, baseline));
    QVERIFY(state.isUnread(deep.children.first(), baseline));
    QVERIFY(!state.isUnread(tree.nodes.last(), baseline));

    // Shown in a window, it is read until it changes again.
    state.noteViewed(deep.children.first().url);
    QVERIFY(!state.isUnread(deep, baseline));
    TreeNode changedAgain = deep.children.first();
    changedAgain.modified = state.viewed().value(changedAgain.url).addMSecs(1);
    QVERIFY(state.isUnread(changedAgain, baseline));

    TreeNode empty;
    empty.isFolder = true;
    QVERIFY(!state.isUnread(empty, baseline));
}

void TestReadState::equalDatesCountAsRead()
{
    ReadState state(*m_preferences);
    const QDateTime baseline = state.baseline(m_home->path());
    TreeNode file = scannedFile(u"notes/a.md"_s);
    file.modified = baseline;
    QVERIFY(!state.isUnread(file, baseline));

    state.noteViewed(file.url);
    file.modified = state.viewed().value(file.url);
    QVERIFY(!state.isUnread(file, baseline.addSecs(-1)));
    file.modified = QDateTime();
    QVERIFY(!state.isUnread(file, baseline.addSecs(-1)));
}

void TestReadState::linkedPathsShareOneEntry()
{
    QVERIFY(QFile::link(m_home->filePath(u"notes"_s), m_home->filePath(u"linked"_s)));
    ReadState state(*m_preferences);
    state.noteViewed(m_home->filePath(u"linked/a.md"_s));
    state.noteViewed(m_home->filePath(u"notes/a.md"_s));
    QCOMPARE(state.viewed().keys(), QStringList{m_home->filePath(u"notes/a.md"_s)});
    QCOMPARE(state.baseline(m_home->filePath(u"linked"_s)),
             state.baseline(m_home->filePath(u"notes"_s)));
}

void TestReadState::aBurstOfViewsWritesOnce()
{
    ReadState state(*m_preferences);
    QSignalSpy writes(m_preferences.get(), &Preferences::sidebarViewedChanged);
    for (int i = 0; i < 10; ++i)
        state.noteViewed(m_home->filePath(u"note%1.md"_s).arg(i));
    QCOMPARE(writes.count(), 0);
    QTRY_COMPARE_WITH_TIMEOUT(writes.count(), 1, 2 * ReadState::saveDelayMilliseconds);
    QCOMPARE(m_preferences->sidebarViewed().size(), 10);
}

void TestReadState::savesPruneWithHysteresis_data()
{
    QTest::addColumn<int>("viewed");
    QTest::addColumn<int>("viewedAfter");
    QTest::addColumn<int>("baselines");
    QTest::addColumn<int>("baselinesAfter");
    // One more entry of each is added before the save.
    QTest::newRow("at the limits") << 1999 << 2000 << 99 << 100;
    QTest::newRow("one past") << 2000 << 1500 << 100 << 80;
}

void TestReadState::savesPruneWithHysteresis()
{
    QFETCH(int, viewed);
    QFETCH(int, viewedAfter);
    QFETCH(int, baselines);
    QFETCH(int, baselinesAfter);
    const QDateTime old = QDateTime::currentDateTimeUtc().addYears(-1);
    QVariantMap storedViewed;
    for (int i = 0; i < viewed; ++i)
        storedViewed.insert(u"/v/%1.md"_s.arg(i), old.addSecs(i));
    QVariantMap storedBaselines;
    for (int i = 0; i < baselines; ++i)
        storedBaselines.insert(u"/b/%1"_s.arg(i), old.addSecs(i));
    m_preferences->setSidebarViewed(storedViewed);
    m_preferences->setSidebarBaselines(storedBaselines);

    ReadState state(*m_preferences);
    state.noteViewed(m_home->filePath(u"notes/a.md"_s));
    const QDateTime folderBaseline = state.baseline(m_home->path());
    state.flush();

    const QVariantMap savedViewed = m_preferences->sidebarViewed();
    QCOMPARE(savedViewed.size(), viewedAfter);
    QCOMPARE(state.viewed().size(), viewedAfter);
    // The newest survive: the fresh view and the latest of the old ones.
    QVERIFY(savedViewed.contains(m_home->filePath(u"notes/a.md"_s)));
    QVERIFY(savedViewed.contains(u"/v/%1.md"_s.arg(viewed - 1)));
    QCOMPARE(m_preferences->sidebarBaselines().size(), baselinesAfter);
    QCOMPARE(m_preferences->sidebarBaselines().value(m_home->path()).toDateTime(), folderBaseline);

    m_preferences->sync();
    Preferences reopened(m_home->settingsPath());
    QCOMPARE(ReadState(reopened).viewed(), state.viewed());

    // A pruned folder starts over with a fresh baseline.
    if (baselinesAfter < baselines)
        QVERIFY(state.baseline(u"/b/0"_s) > old.addSecs(baselines));
}

void TestReadState::malformedStoreReadsAsEmpty()
{
    m_preferences->setSidebarViewed(
        {{u"/a.md"_s, QDateTime::currentDateTimeUtc()}, {u"/b.md"_s, u"yesterday"_s}});
    m_preferences->setValue(u"sidebarBaselines"_s, u"not a map"_s);
    ReadState state(*m_preferences);
    QVERIFY(state.viewed().isEmpty());
    const QDateTime before = QDateTime::currentDateTimeUtc();
    QVERIFY(state.baseline(u"/b"_s) >= before);
}

QTEST_GUILESS_MAIN(TestReadState)
#include "tst_readstate.moc"
