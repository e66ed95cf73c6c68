#include "search/ProjectFiles.h"
#include "support/TreeBuilder.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Lumo::Search;

using namespace Qt::StringLiterals;

class TestProjectFilesScan : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void keepsMarkdownOutsideSkippedFolders_data();
    void keepsMarkdownOutsideSkippedFolders();
    void newestFirstWithUndatedLast();
    void limitAppliesDuringTheWalk();
    void rootIsTheNearestRepository_data();
    void rootIsTheNearestRepository();

private:
    static QStringList relativePaths(const QList<MarkdownFile> &files)
    {
        QStringList paths;
        for (const MarkdownFile &file : files)
            paths << file.relativePath;
        paths.sort();
        return paths;
    }
};

void TestProjectFilesScan::keepsMarkdownOutsideSkippedFolders_data()
{
    QTest::addColumn<QStringList>("tree");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("extensions, any case")
        << QStringList{u"Notes.MD"_s, u"a.Markdown"_s, u"b.mdx"_s, u"readme.txt"_s,
                       u"md"_s,       u".md"_s,        u"x.md/"_s}
        << QStringList{u"Notes.MD"_s, u"a.Markdown"_s, u"b.mdx"_s};
    QTest::newRow("skipped names at any depth, exactly")
        << QStringList{u"node_modules/a.md"_s, u"docs/deep/.git/b.md"_s,
                       u"x/vendor/c.md"_s,     u"Build/d.md"_s,
                       u"build.md"_s,          u".notes/e.md"_s}
        << QStringList{u".notes/e.md"_s, u"Build/d.md"_s, u"build.md"_s};
    const QString twelve = u"1/2/3/4/5/6/7/8/9/10/11/12/"_s;
    QTest::newRow("files to level 13") << QStringList{twelve + u"in.md"_s, twelve + u"13/out.md"_s}
                                       << QStringList{twelve + u"in.md"_s};
}

void TestProjectFilesScan::keepsMarkdownOutsideSkippedFolders()
{
    QFETCH(QStringList, tree);
    QFETCH(QStringList, expected);
    QTemporaryDir dir;
    QVERIFY(TreeBuilder::make(dir.path(), tree));

    const QList<MarkdownFile> files = ProjectFiles::scan(dir.path());
    expected.sort();
    QCOMPARE(relativePaths(files), expected);
    for (const MarkdownFile &file : files) {
        QCOMPARE(file.path, dir.path() + u'/' + file.relativePath);
        QCOMPARE(file.name(), file.relativePath.section(u'/', -1));
    }
}

void TestProjectFilesScan::newestFirstWithUndatedLast()
{
    QTemporaryDir dir;
    QVERIFY(TreeBuilder::make(dir.path(), {u"old.md"_s, u"sub/new.md"_s, u"mid.md"_s}));
    const QDateTime now = QDateTime::currentDateTimeUtc();
    QVERIFY(TreeBuilder::setModified(dir.filePath(u"old.md"_s), now.addDays(-3)));
    QVERIFY(TreeBuilder::setModified(dir.filePath(u"mid.md"_s), now.addDays(-2)));
    QVERIFY(TreeBuilder::setModified(dir.filePath(u"sub/new.md"_s), now.addDays(-1)));
    // A dangling link has no date of its own to give.
    QVERIFY(QFile::link(dir.filePath(u"gone"_s), dir.filePath(u"broken.md"_s)));

    QStringList order;
    for (const MarkdownFile &file : ProjectFiles::scan(dir.path()))
        order << file.relativePath;
    QCOMPARE(order, (QStringList{u"sub/new.md"_s, u"mid.md"_s, u"old.md"_s, u"broken.md"_s}));
}

void TestProjectFilesScan::limitAppliesDuringTheWalk()
{
    QTemporaryDir dir;
    QStringList tree;
    for (int i = 0; i < 30; ++i)
        tree << u"f%1.md"_s.arg(i);
    QVERIFY(TreeBuilder::make(dir.path(), tree));
    QCOMPARE(ProjectFiles::scan(dir.path(), 12).size(), 12);
    QVERIFY(ProjectFiles::scan(dir.filePath(u"missing"_s)).isEmpty());
}

void TestProjectFilesScan::rootIsTheNearestRepository_data()
{
    QTest::addColumn<QStringList>("tree");
    QTest::addColumn<QString>("document");
    QTest::addColumn<QString>("expected");

    QTest::newRow("grandparent repository")
        << QStringList{u"home/repo/.git/"_s, u"home/repo/a/b/doc.md"_s} << u"home/repo/a/b/doc.md"_s
        << u"home/repo"_s;
    QTest::newRow(".git file of a worktree") << QStringList{u"home/wt/.git"_s, u"home/wt/doc.md"_s}
                                             << u"home/wt/doc.md"_s << u"home/wt"_s;
    QTest::newRow("home is never the root of a deeper document")
        << QStringList{u"home/.git/"_s, u"home/notes/doc.md"_s} << u"home/notes/doc.md"_s
        << u"home/notes"_s;
    QTest::newRow("home is the root of a document directly in it")
        << QStringList{u"home/.git/"_s, u"home/doc.md"_s} << u"home/doc.md"_s << u"home"_s;
    QTest::newRow("no repository")
        << QStringList{u"home/x/doc.md"_s} << u"home/x/doc.md"_s << u"home/x"_s;
    QTest::newRow("outside home, ten levels up at most")
        << QStringList{u".git/"_s, u"1/2/3/4/5/6/7/8/9/doc.md"_s} << u"1/2/3/4/5/6/7/8/9/doc.md"_s
        << u""_s;
    QTest::newRow("outside home, eleven levels is too far")
        << QStringList{u".git/"_s, u"1/2/3/4/5/6/7/8/9/10/doc.md"_s}
        << u"1/2/3/4/5/6/7/8/9/10/doc.md"_s << u"1/2/3/4/5/6/7/8/9/10"_s;
}

void TestProjectFilesScan::rootIsTheNearestRepository()
{
    QFETCH(QStringList, tree);
    QFETCH(QString, document);
    QFETCH(QString, expected);
    QTemporaryDir dir;
    QVERIFY(TreeBuilder::make(dir.path(), tree));
    const QByteArray savedHome = qgetenv("HOME");
    qputenv("HOME", QFile::encodeName(dir.filePath(u"home"_s)));

    const QString root = ProjectFiles::root(dir.filePath(document));
    qputenv("HOME", savedHome);
    QCOMPARE(root, expected.isEmpty() ? dir.path() : dir.filePath(expected));
}

QTEST_GUILESS_MAIN(TestProjectFilesScan)
#include "tst_projectfilesscan.moc"
