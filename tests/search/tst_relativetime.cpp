// Modification times as quick open shows them.
#include "search/RelativeTime.h"

#include <QTest>

using namespace Lumo::Search;

using namespace Qt::StringLiterals;

class TestRelativeTime : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void abbreviated_data();
    void abbreviated();
};

void TestRelativeTime::abbreviated_data()
{
    QTest::addColumn<QDateTime>("then");
    QTest::addColumn<QString>("expected");

    const QDateTime now(QDate(2026, 3, 15), QTime(12, 0), Qt::UTC);
    QTest::newRow("now") << now << u"now"_s;
    QTest::newRow("seconds") << now.addSecs(-12) << u"12 sec. ago"_s;
    QTest::newRow("minutes") << now.addSecs(-3 * 60 - 59) << u"3 min. ago"_s;
    QTest::newRow("hours") << now.addSecs(-23 * 3600) << u"23 hr. ago"_s;
    QTest::newRow("yesterday") << now.addSecs(-25 * 3600) << u"yesterday"_s;
    QTest::newRow("days") << now.addDays(-6) << u"6 days ago"_s;
    QTest::newRow("last week") << now.addDays(-13) << u"last week"_s;
    QTest::newRow("weeks") << now.addDays(-22) << u"3 wk. ago"_s;
    QTest::newRow("last month") << now.addMonths(-1) << u"last month"_s;
    QTest::newRow("months") << now.addMonths(-5).addDays(-3) << u"5 mo. ago"_s;
    QTest::newRow("last year") << now.addYears(-1).addDays(-40) << u"last year"_s;
    QTest::newRow("years") << now.addYears(-3) << u"3 yr. ago"_s;
    QTest::newRow("ahead") << now.addSecs(5 * 60) << u"in 5 min."_s;
    QTest::newRow("tomorrow") << now.addDays(1) << u"tomorrow"_s;
    QTest::newRow("no date") << QDateTime() << QString();
}

void TestRelativeTime::abbreviated()
{
    QFETCH(QDateTime, then);
    QFETCH(QString, expected);
    const QDateTime now(QDate(2026, 3, 15), QTime(12, 0), Qt::UTC);
    QCOMPARE(RelativeTime::abbreviated(then, now), expected);
}

QTEST_APPLESS_MAIN(TestRelativeTime)
#include "tst_relativetime.moc"
