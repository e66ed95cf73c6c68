// The outline, find and the user stylesheet, against real pages.
#include "app/DocumentTab.h"
#include "base/Brand.h"
#include "base/Preferences.h"
#include "document/CustomCSS.h"
#include "document/DiskChangeBanner.h"
#include "document/OutlineFilter.h"
#include "document/OutlinePopover.h"
#include "document/PreviewView.h"
#include "document/TabPanels.h"
#include "support/WebTest.h"

#include <QDir>
#include <QFile>
#include <QLabel>
#include <QLayout>
#include <QPushButton>

using namespace Lumo::App;
using namespace Lumo::Base;
using namespace Lumo::Document;

using namespace Qt::StringLiterals;

class TestFurniture : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void filtering_data();
    void filtering();
    void popoverChoosesHeadings();
    void bannerReadsInOrder();
    void nestedHeadingsStayReadable_data();
    void nestedHeadingsStayReadable();
    // First: the shared stylesheet watches only a file that exists when it is created.
    void stylesheetEditsReachOpenPages();
    void findInThePage();

private:
    DocumentTab *openRendered(const QString &text);
    std::unique_ptr<DocumentTab> m_tab;
};

static QList<OutlineItem> outlineOf(const QList<std::pair<int, QString>> &headings)
{
    QList<OutlineItem> outline;
    for (const auto &[level, text] : headings)
        outline.append({level, text, text.toLower()});
    return outline;
}

void TestFurniture::filtering_data()
{
    QTest::addColumn<QList<OutlineItem>>("outline");
    QTest::addColumn<QString>("query");
    QTest::addColumn<QStringList>("shown");
    QTest::addColumn<int>("minimum");

    const auto doc = outlineOf(
        {{1, u"Introduction"_s}, {2, u"Setup"_s}, {3, u"Intro to flags"_s}, {1, u"Straße"_s}});
    QTest::newRow("empty query shows all")
        << doc << QString()
        << QStringList{u"Introduction"_s, u"Setup"_s, u"Intro to flags"_s, u"Straße"_s} << 1;
    QTest::newRow("case ignored") << doc << u"INTRO"_s
                                  << QStringList{u"Introduction"_s, u"Intro to flags"_s} << 1;
    QTest::newRow("non-ascii") << doc << u"STRASSE"_s << QStringList() << 1;
    QTest::newRow("non-ascii lower") << doc << u"straße"_s << QStringList{u"Straße"_s} << 1;
    QTest::newRow("nothing") << doc << u"zzz"_s << QStringList() << 1;
    QTest::newRow("starts at level two")
        << outlineOf({{2, u"A"_s}, {3, u"B"_s}}) << QString() << QStringList{u"A"_s, u"B"_s} << 2;
    QTest::newRow("empty outline") << QList<OutlineItem>() << u"x"_s << QStringList() << 1;
}

void TestFurniture::filtering()
{
    QFETCH(QList<OutlineItem>, outline);
    QFETCH(QString, query);
    QFETCH(QStringList, shown);
    QFETCH(int, minimum);

    QStringList texts;
    for (const OutlineItem &item : OutlineFilter::matching(outline, query))
        texts.append(item.text);
    QCOMPARE(texts, shown);
    QCOMPARE(OutlineFilter::minimumLevel(outline), minimum);
}

void TestFurniture::popoverChoosesHeadings()
{
    OutlinePopover popover;
    popover.setOutline(outlineOf({{1, u"Alpha"_s}, {2, u"Beta"_s}, {2, u"Gamma"_s}}));
    QSignalSpy chosen(&popover, &OutlinePopover::headingChosen);
    QWidget anchor;
    anchor.show();
    popover.showBelow(&anchor);
    QVERIFY(QTest::qWaitForWindowExposed(&popover));

    popover.setFilterText(u"gam"_s);
    QCOMPARE(popover.shownItems().size(), 1);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    QCOMPARE(chosen.count(), 1);
    QCOMPARE(chosen.at(0).at(0).value<OutlineItem>().text, u"Gamma"_s);

    popover.showBelow(&anchor);
    popover.setFilterText(u"nothing"_s);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    QCOMPARE(chosen.count(), 1);
    popover.setFilterText(QString());
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    QCOMPARE(chosen.count(), 2);
    QCOMPARE(chosen.at(1).at(0).value<OutlineItem>().text, u"Alpha"_s);

    // The arrow keys move a selection from the field, and Return opens that row.
    popover.showBelow(&anchor);
    QCOMPARE(popover.selectedRow(), 0);
    QWidget *field = QApplication::focusWidget();
    QTest::keyClick(field, Qt::Key_Down);
    QTest::keyClick(field, Qt::Key_Down);
    QTest::keyClick(field, Qt::Key_Down);
    QCOMPARE(popover.selectedRow(), 2);
    QTest::keyClick(field, Qt::Key_Up);
    QCOMPARE(popover.selectedRow(), 1);
    QCOMPARE(QApplication::focusWidget(), field);
    QTest::keyClick(field, Qt::Key_Return);
    QCOMPARE(chosen.count(), 3);
    QCOMPARE(chosen.at(2).at(0).value<OutlineItem>().text, u"Beta"_s);
}

void TestFurniture::bannerReadsInOrder()
{
    DiskChangeBanner banner;
    QStringList texts;
    for (int i = 0; i < banner.layout()->count(); ++i) {
        const QWidget *widget = banner.layout()->itemAt(i)->widget();
        if (const auto *label = qobject_cast<const QLabel *>(widget))
            texts.append(label->text());
        else if (const auto *button = qobject_cast<const QPushButton *>(widget))
            texts.append(button->text());
    }
    QCOMPARE(texts, (QStringList{u"Changed on disk"_s, u"Reload"_s, u"Keep Mine"_s}));
}

void TestFurniture::nestedHeadingsStayReadable_data()
{
    QTest::addColumn<QColor>("text");
    QTest::addColumn<QColor>("background");
    QTest::newRow("light") << QColor(0x1f, 0x23, 0x28) << QColor(Qt::white);
    QTest::newRow("dark") << QColor(0xe6, 0xed, 0xf3) << QColor(0x2a, 0x2a, 0x2e);
    QTest::newRow("grey on grey") << QColor(0x70, 0x70, 0x70) << QColor(0xe0, 0xe0, 0xe0);
}

void TestFurniture::nestedHeadingsStayReadable()
{
    QFETCH(QColor, text);
    QFETCH(QColor, background);
    QCOMPARE(Brand::contrastRatio(Qt::black, Qt::white), 21.0);
    const QColor muted = Brand::mutedText(text, background, Brand::minimumTextContrast);
    QVERIFY(Brand::contrastRatio(muted, background) >= Brand::minimumTextContrast || muted == text);
    // Softer than the text when there is room for it.
    if (Brand::contrastRatio(text, background) > 7)
        QVERIFY(muted != text);
}

DocumentTab *TestFurniture::openRendered(const QString &text)
{
    m_tab = std::make_unique<DocumentTab>(new OpenDocument(text), false);
    m_tab->resize(700, 500);
    m_tab->show();
    QSignalSpy rendered(m_tab->controller(), &DocumentController::renderCompleted);
    [&] { QTRY_COMPARE_WITH_TIMEOUT(rendered.count(), 1, 20000); }();
    return m_tab.get();
}

void TestFurniture::findInThePage()
{
    DocumentTab *tab = openRendered(u"# Needle\n\nhay needle hay NEEDLE\n"_s);
    tab->panels()->setShowFind(true);
    QSignalSpy finished(tab, &DocumentTab::findFinished);
    const auto active = [&] {
        QList<int> list;
        for (const QVariantList &result : finished)
            list.append(result.at(0).toInt());
        return list;
    };

    tab->findInPreview(QString(), false);
    QTest::qWait(200);
    QCOMPARE(finished.count(), 0);

    tab->findInPreview(u"needle"_s, false);
    QTRY_COMPARE(finished.count(), 1);
    QCOMPARE(finished.at(0), (QVariantList{1, 3}));
    // Three matches, case ignored: the fourth search wraps around to the first, and
    // backwards from the first wraps to the last.
    for (int i = 0; i < 3; ++i) {
        tab->findInPreview(u"needle"_s, false);
        QTRY_COMPARE(finished.count(), i + 2);
    }
    tab->findInPreview(u"needle"_s, true);
    QTRY_COMPARE(finished.count(), 5);
    QCOMPARE(active(), (QList<int>{1, 2, 3, 1, 3}));
    QCOMPARE(WebTest::evaluate(tab->view()->page(), u"String(getSelection())"_s).toString(),
             u"NEEDLE"_s);

    // A render under the open bar finds the match again and counts anew.
    tab->document()->setText(u"# Needle\n\nhay needle hay NEEDLE needle\n"_s);
    tab->controller()->scheduleRender(true);
    QTRY_COMPARE_WITH_TIMEOUT(finished.count(), 6, 20000);
    QCOMPARE(finished.at(5), (QVariantList{3, 4}));

    tab->findInPreview(u"absent"_s, false);
    QTRY_COMPARE(finished.count(), 7);
    QCOMPARE(finished.at(6), (QVariantList{0, 0}));
    QCOMPARE(
        WebTest::evaluate(tab->view()->page(), u"document.querySelector('main h1').textContent"_s)
            .toString(),
        u"Needle"_s);
    // Closing the bar leaves the page as it was: no element added around a match.
    tab->panels()->setShowFind(false);
    QTRY_COMPARE(
        WebTest::evaluate(tab->view()->page(), u"!!document.querySelector('[data-lumo-find]')"_s)
            .toBool(),
        false);
    QCOMPARE(WebTest::evaluate(tab->view()->page(), u"document.querySelector('main p').innerHTML"_s)
                 .toString(),
             u"hay needle hay NEEDLE needle"_s);
}

void TestFurniture::stylesheetEditsReachOpenPages()
{
    const QString path = CustomCSS::defaultPath();
    QVERIFY(QDir().mkpath(QFileInfo(path).absolutePath()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(CustomCSS::templateText());
    file.close();
    Preferences::shared().setUseCustomCSS(true);

    QWebEnginePage *page = openRendered(u"# Styled"_s)->view()->page();
    const QString probe =
        u"getComputedStyle(document.querySelector('main h1')).getPropertyValue('--probe').trim()"_s;
    QCOMPARE(WebTest::evaluate(page, probe).toString(), QString());

    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("main h1 { --probe: saved; }\n");
    file.close();
    QTRY_COMPARE_WITH_TIMEOUT(WebTest::evaluate(page, probe).toString(), u"saved"_s, 10000);

    QVERIFY(QFile::remove(path));
    QTRY_COMPARE_WITH_TIMEOUT(WebTest::evaluate(page, probe).toString(), QString(), 10000);
}

LUMO_WEB_TEST_MAIN(TestFurniture)
#include "tst_furniture.moc"
