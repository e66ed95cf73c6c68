#include "support/TreeBuilder.h"
#include "workspace/FolderScanner.h"

#include <fcntl.h>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>
#include <sys/stat.h>
#include <unistd.h>

using namespace Lumo::Workspace;

using namespace Qt::StringLiterals;

class TestFolderScanner : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void keepsMarkdownInDisplayOrder_data();
    void keepsMarkdownInDisplayOrder();
    void linkedFoldersAreNotFollowed();
    void namesThatAreNotUtf8AreLeftOut();
    void budgetCountsEveryEntry_data();
    void budgetCountsEveryEntry();
    void homeSkipsOnlyItsOwnChildren();
    void foldersCarryTheirNewestDateAndCount();
    void ancestors_data();
    void ancestors();
    void collapsedFoldersHideTheirRows();

private:
    // Pre-order paths, folders marked by a trailing "/".
    static QStringList outline(const QList<TreeNode> &nodes)
    {
        QStringList lines;
        for (const TreeNode &node : nodes) {
            lines << node.path + (node.isFolder ? u"/"_s : QString());
            lines << outline(node.children);
        }
        return lines;
    }
};

void TestFolderScanner::keepsMarkdownInDisplayOrder_data()
{
    QTest::addColumn<QStringList>("tree");
    QTest::addColumn<QStringList>("expected");

    // Which names are Markdown is tst_projectfilesscan's table: the same rules.
    QTest::newRow("only Markdown files and the folders that hold them")
        << QStringList{u"a.txt"_s, u"empty/"_s, u"x/y/"_s, u"README.MD"_s, u"z.md/"_s}
        << QStringList{u"README.MD"_s};
    QTest::newRow("skipped folders at any depth, hidden ones walked")
        << QStringList{u"node_modules/a.md"_s, u"docs/.git/b.md"_s, u"docs/c.md"_s,
                       u"build.md"_s,          u".notes/d.md"_s,    u"Pods/e.md"_s}
        << QStringList{u".notes/"_s, u".notes/d.md"_s, u"docs/"_s, u"docs/c.md"_s, u"build.md"_s};
    QTest::newRow("folders first, numbers as numbers, case ignored")
        << QStringList{u"file10.md"_s, u"File2.md"_s, u"file1.md"_s, u"zeta/a.md"_s,
                       u"Alpha/b.md"_s}
        << QStringList{u"Alpha/"_s,   u"Alpha/b.md"_s, u"zeta/"_s,    u"zeta/a.md"_s,
                       u"file1.md"_s, u"File2.md"_s,   u"file10.md"_s};
    const QString fourteen = u"1/2/3/4/5/6/7/8/9/10/11/12/13/14"_s;
    QStringList deepRows;
    for (const QString &folder : FolderScanner::ancestors(fourteen + u"/x"_s))
        deepRows << folder + u'/';
    QTest::newRow("fifteen levels")
        << QStringList{fourteen + u"/in.md"_s, fourteen + u"/15/out.md"_s}
        << (deepRows << fourteen + u"/in.md"_s);
}

void TestFolderScanner::keepsMarkdownInDisplayOrder()
{
    QFETCH(QStringList, tree);
    QFETCH(QStringList, expected);
    QTemporaryDir dir;
    QVERIFY(TreeBuilder::make(dir.path(), tree));

    const FolderScanner::Result result = FolderScanner::scan(dir.path());
    QCOMPARE(outline(result.nodes), expected);
    QCOMPARE(result.fileCount,
             expected.size() - expected.filter(QRegularExpression(u"/$"_s)).size());
    QVERIFY(!result.truncated);
}

void TestFolderScanner::linkedFoldersAreNotFollowed()
{
    QTemporaryDir dir;
    QVERIFY(TreeBuilder::make(dir.path(), {u"real/a.md"_s, u"real/b.md"_s}));
    QVERIFY(QFile::link(dir.filePath(u"real"_s), dir.filePath(u"linked"_s)));
    QVERIFY(QFile::link(dir.filePath(u"real/a.md"_s), dir.filePath(u"alias.md"_s)));

    const FolderScanner::Result result = FolderScanner::scan(dir.path());
    QCOMPARE(outline(result.nodes),
             (QStringList{u"real/"_s, u"real/a.md"_s, u"real/b.md"_s, u"alias.md"_s}));
    // A linked root is browsed through its link.
    QCOMPARE(FolderScanner::scan(dir.filePath(u"linked"_s)).fileCount, 2);
}

void TestFolderScanner::namesThatAreNotUtf8AreLeftOut()
{
    QTemporaryDir dir;
    QVERIFY(TreeBuilder::make(dir.path(), {u"good.md"_s, u"folder/inside.md"_s}));
    // Latin-1 names from an old archive: no path in the program can name them.
    const QByteArray base = QFile::encodeName(dir.path());
    const QList<QByteArray> files{base + "/r\xe9sum\xe9.md", base + "/caf\xe9/a.md",
                                  base + "/folder/\xff.md"};
    // Nor can the temporary folder's own clean-up.
    const auto removeThem = qScopeGuard([&] {
        for (const QByteArray &name : files)
            ::unlink(name.constData());
        ::rmdir(base + "/caf\xe9");
    });
    QCOMPARE(::mkdir(base + "/caf\xe9", 0700), 0);
    for (const QByteArray &name : files) {
        const int fd = ::open(name.constData(), O_CREAT | O_WRONLY, 0600);
        QVERIFY(fd >= 0);
        ::close(fd);
    }

    const FolderScanner::Result result = FolderScanner::scan(dir.path());
    QCOMPARE(outline(result.nodes),
             (QStringList{u"folder/"_s, u"folder/inside.md"_s, u"good.md"_s}));
    QCOMPARE(result.fileCount, 2);
}

void TestFolderScanner::budgetCountsEveryEntry_data()
{
    QTest::addColumn<QStringList>("tree");
    QTest::addColumn<int>("budget");
    QTest::addColumn<bool>("truncated");
    QTest::addColumn<int>("fileCount");

    QStringList notes{u"sub/"_s};
    QStringList images;
    for (int i = 0; i < 10; ++i) {
        notes << u"sub/n%1.md"_s.arg(i);
        images << u"%1.png"_s.arg(i);
    }
    // The folder is the first entry, its ten files the next ones.
    QTest::newRow("enough") << notes << 11 << false << 10;
    QTest::newRow("one short") << notes << 10 << true << 9;
    QTest::newRow("early") << notes << 3 << true << 2;
    QTest::newRow("images count too") << images << 9 << true << 0;
}

void TestFolderScanner::budgetCountsEveryEntry()
{
    QFETCH(QStringList, tree);
    QFETCH(int, budget);
    QFETCH(bool, truncated);
    QFETCH(int, fileCount);
    QTemporaryDir dir;
    QVERIFY(TreeBuilder::make(dir.path(), tree));

    const FolderScanner::Result result = FolderScanner::scan(dir.path(), budget);
    QCOMPARE(result.truncated, truncated);
    QCOMPARE(result.fileCount, fileCount);
    if (fileCount > 0) {
        // What was gathered is still in order.
        const QList<TreeNode> &files = result.nodes.first().children;
        for (qsizetype i = 1; i < files.size(); ++i)
            QVERIFY(files[i - 1].name < files[i].name);
    }
}

void TestFolderScanner::homeSkipsOnlyItsOwnChildren()
{
    QTemporaryDir dir;
    QVERIFY(TreeBuilder::make(dir.path(), {u"home/Documents/a.md"_s, u"home/Library/b.md"_s,
                                           u"home/notes/Documents/c.md"_s, u"home/d.md"_s}));
    const QByteArray savedHome = qgetenv("HOME");
    qputenv("HOME", QFile::encodeName(dir.filePath(u"home"_s)));

    const QStringList fromHome = outline(FolderScanner::scan(dir.filePath(u"home"_s)).nodes);
    const int inDocuments = FolderScanner::scan(dir.filePath(u"home/Documents"_s)).fileCount;
    qputenv("HOME", savedHome);
    QCOMPARE(fromHome, (QStringList{u"notes/"_s, u"notes/Documents/"_s, u"notes/Documents/c.md"_s,
                                    u"d.md"_s}));
    QCOMPARE(inDocuments, 1);
}

void TestFolderScanner::foldersCarryTheirNewestDateAndCount()
{
    QTemporaryDir dir;
    QVERIFY(TreeBuilder::make(dir.path(), {u"a/old.md"_s, u"a/b/new.md"_s, u"a/b/c.md"_s}));
    const QDateTime newest = QDateTime::currentDateTimeUtc().addDays(1);
    QVERIFY(TreeBuilder::setModified(dir.filePath(u"a/b/new.md"_s), newest));
    QVERIFY(TreeBuilder::setModified(dir.filePath(u"a/old.md"_s), newest.addDays(-9)));

    const FolderScanner::Result result = FolderScanner::scan(dir.path());
    QCOMPARE(result.nodes.size(), 1);
    const TreeNode &folder = result.nodes.first();
    QCOMPARE(folder.url, dir.filePath(u"a"_s));
    QCOMPARE(folder.fileCount, 3);
    QCOMPARE(result.fileCount, 3);
    QCOMPARE(folder.modified.toSecsSinceEpoch(), newest.toSecsSinceEpoch());
    QCOMPARE(folder.children.first().children.first().url, dir.filePath(u"a/b/c.md"_s));
}

void TestFolderScanner::ancestors_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("nested") << u"a/b/c.md"_s << QStringList{u"a"_s, u"a/b"_s};
    QTest::newRow("top level") << u"c.md"_s << QStringList{};
    QTest::newRow("stray slashes") << u"/a//c.md/"_s << QStringList{u"a"_s};
}

void TestFolderScanner::ancestors()
{
    QFETCH(QString, path);
    QFETCH(QStringList, expected);
    QCOMPARE(FolderScanner::ancestors(path), expected);
}

void TestFolderScanner::collapsedFoldersHideTheirRows()
{
    QTemporaryDir dir;
    QVERIFY(TreeBuilder::make(dir.path(), {u"a/b/c.md"_s, u"a/d.md"_s, u"e.md"_s}));
    const QList<TreeNode> nodes = FolderScanner::scan(dir.path()).nodes;

    auto rows = [&](const QSet<QString> &expanded) {
        QStringList lines;
        for (const FolderScanner::Row &row : FolderScanner::visibleRows(nodes, expanded, 1))
            lines << u"%1 %2"_s.arg(row.depth).arg(row.node.path);
        return lines;
    };
    QCOMPARE(rows({u"a/b"_s}), (QStringList{u"1 a"_s, u"1 e.md"_s}));
    QCOMPARE(rows({u"a"_s, u"a/b"_s}),
             (QStringList{u"1 a"_s, u"2 a/b"_s, u"3 a/b/c.md"_s, u"2 a/d.md"_s, u"1 e.md"_s}));
}

QTEST_GUILESS_MAIN(TestFolderScanner)
#include "tst_folderscanner.moc"
