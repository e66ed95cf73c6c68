// Tab names: a file name alone, and folders added only where two tabs would read alike.
#include "document/TabNames.h"

#include <QTest>

using namespace Lumo::Document;

using namespace Qt::StringLiterals;

class TestTabNames : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void names_data();
    void names();
};

void TestTabNames::names_data()
{
    QTest::addColumn<QStringList>("paths");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("different files")
        << QStringList{u"/a/one.md"_s, u"/b/two.md"_s} << QStringList{u"one.md"_s, u"two.md"_s};
    QTest::newRow("same name, other folders")
        << QStringList{u"/src/pyenv/README.md"_s, u"/src/rbenv/README.md"_s, u"/x/notes.md"_s}
        << QStringList{u"README.md — pyenv"_s, u"README.md — rbenv"_s, u"notes.md"_s};
    QTest::newRow("nearest folders alike too")
        << QStringList{u"/a/docs/README.md"_s, u"/b/docs/README.md"_s}
        << QStringList{u"README.md — a/docs"_s, u"README.md — b/docs"_s};
    QTest::newRow("only the colliding ones deepen")
        << QStringList{u"/a/docs/README.md"_s, u"/b/docs/README.md"_s, u"/c/README.md"_s}
        << QStringList{u"README.md — a/docs"_s, u"README.md — b/docs"_s, u"README.md — c"_s};
    QTest::newRow("untitled ones stay as they are")
        << QStringList{QString(), QString()} << QStringList{u"Untitled"_s, u"Untitled"_s};
}

void TestTabNames::names()
{
    QFETCH(QStringList, paths);
    QFETCH(QStringList, expected);
    QCOMPARE(TabNames::of(paths, u"Untitled"_s), expected);
}

QTEST_APPLESS_MAIN(TestTabNames)
#include "tst_tabnames.moc"
