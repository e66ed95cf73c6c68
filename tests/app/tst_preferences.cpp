#include "app/ReaderPreferences.h"
#include "base/Brand.h"
#include "base/Preferences.h"
#include "base/TextScale.h"
#include "support/LumoHome.h"

#include <QSettings>
#include <QSignalSpy>
#include <QTest>

using namespace Lumo::App;
using namespace Lumo::Base;

using namespace Qt::StringLiterals;

class TestPreferences : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void emptyStoreGivesTheDefaults();
    void textScaleSteps_data();
    void textScaleSteps();
    void storedTextScale_data();
    void storedTextScale();
    void resetStoresTheIntegerOne();
    void eachKeyAnnouncesItsOwnChange();
    void valuesSurviveAReopen();
    void unknownEnumerationValuesPassThrough();
    void enumerationsInCaseOrder();

private:
    QString storePath() const { return m_home->settingsPath(); }

    std::unique_ptr<LumoHome> m_home;
    std::unique_ptr<Preferences> m_prefs;
};

void TestPreferences::init()
{
    m_home = std::make_unique<LumoHome>();
    QVERIFY(m_home->isValid());
    m_prefs = std::make_unique<Preferences>(storePath());
}

void TestPreferences::emptyStoreGivesTheDefaults()
{
    // The theme, text size and switches' defaults are tst_settingswindow's first rows.
    QCOMPARE(m_prefs->showSidebar(), false);
    QCOMPARE(m_prefs->followChanges(), false);
    QCOMPARE(m_prefs->debugHooks(), false);
    QVERIFY(!m_prefs->contains(u"theme"_s));
}

void TestPreferences::textScaleSteps_data()
{
    QTest::addColumn<double>("start");
    QTest::addColumn<QList<double>>("steps");
    QTest::addColumn<double>("expected");

    QTest::newRow("three steps up land on the grid") << 1.0 << QList<double>{0.1, 0.1, 0.1} << 1.3;
    QTest::newRow("down") << 1.0 << QList<double>{-0.1, -0.1} << 0.8;
    QTest::newRow("up from the top stays") << 2.0 << QList<double>{0.1} << 2.0;
    QTest::newRow("rounded past the top") << 1.95 << QList<double>{0.1} << 2.0;
    QTest::newRow("down from the bottom stays") << 0.7 << QList<double>{-0.1} << 0.7;
    QTest::newRow("off-grid value by zero") << 0.74 << QList<double>{0.0} << 0.7;
    QTest::newRow("half rounds away from zero") << 1.25 << QList<double>{0.0} << 1.3;
    QTest::newRow("far out of range") << 9.0 << QList<double>{-0.1} << 2.0;
}

void TestPreferences::textScaleSteps()
{
    QFETCH(double, start);
    QFETCH(QList<double>, steps);
    QFETCH(double, expected);

    m_prefs->setValue(u"textScale"_s, start);
    for (double step : steps)
        m_prefs->stepTextScale(step);
    // Exact: each step must round to tenths, not accumulate 1.3000000000000003.
    QCOMPARE(m_prefs->textScale(), expected);
    QCOMPARE(m_prefs->value(u"textScale"_s).toDouble(), expected);
}

void TestPreferences::storedTextScale_data()
{
    QTest::addColumn<QString>("ini");
    QTest::addColumn<double>("scale");

    QTest::newRow("number") << u"textScale=1.4"_s << 1.4;
    QTest::newRow("integer") << u"textScale=1"_s << 1.0;
    QTest::newRow("word") << u"textScale=huge"_s << 1.0;
    QTest::newRow("empty") << u"textScale="_s << 1.0;
    QTest::newRow("not a number") << u"textScale=nan"_s << 1.0;
    QTest::newRow("absent") << QString() << 1.0;
}

// Written as another program (or an older version) would leave the file.
void TestPreferences::storedTextScale()
{
    QFETCH(QString, ini);
    QFETCH(double, scale);

    m_prefs.reset();
    QFile file(storePath());
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("[General]\n" + ini.toUtf8() + "\n");
    file.close();

    Preferences prefs(storePath());
    QCOMPARE(prefs.textScale(), scale);
    prefs.stepTextScale(0.1);
    QCOMPARE(prefs.textScale(), TextScale::stepped(scale, 0.1));
}

void TestPreferences::resetStoresTheIntegerOne()
{
    m_prefs->stepTextScale(0.3);
    m_prefs->resetTextScale();
    m_prefs->sync();

    QSettings raw(storePath(), QSettings::IniFormat);
    QCOMPARE(raw.value(u"textScale"_s).toString(), u"1"_s);
    QCOMPARE(m_prefs->textScale(), 1.0);
}

void TestPreferences::eachKeyAnnouncesItsOwnChange()
{
    QSignalSpy theme(m_prefs.get(), &Preferences::themeChanged);
    QSignalSpy scale(m_prefs.get(), &Preferences::textScaleChanged);
    QSignalSpy any(m_prefs.get(), &Preferences::valueChanged);

    m_prefs->setTheme(u"paper"_s);
    m_prefs->setTheme(u"paper"_s);
    m_prefs->stepTextScale(0.1);
    m_prefs->stepTextScale(1.0);
    m_prefs->stepTextScale(1.0); // already at the top: nothing changes
    m_prefs->setTheme(u"lumo"_s);

    QCOMPARE(theme.count(), 2);
    QCOMPARE(scale.count(), 2);
    QCOMPARE(any.count(), 4);
    QCOMPARE(any.at(0).at(0).toString(), u"theme"_s);
    QCOMPARE(any.at(1).at(0).toString(), u"textScale"_s);

    // Every key's property carries its change signal, so views can bind by name.
    QSignalSpy folders(m_prefs.get(), &Preferences::workspaceFoldersChanged);
    QVERIFY(m_prefs->setProperty("workspaceFolders", QStringList{u"/a"_s}));
    QCOMPARE(folders.count(), 1);
}

void TestPreferences::valuesSurviveAReopen()
{
    const QDateTime seen = QDateTime::fromString(u"2026-11-23T09:30:00Z"_s, Qt::ISODate);
    const QStringList folders{u"/home/u/notes, old"_s, u"/home/u/ünïcode"_s};
    m_prefs->setReadingWidth(u"wide"_s);
    m_prefs->setSidebarWidth(312.5);
    m_prefs->setDebugHooks(true);
    m_prefs->setWorkspaceFolders(folders);
    m_prefs->setSidebarExpanded({{u"/home/u/notes"_s, QStringList{u"a"_s, u"a/b"_s}}});
    m_prefs->setSidebarViewed({{u"/home/u/notes/x.md"_s, seen}});
    m_prefs.reset();

    Preferences prefs(storePath());
    QCOMPARE(prefs.readingWidth(), u"wide"_s);
    QCOMPARE(prefs.sidebarWidth(), 312.5);
    QCOMPARE(prefs.debugHooks(), true);
    QCOMPARE(prefs.workspaceFolders(), folders);
    QCOMPARE(prefs.sidebarExpanded().value(u"/home/u/notes"_s).toStringList(),
             (QStringList{u"a"_s, u"a/b"_s}));
    QCOMPARE(prefs.sidebarViewed().value(u"/home/u/notes/x.md"_s).toDateTime(), seen);

    // A single remembered folder must still read back as a list.
    prefs.setWorkspaceFolders({u"/only"_s});
    prefs.sync();
    QCOMPARE(Preferences(storePath()).workspaceFolders(), QStringList{u"/only"_s});
}

void TestPreferences::unknownEnumerationValuesPassThrough()
{
    m_prefs->setTheme(u"scrivent"_s);
    QCOMPARE(m_prefs->theme(), u"scrivent"_s);
    QCOMPARE(ReaderTheme::fromRawValue(m_prefs->theme()), std::nullopt);
    QCOMPARE(ReaderTheme::fromRawValue(u"GitHub"_s), std::nullopt);
    QCOMPARE(ReaderTheme::fromRawValue(u"github"_s), ReaderTheme::GitHub);
}

void TestPreferences::enumerationsInCaseOrder()
{
    // The stored values: settings files written by earlier versions hold them.
    QStringList themes, fonts, widths;
    for (auto theme : ReaderTheme::allCases()) {
        themes << ReaderTheme::rawValue(theme);
        QCOMPARE(ReaderTheme::fromRawValue(ReaderTheme::rawValue(theme)), theme);
    }
    for (auto font : ReaderFont::allCases())
        fonts << ReaderFont::rawValue(font);
    for (auto width : ReadingWidth::allCases())
        widths << ReadingWidth::rawValue(width);

    QCOMPARE(themes, (QStringList{u"lumo"_s, u"github"_s, u"paper"_s, u"contrast"_s}));
    QCOMPARE(fonts, (QStringList{u"sans"_s, u"serif"_s, u"mono"_s}));
    QCOMPARE(widths, (QStringList{u"narrow"_s, u"comfortable"_s, u"wide"_s}));
}

QTEST_APPLESS_MAIN(TestPreferences)
#include "tst_preferences.moc"
