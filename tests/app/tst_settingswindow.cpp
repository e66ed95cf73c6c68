#include "app/SettingsWindow.h"
#include "app/ThemeSwatch.h"
#include "base/Preferences.h"
#include "support/LumoHome.h"

#include <QCheckBox>
#include <QLabel>
#include <QSlider>
#include <QTest>

using namespace Lumo::App;
using namespace Lumo::Base;

using namespace Qt::StringLiterals;

class TestSettingsWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void pickersFollowThePreference_data();
    void pickersFollowThePreference();
    void choosingWritesThePreference_data();
    void choosingWritesThePreference();
    void onlyTheCurrentTileWearsTheRing();
    void textSize_data();
    void textSize();
    void switchesWriteAndFollow_data();
    void switchesWriteAndFollow();
    void rowLabels();
    void themeTilesAnswerTheArrows();

private:
    // The theme tiles or the segments of a picker, in case order.
    QList<QAbstractButton *> buttonsOf(const QString &picker) const;
    QStringList checkedIn(const QString &picker) const;

    LumoHome m_home;
    std::unique_ptr<SettingsWindow> m_window;
};

void TestSettingsWindow::initTestCase()
{
    // Before anything asks for Preferences::shared(), so the user's own store is safe.
    QVERIFY(m_home.isValid());
    m_home.useForThisProcess();
    QVERIFY(Preferences::defaultFilePath().startsWith(m_home.path()));
}

void TestSettingsWindow::init()
{
    for (const QString &key : {u"theme"_s, u"readerFont"_s, u"readingWidth"_s, u"textScale"_s,
                               u"openInEditMode"_s, u"useCustomCSS"_s, u"loadRemoteImages"_s})
        Preferences::shared().remove(key);
    m_window = std::make_unique<SettingsWindow>(Preferences::shared());
}

void TestSettingsWindow::rowLabels()
{
    QStringList labels;
    for (const QLabel *label : m_window->findChildren<QLabel *>())
        labels.append(label->text());
    for (const QString &expected :
         {u"Font"_s, u"Line width"_s, u"Text size"_s, u"Default app for .md"_s})
        QVERIFY2(labels.contains(expected), qPrintable(labels.join(u" | "_s)));
}

QList<QAbstractButton *> TestSettingsWindow::buttonsOf(const QString &picker) const
{
    return m_window->findChild<QWidget *>(picker)->findChildren<QAbstractButton *>();
}

// More than one entry means exclusivity broke; none means nothing is selected.
QStringList TestSettingsWindow::checkedIn(const QString &picker) const
{
    QStringList texts;
    for (const QAbstractButton *button : buttonsOf(picker)) {
        if (button->isChecked())
            texts.append(button->text());
    }
    return texts;
}

void TestSettingsWindow::pickersFollowThePreference_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("picker");
    QTest::addColumn<QStringList>("stored"); // written in turn, as another window would
    QTest::addColumn<QStringList>("checked");

    const QString theme = u"theme"_s, themes = u"themePicker"_s, font = u"readerFont"_s,
                  width = u"readingWidth"_s;
    QTest::newRow("theme default") << theme << themes << QStringList() << QStringList{u"Lumo"_s};
    QTest::newRow("theme") << theme << themes << QStringList{u"paper"_s, u"contrast"_s}
                           << QStringList{u"High Contrast"_s};
    // The three pickers share one way of following and of clearing; an unknown value
    // is checked on one of them.
    QTest::newRow("unknown theme")
        << theme << themes << QStringList{u"github"_s, u"solarized"_s} << QStringList();
    QTest::newRow("font back from unknown")
        << font << u"fontPicker"_s << QStringList{u"comic"_s, u"mono"_s} << QStringList{u"Mono"_s};
    QTest::newRow("width") << width << u"widthPicker"_s << QStringList{u"narrow"_s, u"wide"_s}
                           << QStringList{u"Wide"_s};
}

void TestSettingsWindow::pickersFollowThePreference()
{
    QFETCH(QString, key);
    QFETCH(QString, picker);
    QFETCH(QStringList, stored);
    QFETCH(QStringList, checked);

    for (const QString &value : stored)
        Preferences::shared().setValue(key, value);
    QCOMPARE(checkedIn(picker), checked);
    // Following must not write back, not even a string that names no case.
    if (!stored.isEmpty())
        QCOMPARE(Preferences::shared().value(key).toString(), stored.last());

    m_window = std::make_unique<SettingsWindow>(Preferences::shared());
    QCOMPARE(checkedIn(picker), checked);
}

void TestSettingsWindow::choosingWritesThePreference_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("picker");
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("label");
    QTest::addColumn<int>("keyPress"); // 0: a mouse click
    QTest::addColumn<QString>("written");

    const QString theme = u"theme"_s, themes = u"themePicker"_s;
    QTest::newRow("tile") << theme << themes << u"lumo"_s << u"Paper"_s << 0 << u"paper"_s;
    QTest::newRow("tile from unknown")
        << theme << themes << u"sepia"_s << u"GitHub"_s << 0 << u"github"_s;
    QTest::newRow("tile by return")
        << theme << themes << u"lumo"_s << u"GitHub"_s << int(Qt::Key_Return) << u"github"_s;
    QTest::newRow("width") << u"readingWidth"_s << u"widthPicker"_s << u"comfortable"_s
                           << u"Narrow"_s << 0 << u"narrow"_s;
}

void TestSettingsWindow::choosingWritesThePreference()
{
    QFETCH(QString, key);
    QFETCH(QString, picker);
    QFETCH(QString, before);
    QFETCH(QString, label);
    QFETCH(int, keyPress);
    QFETCH(QString, written);

    Preferences::shared().setValue(key, before);
    m_window->show();
    QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
    QAbstractButton *target = nullptr;
    for (QAbstractButton *button : buttonsOf(picker)) {
        if (button->text() == label)
            target = button;
    }
    QVERIFY(target);
    if (keyPress) {
        target->setFocus();
        QTest::keyClick(target, Qt::Key(keyPress));
    } else {
        QTest::mouseClick(target, Qt::LeftButton, {}, target->rect().center());
    }
    QCOMPARE(Preferences::shared().value(key).toString(), written);
    QCOMPARE(checkedIn(picker), QStringList{label});
}

// The ring is painted, so look at the pixels: the middle of a tile's top edge is the
// window's accent on the current theme's tile only.
void TestSettingsWindow::onlyTheCurrentTileWearsTheRing()
{
    Preferences::shared().setTheme(u"github"_s);
    m_window->show();
    const QColor accent = m_window->palette().color(QPalette::Highlight);
    for (ThemeSwatchTile *tile : m_window->findChildren<ThemeSwatchTile *>()) {
        const QImage image = tile->grab().toImage();
        QCOMPARE(image.pixelColor(image.width() / 2, 1) == accent,
                 tile->theme() == ReaderTheme::GitHub);
    }
}

void TestSettingsWindow::themeTilesAnswerTheArrows()
{
    Preferences::shared().setTheme(u"lumo"_s);
    const QList<QAbstractButton *> tiles = buttonsOf(u"themePicker"_s);
    QTest::keyClick(tiles.at(0), Qt::Key_Right);
    QCOMPARE(Preferences::shared().theme(), ReaderTheme::rawValue(ReaderTheme::allCases().at(1)));
    QTest::keyClick(tiles.at(1), Qt::Key_Down);
    QTest::keyClick(tiles.at(2), Qt::Key_Left);
    QCOMPARE(Preferences::shared().theme(), ReaderTheme::rawValue(ReaderTheme::allCases().at(1)));
    // The first tile has no left neighbour.
    QTest::keyClick(tiles.at(0), Qt::Key_Left);
    QCOMPARE(Preferences::shared().theme(), ReaderTheme::rawValue(ReaderTheme::allCases().at(1)));
}

void TestSettingsWindow::textSize_data()
{
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<int>("position");
    QTest::addColumn<QString>("label");
    QTest::addColumn<int>("moveTo"); // then the user moves the slider there
    QTest::addColumn<double>("written");

    QTest::newRow("absent") << QVariant() << 10 << u"100%"_s << 11 << 1.1;
    QTest::newRow("after a reset") << QVariant(1) << 10 << u"100%"_s << 7 << 0.7;
    // The slider takes the nearest tenth; the label tells the stored value as it is.
    QTest::newRow("off the grid") << QVariant(1.04) << 10 << u"104%"_s << 20 << 2.0;
    QTest::newRow("beyond the top") << QVariant(3.0) << 20 << u"300%"_s << 19 << 1.9;
    QTest::newRow("not a number") << QVariant(u"huge"_s) << 10 << u"100%"_s << 11 << 1.1;
}

void TestSettingsWindow::textSize()
{
    QFETCH(QVariant, stored);
    QFETCH(int, position);
    QFETCH(QString, label);
    QFETCH(int, moveTo);
    QFETCH(double, written);

    Preferences &prefs = Preferences::shared();
    prefs.setValue(u"textScale"_s, 1.5);
    if (stored.isValid())
        prefs.setValue(u"textScale"_s, stored);
    else
        prefs.remove(u"textScale"_s);
    auto *slider = m_window->findChild<QSlider *>(u"textSizeSlider"_s);
    auto *text = m_window->findChild<QLabel *>(u"textSizeLabel"_s);
    QCOMPARE(slider->value(), position);
    QCOMPARE(text->text(), label);
    // Showing a value must not rewrite it: an off-grid value stays off the grid.
    QCOMPARE(prefs.value(u"textScale"_s), stored.isValid() ? stored : QVariant(1.0));

    slider->setValue(moveTo);
    // Exactly the tenth (QCOMPARE on doubles is fuzzy): 7 * 0.1 is 0.7000000000000001.
    const double now = prefs.value(u"textScale"_s).toDouble();
    QVERIFY2(now == written, qPrintable(QString::number(now, 'g', 17)));
    QCOMPARE(text->text(), QString::number(moveTo * 10) + u'%');
}

void TestSettingsWindow::switchesWriteAndFollow_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<bool>("byDefault");
    QTest::newRow("edit mode") << u"openInEditMode"_s << false;
    QTest::newRow("custom CSS") << u"useCustomCSS"_s << false;
    QTest::newRow("remote images") << u"loadRemoteImages"_s << true;
}

void TestSettingsWindow::switchesWriteAndFollow()
{
    QFETCH(QString, key);
    QFETCH(bool, byDefault);

    auto *box = m_window->findChild<QCheckBox *>(key);
    QCOMPARE(box->isChecked(), byDefault);
    m_window->show();
    QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(8, box->height() / 2));
    QCOMPARE(Preferences::shared().value(key).toBool(), !byDefault);

    Preferences::shared().setValue(key, byDefault);
    QCOMPARE(box->isChecked(), byDefault);
}

QTEST_MAIN(TestSettingsWindow)
#include "tst_settingswindow.moc"
