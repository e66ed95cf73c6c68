#include "support/TreeBuilder.h"
#include "workspace/FolderWatcher.h"

#include <fcntl.h>
#include <QTemporaryDir>
#include <QTest>
#include <sys/inotify.h>
#include <sys/stat.h>

using namespace Lumo::Workspace;

using namespace Qt::StringLiterals;

class TestFolderWatcher : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void filter_data();
    void filter();
    void wakesForChangesToTheTree_data();
    void wakesForChangesToTheTree();
    void ignoresWhatCannotChangeTheTree();
    void namesFilesThatWereOnlyWritten();
    void queueOverflowWakes();
    void watchLimitLeavesTheRestToRescans();
    void watchesTheFolderMadeAgain_data();
    void watchesTheFolderMadeAgain();
    void forgetsAFolderMovedOut();
    void stopsForGood();

private:
    void startWatching(int expectedWatches);

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<FolderWatcher> m_watcher;
    int m_calls = 0;
    QStringList m_written;
};

void TestFolderWatcher::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    m_watcher = std::make_unique<FolderWatcher>();
    m_calls = 0;
    // Two watched folders below the root; the skipped and the linked ones are not.
    QVERIFY(TreeBuilder::make(m_dir->path(), {u"notes/a.md"_s, u"notes/deep/b.txt"_s,
                                              u"node_modules/pkg/"_s, u".git/objects/"_s}));
    QVERIFY(QFile::link(m_dir->filePath(u"notes"_s), m_dir->filePath(u"linked"_s)));
}

void TestFolderWatcher::startWatching(int expectedWatches)
{
    m_watcher->start(m_dir->path(), [this](const QStringList &written) {
        ++m_calls;
        m_written = written;
    });
    QTRY_COMPARE(m_watcher->watchCount(), expectedWatches);
}

void TestFolderWatcher::filter_data()
{
    QTest::addColumn<QStringList>("paths");
    QTest::addColumn<QList<quint32>>("flags");
    QTest::addColumn<bool>("relevant");
    using W = FolderWatcher;
    const quint32 overflow = W::flagsOf(IN_Q_OVERFLOW, false);

    QTest::newRow("markdown") << QStringList{u"notes/a.md"_s} << QList<quint32>{0} << true;
    QTest::newRow("extension case") << QStringList{u"README.MD"_s} << QList<quint32>{0} << true;
    QTest::newRow("text") << QStringList{u"notes/a.txt"_s} << QList<quint32>{0} << false;
    QTest::newRow("folder") << QStringList{u"empty"_s} << QList<quint32>{W::ItemIsDir} << true;
    QTest::newRow("inside skipped") << QStringList{u"x/node_modules/a.md"_s, u".git/b"_s}
                                    << QList<quint32>{0, W::ItemIsDir} << false;
    QTest::newRow("later pair decides")
        << QStringList{u"a.txt"_s, u"b.mdx"_s} << QList<quint32>{0, 0} << true;
    QTest::newRow("overflow anywhere")
        << QStringList{u"node_modules"_s} << QList<quint32>{overflow} << true;
    QTest::newRow("root moved") << QStringList{QString()}
                                << QList<quint32>{W::flagsOf(IN_MOVE_SELF, true)} << true;
    QTest::newRow("subfolder itself gone")
        << QStringList{u"notes/x.txt"_s} << QList<quint32>{W::flagsOf(IN_DELETE_SELF, false)}
        << false;
}

void TestFolderWatcher::filter()
{
    QFETCH(QStringList, paths);
    QFETCH(QList<quint32>, flags);
    QFETCH(bool, relevant);
    QCOMPARE(FolderWatcher::isRelevant(paths, flags), relevant);
}

enum class Change {
    SaveMarkdown,
    SaveUpperCase,
    MakeFolder,
    FileInNewFolder,
    MoveRoot,
    DeleteRoot
};

void TestFolderWatcher::wakesForChangesToTheTree_data()
{
    QTest::addColumn<Change>("change");
    QTest::newRow("save notes/a.md") << Change::SaveMarkdown;
    QTest::newRow("save README.MD deep") << Change::SaveUpperCase;
    QTest::newRow("empty folder") << Change::MakeFolder;
    QTest::newRow("file in a folder made after start") << Change::FileInNewFolder;
    QTest::newRow("root renamed") << Change::MoveRoot;
    QTest::newRow("root deleted") << Change::DeleteRoot;
}

void TestFolderWatcher::wakesForChangesToTheTree()
{
    QFETCH(Change, change);
    startWatching(3);
    const QString root = m_dir->path();
    switch (change) {
    case Change::SaveMarkdown:
        QVERIFY(TreeBuilder::make(root, {u"notes/a.md"_s}));
        break;
    case Change::SaveUpperCase:
        QVERIFY(TreeBuilder::make(root, {u"notes/deep/README.MD"_s}));
        break;
    case Change::MakeFolder:
        QVERIFY(QDir(root).mkdir(u"empty"_s));
        break;
    case Change::FileInNewFolder:
        QVERIFY(QDir(root).mkpath(u"fresh/inner"_s));
        QTRY_COMPARE(m_watcher->watchCount(), 5);
        QTRY_COMPARE(m_calls, 1);
        QVERIFY(TreeBuilder::make(root, {u"fresh/inner/c.md"_s}));
        QTRY_COMPARE(m_calls, 2);
        return;
    case Change::MoveRoot:
        QVERIFY(QDir().rename(root, root + u"-moved"_s));
        m_dir = std::make_unique<QTemporaryDir>(root + u"-moved"_s);
        break;
    case Change::DeleteRoot:
        QVERIFY(m_dir->remove());
        break;
    }
    QTRY_VERIFY(m_calls >= 1);
}

void TestFolderWatcher::ignoresWhatCannotChangeTheTree()
{
    startWatching(3);
    QVERIFY(TreeBuilder::make(
        m_dir->path(), {u"notes/a.txt"_s, u"node_modules/pkg/x.md"_s, u".git/objects/y.md"_s}));
    QVERIFY(QDir(m_dir->path()).mkdir(u"node_modules/pkg/sub"_s));
    QVERIFY(QDir(m_dir->path()).mkdir(u"notes/vendor"_s));
    QVERIFY(QFile::remove(m_dir->filePath(u"notes/a.txt"_s)));
    // Nothing may arrive, so this can only wait out a batch or two.
    QTest::qWait(3 * FolderWatcher::latencyMilliseconds);
    QCOMPARE(m_calls, 0);
    QCOMPARE(m_watcher->watchCount(), 3);
}

// A growing log need not cost a scan of the whole tree; a new file does.
void TestFolderWatcher::namesFilesThatWereOnlyWritten()
{
    startWatching(3);
    QFile file(m_dir->filePath(u"notes/a.md"_s));
    for (int i = 0; i < 3; ++i) {
        QVERIFY(file.open(QIODevice::Append));
        file.write("more\n");
        file.close();
    }
    QTRY_COMPARE(m_calls, 1);
    QCOMPARE(m_written, QStringList{u"notes/a.md"_s});

    QVERIFY(file.open(QIODevice::Append));
    file.write("more\n");
    file.close();
    QVERIFY(TreeBuilder::make(m_dir->path(), {u"notes/b.md"_s}));
    QTRY_COMPARE(m_calls, 2);
    QCOMPARE(m_written, QStringList());
}

void TestFolderWatcher::queueOverflowWakes()
{
    QFile limitFile(u"/proc/sys/fs/inotify/max_queued_events"_s);
    if (!limitFile.open(QIODevice::ReadOnly))
        QSKIP("The inotify queue size is not readable here.");
    const int queueSize = limitFile.readAll().trimmed().toInt();
    if (queueSize <= 0 || queueSize > 200000)
        QSKIP("The inotify queue is too large to overflow in a test.");
    startWatching(3);

    // Alternating files, so the kernel cannot merge neighbouring events: a burst of
    // text-file changes, none relevant by itself, overflows the queue within one batch.
    QVERIFY(TreeBuilder::make(m_dir->path(), {u"one.txt"_s, u"two.txt"_s}));
    QTest::qWait(3 * FolderWatcher::latencyMilliseconds);
    QCOMPARE(m_calls, 0);
    const QByteArray one = QFile::encodeName(m_dir->filePath(u"one.txt"_s));
    const QByteArray two = QFile::encodeName(m_dir->filePath(u"two.txt"_s));
    // Twice the queue, so that even a slow burst fills it within one batch.
    for (int i = 0; i < 2 * queueSize; ++i)
        QVERIFY(::utimensat(AT_FDCWD, (i % 2 ? one : two).constData(), nullptr, 0) == 0);
    QTRY_VERIFY(m_calls >= 1);
}

void TestFolderWatcher::watchLimitLeavesTheRestToRescans()
{
    m_watcher->setWatchLimit(2);
    startWatching(2);
    QVERIFY(m_watcher->isPartial());
    QVERIFY(TreeBuilder::make(m_dir->path(), {u"top.md"_s}));
    QTRY_COMPARE(m_calls, 1);
}

void TestFolderWatcher::watchesTheFolderMadeAgain_data()
{
    QTest::addColumn<bool>("moved");
    QTest::newRow("deleted, then made again") << false;
    QTest::newRow("moved away, another made in its place") << true;
}

void TestFolderWatcher::watchesTheFolderMadeAgain()
{
    QFETCH(bool, moved);
    startWatching(3);
    const QString root = m_dir->path();
    QTemporaryDir away;
    if (moved)
        QVERIFY(QDir().rename(root, away.filePath(u"moved"_s)));
    else
        QVERIFY(QDir(root).removeRecursively());
    QTRY_VERIFY(m_calls >= 1);
    QTRY_COMPARE(m_watcher->watchCount(), 0);
    // Nothing from the old folder, wherever it went.
    if (moved)
        QVERIFY(TreeBuilder::make(away.filePath(u"moved"_s), {u"notes/old.md"_s}));
    QTest::qWait(3 * FolderWatcher::latencyMilliseconds);
    const int gone = m_calls;

    QVERIFY(TreeBuilder::make(root, {u"notes/again.md"_s}));
    QTRY_COMPARE(m_watcher->watchCount(), 2);
    QTRY_VERIFY(m_calls > gone);
    const int back = m_calls;
    QVERIFY(TreeBuilder::make(root, {u"notes/later.md"_s}));
    QTRY_VERIFY(m_calls > back);
}

void TestFolderWatcher::forgetsAFolderMovedOut()
{
    startWatching(3);
    QTemporaryDir away;
    QVERIFY(QDir().rename(m_dir->filePath(u"notes"_s), away.filePath(u"notes"_s)));
    QTRY_COMPARE(m_watcher->watchCount(), 1);
    QTRY_COMPARE(m_calls, 1);
    QVERIFY(TreeBuilder::make(away.path(), {u"notes/deep/c.md"_s}));
    QTest::qWait(3 * FolderWatcher::latencyMilliseconds);
    QCOMPARE(m_calls, 1);
}

void TestFolderWatcher::stopsForGood()
{
    startWatching(3);
    m_watcher->stop();
    m_watcher->stop();
    m_watcher->start(m_dir->path(), [this](const QStringList &) { m_calls += 100; });
    QVERIFY(TreeBuilder::make(m_dir->path(), {u"notes/after.md"_s}));
    QTest::qWait(3 * FolderWatcher::latencyMilliseconds);
    QCOMPARE(m_calls, 0);
}

QTEST_GUILESS_MAIN(TestFolderWatcher)
#include "tst_folderwatcher.moc"
