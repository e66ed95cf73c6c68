// Light or dark: the preference, then the desktop's colour scheme, then the palette.
#include "app/AppearanceChoice.h"

#include <QTest>

using namespace Lumo::App;
using namespace Lumo::Base;

using namespace Qt::StringLiterals;

class TestAppearanceChoice : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void resolve_data();
    void resolve();
};

void TestAppearanceChoice::resolve_data()
{
    QTest::addColumn<QString>("preference");
    QTest::addColumn<int>("colorScheme"); // the portal's value; -1 when there is no portal
    QTest::addColumn<bool>("paletteDark");
    QTest::addColumn<bool>("dark");

    QTest::newRow("portal prefers dark") << u"system"_s << 1 << false << true;
    QTest::newRow("portal prefers light") << u"system"_s << 2 << true << false;
    QTest::newRow("portal has no preference") << u"system"_s << 0 << true << true;
    QTest::newRow("no portal, light palette") << u"system"_s << -1 << false << false;
    QTest::newRow("unknown portal value") << u"system"_s << 7 << false << false;
    QTest::newRow("chosen light over a dark desktop") << u"light"_s << 1 << true << false;
    QTest::newRow("chosen dark over a light desktop") << u"dark"_s << 2 << false << true;
    QTest::newRow("unknown preference follows the system") << u"sepia"_s << 1 << false << true;
}

void TestAppearanceChoice::resolve()
{
    QFETCH(QString, preference);
    QFETCH(int, colorScheme);
    QFETCH(bool, paletteDark);
    QFETCH(bool, dark);
    const std::optional<Appearance> desktop =
        colorScheme < 0 ? std::nullopt : AppearanceChoice::fromColorScheme(uint(colorScheme));
    const Appearance chosen = AppearanceChoice::resolve(
        preference, desktop, paletteDark ? Appearance::Dark : Appearance::Light);
    QCOMPARE(chosen == Appearance::Dark, dark);
}

QTEST_APPLESS_MAIN(TestAppearanceChoice)
#include "tst_appearancechoice.moc"
