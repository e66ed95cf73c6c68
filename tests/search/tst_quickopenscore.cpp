// Quick open's ranking: the subsequence score and the rows it gives.
#include "search/QuickOpenIndex.h"

#include <QTest>

using namespace Lumo::Search;

using namespace Qt::StringLiterals;

class TestQuickOpenScore : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void score_data();
    void score();
    void results_data();
    void results();
    void emptyQueryListsTheSixtyNewest();

private:
    static MarkdownFile file(const QString &relativePath, int ageInMinutes = 0)
    {
        const QDateTime base(QDate(2026, 1, 1), QTime(12, 0), Qt::UTC);
        return {u"/p/"_s + relativePath, relativePath,
                ageInMinutes < 0 ? QDateTime() : base.addSecs(-60 * ageInMinutes)};
    }

    // Quick open's rows for `query` as files, as the panel lists them.
    static QList<MarkdownFile> rowsOf(const QList<MarkdownFile> &files, const QString &query,
                                      const QString &currentPath)
    {
        const QuickOpenIndex index(files);
        QList<MarkdownFile> rows;
        for (const qsizetype row : index.results(query, currentPath))
            rows.append(index.files().at(row));
        return rows;
    }
};

void TestQuickOpenScore::score_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("query");
    QTest::addColumn<int>("expected"); // -1: no match

    // r: 4 + 5 (name, word start); d: 4; m: 4 + 4; e: 4 + 4; less 9 characters.
    QTest::newRow("rdme, README") << u"README.md"_s << u"rdme"_s << 2891;
    // r: 4 + 5 (after "/"); d: 4; m: 4 + 5 (after "-"); e: 4 + 4; less 21.
    QTest::newRow("rdme, read-me-first") << u"docs/read-me-first.md"_s << u"rdme"_s << 2979;
    // a: 1 + 5 (folder, word start); b: 4 + 5 (name, after "/"), not adjacent; less 6.
    QTest::newRow("ab, a/b") << u"a/b.md"_s << u"ab"_s << 1494;
    // r: 9, then five adjacent letters of the name at 8 each; less 9.
    QTest::newRow("readme") << u"README.md"_s << u"readme"_s << 4891;
    QTest::newRow("case and spaces") << u"README.md"_s << u"Read Me"_s << 4891;
    QTest::newRow("spaces only") << u"README.md"_s << u"  "_s << 0;
    QTest::newRow("empty") << u"x.md"_s << QString() << 0;
    QTest::newRow("out of order") << u"README.md"_s << u"emr"_s << -1;
    QTest::newRow("missing letter") << u"README.md"_s << u"rdmz"_s << -1;
    // Greedy: the first "a" is taken although one in the name would score more.
    QTest::newRow("greedy") << u"a/xa.md"_s << u"a"_s << (1 + 5) * 100 - 7;
    QTest::newRow("longer path loses") << u"deep/er/a/b.md"_s << u"ab"_s << 1494 - 8;
    // A typed é matches one stored as e and a combining accent, as one character.
    QTest::newRow("composed") << u"cafe\u0301.md"_s << u"\u00e9"_s << 400 - 7;
    QTest::newRow("emoji") << u"🎉 party.md"_s << u"🎉p"_s << (9 + 4 + 5) * 100 - 10;
}

void TestQuickOpenScore::score()
{
    QFETCH(QString, path);
    QFETCH(QString, query);
    QFETCH(int, expected);
    const std::optional<int> score = QuickOpenIndex({file(path)}).score(0, query);
    QCOMPARE(score.value_or(-1), expected);
}

void TestQuickOpenScore::results_data()
{
    QTest::addColumn<QList<MarkdownFile>>("files"); // newest first, as scanned
    QTest::addColumn<QString>("query");
    QTest::addColumn<QString>("current");
    QTest::addColumn<QStringList>("expected");

    const QList<MarkdownFile> readmes{file(u"README.md"_s, 1), file(u"docs/read-me-first.md"_s, 2),
                                      file(u"notes.md"_s, 3)};
    QTest::newRow("word starts outweigh length")
        << readmes << u"rdme"_s << QString()
        << QStringList{u"docs/read-me-first.md"_s, u"README.md"_s};
    QTest::newRow("current document left out")
        << readmes << u"rdme"_s << u"/p/docs/../docs/read-me-first.md"_s
        << QStringList{u"README.md"_s};
    QTest::newRow("nothing matches") << readmes << u"zzz"_s << QString() << QStringList{};
    // a.md and b.md score alike; the newer comes first whatever the list order.
    QTest::newRow("equal scores, newer first")
        << QList<MarkdownFile>{file(u"x/a.md"_s, 9), file(u"x/b.md"_s, 1)} << u"md"_s << QString()
        << QStringList{u"x/b.md"_s, u"x/a.md"_s};
    QTest::newRow("equal in both, list order")
        << QList<MarkdownFile>{file(u"x/b.md"_s, 5), file(u"x/a.md"_s, 5), file(u"x/c.md"_s, -1)}
        << u"md"_s << QString() << QStringList{u"x/b.md"_s, u"x/a.md"_s, u"x/c.md"_s};
}

void TestQuickOpenScore::results()
{
    QFETCH(QList<MarkdownFile>, files);
    QFETCH(QString, query);
    QFETCH(QString, current);
    QFETCH(QStringList, expected);
    QStringList got;
    for (const MarkdownFile &row : rowsOf(files, query, current))
        got << row.relativePath;
    QCOMPARE(got, expected);
}

void TestQuickOpenScore::emptyQueryListsTheSixtyNewest()
{
    QList<MarkdownFile> files;
    for (int i = 0; i < 200; ++i)
        files << file(u"n%1.md"_s.arg(i), i);
    const QList<MarkdownFile> rows = rowsOf(files, QString(), u"/p/n0.md"_s);
    QCOMPARE(rows.size(), 60);
    QCOMPARE(rows.first().relativePath, u"n1.md"_s);
    QCOMPARE(rows.last().relativePath, u"n60.md"_s);
    // Spaces alone score every file 0, which leaves the same list.
    QCOMPARE(rowsOf(files, u"   "_s, u"/p/n0.md"_s), rows);
}

QTEST_APPLESS_MAIN(TestQuickOpenScore)
#include "tst_quickopenscore.moc"
