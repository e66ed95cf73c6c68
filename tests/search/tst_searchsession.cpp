// The search panel's state: debounce, cancellation, publishing, selection.
#include "search/SearchSession.h"

#include <QSemaphore>
#include <QSignalSpy>
#include <QTest>
#include <QThreadPool>

using namespace Lumo::Search;

using namespace Qt::StringLiterals;

class TestSearchSession : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void typingWithinTheDebounceSearchesOnce();
    void supersededSearchNeverPublishes();
    void shortQueryClearsWithoutSearching();
    void selectionWraps();

private:
    // Answers every query with `count` hits whose snippet is the query.
    static SearchSession::Searcher recording(QStringList *asked, int count = 1)
    {
        return [asked, count](const QString &query, const QList<MarkdownFile> &, std::stop_token) {
            asked->append(query);
            QList<SearchHit> hits;
            for (int i = 0; i < count; ++i)
                hits.append({MarkdownFile{}, i, query, 0, 0});
            return hits;
        };
    }
};

void TestSearchSession::typingWithinTheDebounceSearchesOnce()
{
    QStringList asked;
    SearchSession session(nullptr, recording(&asked));
    session.setQuery(u"ab"_s);
    session.setQuery(u"abc"_s);
    QTRY_VERIFY(session.settled());
    QCOMPARE(asked, QStringList{u"abc"_s});
    QCOMPARE(session.hits().value(0).snippet, u"abc"_s);
}

void TestSearchSession::supersededSearchNeverPublishes()
{
    QSemaphore entered;
    QSemaphore release;
    SearchSession session(nullptr,
                          [&](const QString &query, const QList<MarkdownFile> &, std::stop_token) {
                              if (query == u"slow"_s) {
                                  entered.release();
                                  release.acquire();
                              }
                              return QList<SearchHit>{{MarkdownFile{}, 0, query, 0, 0}};
                          });
    QStringList published;
    connect(&session, &SearchSession::hitsChanged, this, [&] {
        for (const SearchHit &hit : session.hits())
            published << hit.snippet;
    });

    session.setQuery(u"slow"_s);
    QTRY_COMPARE(entered.available(), 1);
    QVERIFY(session.searching());
    session.setQuery(u"fast"_s);
    release.release();
    QTRY_VERIFY(session.settled());
    // Let the slow search's answer arrive, to be dropped.
    QThreadPool::globalInstance()->waitForDone();
    QCoreApplication::processEvents();
    QCOMPARE(published, QStringList{u"fast"_s});
    QVERIFY(!session.searching());
}

void TestSearchSession::shortQueryClearsWithoutSearching()
{
    QStringList asked;
    SearchSession session(nullptr, recording(&asked));
    session.setQuery(u"ab"_s);
    QTRY_COMPARE(session.hits().size(), 1);
    QSignalSpy cleared(&session, &SearchSession::hitsChanged);
    session.setQuery(u" a "_s);
    QCOMPARE(cleared.count(), 1);
    QVERIFY(session.hits().isEmpty());
    QTest::qWait(SearchSession::debounceMilliseconds + 50);
    QCOMPARE(asked, QStringList{u"ab"_s});
}

void TestSearchSession::selectionWraps()
{
    QStringList asked;
    SearchSession session(nullptr, recording(&asked, 3));
    session.setQuery(u"three"_s);
    QTRY_COMPARE(session.hits().size(), 3);
    for (int i = 0; i < 3; ++i)
        session.move(+1);
    QCOMPARE(session.selection(), 0);
    session.move(-1);
    QCOMPARE(session.selection(), 2);
}

QTEST_GUILESS_MAIN(TestSearchSession)
#include "tst_searchsession.moc"
