// Remembered folders, the folder a document's sidebar shows, and opening a folder.
#include "base/Preferences.h"
#include "support/TreeBuilder.h"
#include "workspace/FolderOpenRules.h"
#include "workspace/RootResolver.h"
#include "workspace/Workspace.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QThreadPool>

using namespace Lumo::Base;
using namespace Lumo::Workspace;

using namespace Qt::StringLiterals;

class TestWorkspace : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void remembersNewestFirst_data();
    void remembersNewestFirst();
    void rootOfADocument_data();
    void rootOfADocument();
    void openingAFolder_data();
    void openingAFolder();
    void latestRootResolutionWins();

private:
    QString path(const QString &relative) const { return m_dir->filePath(relative); }

    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestWorkspace::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
}

void TestWorkspace::remembersNewestFirst_data()
{
    QTest::addColumn<QStringList>("opened");
    QTest::addColumn<QStringList>("remembered");

    QTest::newRow("again moves to the front")
        << QStringList{u"/a"_s, u"/b"_s, u"/a"_s} << QStringList{u"/a"_s, u"/b"_s};
    QTest::newRow("standardised") << QStringList{u"/x/notes/"_s, u"/x/other/../notes"_s}
                                  << QStringList{u"/x/notes"_s};
    QStringList many;
    QStringList kept;
    for (int i = 1; i <= 21; ++i)
        many << u"/f%1"_s.arg(i);
    for (int i = 21; i >= 2; --i)
        kept << u"/f%1"_s.arg(i);
    QTest::newRow("the 21st pushes out the oldest") << many << kept;
}

void TestWorkspace::remembersNewestFirst()
{
    QFETCH(QStringList, opened);
    QFETCH(QStringList, remembered);
    Preferences prefs(path(u"Lumo.conf"_s));
    for (const QString &folder : opened)
        Workspace::remember(prefs, folder);
    QCOMPARE(Workspace::folders(prefs), remembered);
    QCOMPARE(Preferences(path(u"Lumo.conf"_s)).workspaceFolders(), remembered);
}

void TestWorkspace::rootOfADocument_data()
{
    QTest::addColumn<QStringList>("opened");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("root");

    const QStringList nested{u"notes/sub"_s, u"notes"_s};
    QTest::newRow("the later, nested folder wins")
        << nested << u"notes/sub/a.md"_s << u"notes/sub"_s;
    QTest::newRow("else the enclosing one") << nested << u"notes/other/b.md"_s << u"notes"_s;
    QTest::newRow("order decides, not depth")
        << QStringList{u"notes"_s, u"notes/sub"_s} << u"notes/sub/a.md"_s << u"notes"_s;
    QTest::newRow("a sibling with the same prefix is outside")
        << QStringList{u"notes"_s} << u"notes2/c.md"_s << u"notes2"_s;
    QTest::newRow("through a symbolic link")
        << QStringList{u"link"_s} << u"notes/other/b.md"_s << u"link"_s;
    QTest::newRow("outside every folder: the repository")
        << QStringList{u"notes"_s} << u"repo/docs/d.md"_s << u"repo"_s;
    QTest::newRow("a document without a file") << nested << QString() << QString();
}

void TestWorkspace::rootOfADocument()
{
    QFETCH(QStringList, opened);
    QFETCH(QString, file);
    QFETCH(QString, root);
    QVERIFY(
        TreeBuilder::make(m_dir->path(), {u"notes/sub/a.md"_s, u"notes/other/b.md"_s,
                                          u"notes2/c.md"_s, u"repo/.git/"_s, u"repo/docs/d.md"_s}));
    QVERIFY(QFile::link(path(u"notes"_s), path(u"link"_s)));
    QStringList folders;
    for (const QString &folder : opened)
        folders << path(folder);
    const auto found = Workspace::root(file.isEmpty() ? QString() : path(file), folders);
    QCOMPARE(found.has_value(), !root.isEmpty());
    if (found)
        QCOMPARE(QDir::cleanPath(*found), path(root));
}

void TestWorkspace::openingAFolder_data()
{
    QTest::addColumn<QStringList>("tree");
    QTest::addColumn<QStringList>("open");
    QTest::addColumn<int>("raised");
    QTest::addColumn<QString>("first");

    QTest::newRow("a tab shows a file inside: raise it")
        << QStringList{u"notes/a.md"_s, u"notes/deep/new.md"_s}
        << QStringList{u"elsewhere.md"_s, QString(), u"notes/deep/new.md"_s} << 2 << u"new.md"_s;
    QTest::newRow("a sibling's tab is not inside")
        << QStringList{u"notes/a.md"_s, u"notes2/z.md"_s} << QStringList{u"notes2/z.md"_s} << -1
        << u"a.md"_s;
    QTest::newRow("newest file first") << QStringList{u"notes/old.md"_s, u"notes/x/new.md"_s}
                                       << QStringList{} << -1 << u"new.md"_s;
    QTest::newRow("no Markdown: the alert")
        << QStringList{u"notes/readme.txt"_s, u"notes/node_modules/m.md"_s} << QStringList{} << -1
        << QString();
}

void TestWorkspace::openingAFolder()
{
    QFETCH(QStringList, tree);
    QFETCH(QStringList, open);
    QFETCH(int, raised);
    QFETCH(QString, first);
    QVERIFY(TreeBuilder::make(m_dir->path(), tree));
    const QDateTime now = QDateTime::currentDateTimeUtc();
    for (const QString &file : tree)
        QVERIFY(
            TreeBuilder::setModified(path(file), now.addSecs(file.contains(u"new"_s) ? 0 : -60)));
    const QString folder = path(u"notes"_s);
    QVERIFY(FolderOpenRules::isFolder(folder));
    QVERIFY(!FolderOpenRules::isFolder(path(tree.constFirst())));
    QVERIFY(!FolderOpenRules::isFolder(path(u"missing"_s)));

    QStringList documents;
    for (const QString &file : open)
        documents << (file.isEmpty() ? QString() : path(file));
    QCOMPARE(FolderOpenRules::showingDocument(folder, documents).value_or(-1), raised);

    const auto file = FolderOpenRules::firstFile(folder);
    QCOMPARE(file.has_value(), !first.isEmpty());
    if (file)
        QCOMPARE(QFileInfo(*file).fileName(), first);
    else
        QCOMPARE(FolderOpenRules::noFilesText(folder + u'/'), u"No Markdown files in “notes”"_s);
}

void TestWorkspace::latestRootResolutionWins()
{
    QVERIFY(TreeBuilder::make(m_dir->path(), {u"a/one.md"_s, u"b/two.md"_s}));
    RootResolver resolver;
    QSignalSpy resolved(&resolver, &RootResolver::resolved);
    // The project root is looked for off the main thread...
    resolver.resolve(path(u"a/one.md"_s), {});
    QTRY_COMPARE(resolved.count(), 1);
    QCOMPARE(resolved.constLast().constFirst().toString(), path(u"a"_s));
    // ...a remembered folder is known at once, and overtakes an answer still on its way.
    resolver.resolve(path(u"a/one.md"_s), {});
    resolver.resolve(path(u"b/two.md"_s), {path(u"a"_s), path(u"b"_s)});
    QCOMPARE(resolved.count(), 2);
    QCOMPARE(resolved.constLast().constFirst().toString(), path(u"b"_s));
    QThreadPool::globalInstance()->waitForDone();
    QCoreApplication::processEvents();
    QCOMPARE(resolved.count(), 2);

    resolver.resolve(QString(), {path(u"a"_s)});
    QCOMPARE(resolved.count(), 3);
    QCOMPARE(resolved.constLast().constFirst().toString(), QString());
}

QTEST_GUILESS_MAIN(TestWorkspace)
#include "tst_workspace.moc"
