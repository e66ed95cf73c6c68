#include "base/Preferences.h"
#include "support/LumoHome.h"
#include "support/TreeBuilder.h"
#include "workspace/FolderTree.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace Lumo::Base;
using namespace Lumo::Workspace;

using namespace Qt::StringLiterals;

class TestFolderTree : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void oneTreePerFolder();
    void leastRecentlyUsedTreeIsEvicted();
    void requestsDuringAScanFoldIntoOne();
    void unchangedScansPublishNoNodes();
    void fileSavedInTheTreeAppears();
    void aFileWrittenToIsDatedWithoutAScan();
    void expandedStateIsRememberedPerRoot();
    void pastFortyRootsOnlyTheCurrentSurvives_data();
    void pastFortyRootsOnlyTheCurrentSurvives();
    void toggleRecursively();
    void reveal_data();
    void reveal();
    void relativePath_data();
    void relativePath();

private:
    static TreeNode folderNode(const QString &path)
    {
        TreeNode node;
        node.path = path;
        node.isFolder = true;
        return node;
    }

    // A tree whose scan is done and whose watcher watches the four folders made by init.
    std::shared_ptr<FolderTree> loadedTree(const QString &root)
    {
        std::shared_ptr<FolderTree> tree = FolderTree::shared(root);
        if (!QTest::qWaitFor([&] {
                return tree->loaded() && !tree->isScanning() && tree->watcher().watchCount() == 4;
            }))
            qWarning("The scan of %s did not finish", qPrintable(root));
        return tree;
    }

    LumoHome m_home;
    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestFolderTree::initTestCase()
{
    // Before anything asks for Preferences::shared(), so the user's own store is safe.
    m_home.useForThisProcess();
}

void TestFolderTree::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(
        TreeBuilder::make(m_dir->path(), {u"a/b/c.md"_s, u"a/b/d/e.md"_s, u"a/f.md"_s, u"g.md"_s}));
    Preferences::shared().remove(u"sidebarExpanded"_s);
}

void TestFolderTree::oneTreePerFolder()
{
    const auto first = FolderTree::shared(m_dir->path());
    const auto second = FolderTree::shared(m_dir->path() + u"/a/.."_s);
    QCOMPARE(first.get(), second.get());
    QSignalSpy expanded(second.get(), &FolderTree::expandedChanged);
    first->toggle(folderNode(u"a"_s));
    QCOMPARE(expanded.count(), 1);
    QCOMPARE(second->expanded(), QSet<QString>{u"a"_s});
}

void TestFolderTree::leastRecentlyUsedTreeIsEvicted()
{
    std::vector<std::unique_ptr<QTemporaryDir>> others;
    const auto first = loadedTree(m_dir->path());
    for (int i = 0; i < FolderTree::cacheSize; ++i) {
        others.push_back(std::make_unique<QTemporaryDir>());
        FolderTree::shared(others.back()->path());
    }
    const auto fresh = loadedTree(m_dir->path());
    QVERIFY(fresh.get() != first.get());

    // Only the fresh tree still watches the folder.
    QVERIFY(TreeBuilder::make(m_dir->path(), {u"h.md"_s}));
    QTRY_COMPARE(fresh->fileCount(), 5);
    QTRY_VERIFY(!fresh->isScanning());
    QCOMPARE(first->fileCount(), 4);
}

void TestFolderTree::requestsDuringAScanFoldIntoOne()
{
    const auto tree = FolderTree::shared(m_dir->path());
    QVERIFY(tree->isScanning());
    QSignalSpy scans(tree.get(), &FolderTree::scanCompleted);
    for (int i = 0; i < 10; ++i)
        tree->rescan();
    QTRY_COMPARE(scans.count(), 2);
    // A third scan would have started as the second finished.
    QVERIFY(!tree->isScanning());
}

void TestFolderTree::unchangedScansPublishNoNodes()
{
    const auto tree = loadedTree(m_dir->path());
    QCOMPARE(tree->fileCount(), 4);
    QSignalSpy nodes(tree.get(), &FolderTree::nodesChanged);
    QSignalSpy scans(tree.get(), &FolderTree::scanCompleted);
    tree->rescan();
    QTRY_COMPARE(scans.count(), 1);
    QCOMPARE(nodes.count(), 0);
}

void TestFolderTree::fileSavedInTheTreeAppears()
{
    const auto tree = loadedTree(m_dir->path());
    QSignalSpy nodes(tree.get(), &FolderTree::nodesChanged);
    QVERIFY(TreeBuilder::make(m_dir->path(), {u"a/b/new.md"_s}));
    QTRY_COMPARE(tree->fileCount(), 5);
    QCOMPARE(nodes.count(), 1);
}

void TestFolderTree::aFileWrittenToIsDatedWithoutAScan()
{
    const auto tree = loadedTree(m_dir->path());
    QSignalSpy nodes(tree.get(), &FolderTree::nodesChanged);
    QSignalSpy scans(tree.get(), &FolderTree::scanCompleted);
    QFile file(m_dir->filePath(u"a/b/c.md"_s));
    QVERIFY(file.open(QIODevice::Append));
    file.write("more\n");
    file.close();
    QVERIFY(file.open(QIODevice::Append));
    QVERIFY(file.setFileTime(QDateTime::currentDateTimeUtc().addDays(1),
                             QFileDevice::FileModificationTime));
    file.close();
    QTRY_COMPARE(nodes.count(), 1);
    QCOMPARE(scans.count(), 0);

    const QDateTime written = QFileInfo(file.fileName()).lastModified().toUTC();
    const TreeNode &a = tree->nodes().at(0);
    const TreeNode &b = a.children.at(0);
    QCOMPARE(a.path, u"a"_s);
    QCOMPARE(b.children.at(1).path, u"a/b/c.md"_s); // after the folder d
    QCOMPARE(b.children.at(1).modified, written);
    QCOMPARE(b.modified, written);
    QCOMPARE(a.modified, written);
    QVERIFY(tree->nodes().at(1).modified < written);
}

void TestFolderTree::expandedStateIsRememberedPerRoot()
{
    const QString root = m_dir->path();
    FolderTree::shared(root)->setExpanded({u"a/b"_s, u"a"_s});
    QCOMPARE(Preferences::shared().sidebarExpanded().value(root).toStringList(),
             (QStringList{u"a"_s, u"a/b"_s}));

    // A tree made after eviction reads it back.
    std::vector<std::unique_ptr<QTemporaryDir>> others;
    for (int i = 0; i < FolderTree::cacheSize; ++i) {
        others.push_back(std::make_unique<QTemporaryDir>());
        FolderTree::shared(others.back()->path());
    }
    QCOMPARE(FolderTree::shared(root)->expanded(), (QSet<QString>{u"a"_s, u"a/b"_s}));
}

void TestFolderTree::pastFortyRootsOnlyTheCurrentSurvives_data()
{
    QTest::addColumn<int>("others");
    QTest::addColumn<int>("kept");
    QTest::newRow("40 in all") << 39 << 40;
    QTest::newRow("41 in all") << 40 << 1;
}

void TestFolderTree::pastFortyRootsOnlyTheCurrentSurvives()
{
    QFETCH(int, others);
    QFETCH(int, kept);
    QVariantMap stored;
    for (int i = 0; i < others; ++i)
        stored.insert(u"/elsewhere/%1"_s.arg(i), QStringList{u"x"_s});
    Preferences::shared().setSidebarExpanded(stored);

    const auto tree = FolderTree::shared(m_dir->path());
    tree->toggle(folderNode(u"a"_s));
    const QVariantMap after = Preferences::shared().sidebarExpanded();
    QCOMPARE(after.size(), kept);
    QCOMPARE(after.value(m_dir->path()).toStringList(), QStringList{u"a"_s});
}

void TestFolderTree::toggleRecursively()
{
    const auto tree = loadedTree(m_dir->path());
    const TreeNode a = tree->nodes().first();
    tree->setExpanded({u"a/b/d"_s, u"elsewhere"_s});
    tree->toggleRecursively(a);
    QCOMPARE(tree->expanded(), (QSet<QString>{u"a"_s, u"a/b"_s, u"a/b/d"_s, u"elsewhere"_s}));
    tree->toggleRecursively(a);
    QCOMPARE(tree->expanded(), QSet<QString>{u"elsewhere"_s});
    tree->toggleRecursively(tree->nodes().last());
    QCOMPARE(tree->expanded(), QSet<QString>{u"elsewhere"_s});
}

void TestFolderTree::reveal_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QSet<QString>>("expanded");
    QTest::newRow("nested") << u"a/b/c.md"_s << QSet<QString>{u"x"_s, u"a"_s, u"a/b"_s};
    QTest::newRow("top level") << u"g.md"_s << QSet<QString>{u"x"_s};
    QTest::newRow("outside") << u"../elsewhere/c.md"_s << QSet<QString>{u"x"_s};
}

void TestFolderTree::reveal()
{
    QFETCH(QString, file);
    QFETCH(QSet<QString>, expanded);
    const auto tree = FolderTree::shared(m_dir->path());
    tree->setExpanded({u"x"_s});
    tree->reveal(m_dir->filePath(file));
    QCOMPARE(tree->expanded(), expanded);
}

void TestFolderTree::relativePath_data()
{
    QTest::addColumn<QString>("root");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("expected"); // empty: outside
    QTest::newRow("inside") << u"notes"_s << u"notes/a/b.md"_s << u"a/b.md"_s;
    QTest::newRow("through a linked root") << u"linked"_s << u"notes/a/b.md"_s << u"a/b.md"_s;
    QTest::newRow("file reached through the link")
        << u"notes"_s << u"linked/a/b.md"_s << u"a/b.md"_s;
    QTest::newRow("missing file under the root")
        << u"notes"_s << u"notes/gone.md"_s << u"gone.md"_s;
    QTest::newRow("sibling sharing the prefix") << u"notes"_s << u"notes2/a.md"_s << QString();
    QTest::newRow("the root itself") << u"notes"_s << u"notes"_s << QString();
}

void TestFolderTree::relativePath()
{
    QFETCH(QString, root);
    QFETCH(QString, file);
    QFETCH(QString, expected);
    QVERIFY(TreeBuilder::make(m_dir->path(), {u"notes/a/b.md"_s, u"notes2/a.md"_s}));
    QVERIFY(QFile::link(m_dir->filePath(u"notes"_s), m_dir->filePath(u"linked"_s)));
    const auto tree = FolderTree::shared(m_dir->filePath(root));
    QCOMPARE(tree->relativePath(m_dir->filePath(file)).value_or(QString()), expected);
}

QTEST_GUILESS_MAIN(TestFolderTree)
#include "tst_foldertree.moc"
