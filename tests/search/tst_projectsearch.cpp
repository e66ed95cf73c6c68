// Project search over real files: folding, line counting, bounds, snippets.
#include "search/ProjectSearch.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Lumo::Search;

using namespace Qt::StringLiterals;

class TestProjectSearch : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void matches_data();
    void matches();
    void boundsPerFileAndTotal();
    void skippedFiles_data();
    void skippedFiles();
    void stopRequestEndsTheSearch();
    void snippet_data();
    void snippet();

private:
    MarkdownFile write(const QString &name, const QByteArray &bytes)
    {
        QFile file(m_dir.filePath(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("cannot write %s", qPrintable(name));
        return {file.fileName(), name, QDateTime()};
    }
    // "line:highlighted text" for each hit.
    static QStringList described(const QList<SearchHit> &hits)
    {
        QStringList out;
        for (const SearchHit &hit : hits)
            out << u"%1:%2"_s.arg(hit.line).arg(
                hit.snippet.mid(hit.highlightStart, hit.highlightLength));
        return out;
    }

    QTemporaryDir m_dir;
};

void TestProjectSearch::matches_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("query");
    QTest::addColumn<QStringList>("hits");

    QTest::newRow("case and diacritics")
        << u"My résumé\nRESUME\nnothing\nre\u0301sume\u0301 twice: resume\n"_s << u"Resume"_s
        << QStringList{u"0:résumé"_s, u"1:RESUME"_s, u"3:re\u0301sume\u0301"_s};
    QTest::newRow("accented query")
        << u"Café crème\ncafe creme\n"_s << u"CAFÉ"_s << QStringList{u"0:Café"_s, u"1:cafe"_s};
    QTest::newRow("every line break") << u"aa\r\nbb\rcc\u2028dd\u2029ee\u0085needle\n\nneedle"_s
                                      << u"needle"_s << QStringList{u"5:needle"_s, u"7:needle"_s};
    QTest::newRow("a mark alone between CR and LF")
        << u"a\r\u0301\nneedle\r\u0301\nneedle"_s << u"needle"_s
        << QStringList{u"2:needle"_s, u"4:needle"_s};
    QTest::newRow("trimmed") << u"an apple"_s << u" \tap\t "_s << QStringList{u"0:ap"_s};
    QTest::newRow("one letter between spaces") << u"a a a"_s << u"  a  "_s << QStringList{};
    QTest::newRow("a letter and its accent are one character")
        << u"e\u0301e\u0301"_s << u"e\u0301"_s << QStringList{};
    QTest::newRow("sharp s") << u"Straße"_s << u"STRAßE"_s << QStringList{u"0:Straße"_s};
    QTest::newRow("emoji") << u"ship it 🚀🚀 now"_s << u"🚀 n"_s << QStringList{u"0:🚀 n"_s};
}

void TestProjectSearch::matches()
{
    QFETCH(QString, text);
    QFETCH(QString, query);
    QFETCH(QStringList, hits);
    const MarkdownFile file = write(u"match.md"_s, text.toUtf8());
    QCOMPARE(described(ProjectSearch::search(query, {file}, 8, 400)), hits);
}

void TestProjectSearch::boundsPerFileAndTotal()
{
    QByteArray twenty;
    for (int i = 0; i < 20; ++i)
        twenty += "word Word WORD\n";
    QList<MarkdownFile> files;
    for (int i = 0; i < 5; ++i)
        files << write(u"bound%1.md"_s.arg(i), twenty);

    const QList<SearchHit> one = ProjectSearch::search(u"word"_s, {files[0]}, 8, 400);
    QCOMPARE(one.size(), 8);
    QCOMPARE(one.last().line, 7);
    QCOMPARE(one.first().id(), files[0].path + u"#0"_s);

    // 8 and 8 are under 20; the third file is searched whole and the fourth never.
    const QList<SearchHit> capped = ProjectSearch::search(u"word"_s, files, 8, 20);
    QCOMPARE(capped.size(), 24);
    QCOMPARE(capped.last().file, files[2]);
}

void TestProjectSearch::skippedFiles_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("hits");

    const QByteArray line = "needle\n";
    QTest::newRow("1,999,999 bytes") << line + QByteArray(1'999'999 - line.size(), 'x') << 1;
    QTest::newRow("2,000,000 bytes") << line + QByteArray(2'000'000 - line.size(), 'x') << 0;
    QTest::newRow("Latin-1") << QByteArray("caf\xe9 needle\n") << 0;
    QTest::newRow("UTF-8 with mark") << QByteArray("\xef\xbb\xbfneedle\n") << 1;
}

void TestProjectSearch::skippedFiles()
{
    QFETCH(QByteArray, bytes);
    QFETCH(int, hits);
    const MarkdownFile file = write(u"sized.md"_s, bytes);
    const MarkdownFile gone{m_dir.filePath(u"gone.md"_s), u"gone.md"_s, QDateTime()};
    QCOMPARE(ProjectSearch::search(u"needle"_s, {gone, file}, 8, 400).size(), hits);
}

void TestProjectSearch::stopRequestEndsTheSearch()
{
    const MarkdownFile file = write(u"stop.md"_s, "needle\n");
    std::stop_source stop;
    stop.request_stop();
    QVERIFY(ProjectSearch::search(u"needle"_s, {file, file}, 8, 400, stop.get_token()).isEmpty());
}

void TestProjectSearch::snippet_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<int>("matchStart");
    QTest::addColumn<int>("matchLength");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("highlighted");

    const QString fifty(50, u'a');
    QTest::newRow("match at 50") << fifty + u"MATCH tail"_s << 50 << 5 << fifty + u"MATCH tail"_s
                                 << u"MATCH"_s;
    QTest::newRow("match at 51") << u"b"_s + fifty + u"MATCH"_s << 51 << 5
                                 << u"…"_s + QString(40, u'a') + u"MATCH"_s << u"MATCH"_s;
    const QString long300 = u"MATCH"_s + QString(295, u'z');
    QTest::newRow("300 characters, match first")
        << long300 << 0 << 5 << long300.left(220) << u"MATCH"_s;
    QTest::newRow("highlight cut at 220")
        << QString(10, u'y') + QString(300, u'M') << 10 << 300
        << QString(10, u'y') + QString(210, u'M') << QString(210, u'M');
    QTest::newRow("indentation kept") << u"    - item"_s << 6 << 4 << u"    - item"_s << u"item"_s;
    // Skin-toned emoji are one character of four units each.
    const QString thumbs = u"👍🏽"_s.repeated(60);
    QTest::newRow("emoji") << thumbs + u"hit"_s << int(thumbs.size()) << 3
                           << u"…"_s + u"👍🏽"_s.repeated(40) + u"hit"_s << u"hit"_s;
    const QString accents = u"e\u0301"_s.repeated(55);
    QTest::newRow("combining marks") << accents + u"hit"_s << int(accents.size()) << 3
                                     << u"…"_s + u"e\u0301"_s.repeated(40) + u"hit"_s << u"hit"_s;
    QTest::newRow("match inside a character")
        << u"xe\u0301y"_s << 1 << 1 << u"xe\u0301y"_s << u"e\u0301"_s;
}

void TestProjectSearch::snippet()
{
    QFETCH(QString, line);
    QFETCH(int, matchStart);
    QFETCH(int, matchLength);
    QFETCH(QString, text);
    QFETCH(QString, highlighted);
    const ProjectSearch::Snippet shown = ProjectSearch::snippet(line, matchStart, matchLength);
    QCOMPARE(shown.text, text);
    QCOMPARE(shown.text.mid(shown.highlightStart, shown.highlightLength), highlighted);
}

QTEST_APPLESS_MAIN(TestProjectSearch)
#include "tst_projectsearch.moc"
