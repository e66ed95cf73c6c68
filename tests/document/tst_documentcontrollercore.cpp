// The controller's rules against a fake page, without a display or a web engine:
// when renders go out and with what, task toggles, changes on disk, the actions
// that wait for a file to render, the text size.
#include "base/Preferences.h"
#include "document/DocumentController.h"
#include "document/PageScript.h"
#include "support/FakePage.h"
#include "support/LumoHome.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

using namespace Lumo::Base;
using namespace Lumo::Document;

using namespace Qt::StringLiterals;

class TestDocumentControllerCore : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();
    void aRenderAskedBeforeReadyGoesOutOnce();
    void editBurstsGiveOneRender();
    void changesOnDisk();
    void staleTaskTogglesAreIgnored();
    void deferredActionsRunOnceAfterTheFirstRender();
    void actionsForAFileThatNeverRendersAreDropped_data();
    void actionsForAFileThatNeverRendersAreDropped();
    void aDocumentTooLargeToPreviewSaysSo();
    void thePageLeadsTheEditorOnlyWhenTheUserScrollsIt_data();
    void thePageLeadsTheEditorOnlyWhenTheUserScrollsIt();
    void switchingToTheEditorShowsThePagesTopLine_data();
    void switchingToTheEditorShowsThePagesTopLine();
    void switchingBackGivesThePageItsPlaceUnlessTheEditorMoved_data();
    void switchingBackGivesThePageItsPlaceUnlessTheEditorMoved();
    void zoomStepsAndResets();

private:
    struct Opened
    {
        DocumentController *controller;
        FakePage *page;
    };
    Opened open(OpenDocument *document);
    // The page says "ready", and renders whatever it is sent from then on.
    static void renderAlong(const Opened &opened);

    LumoHome m_home;
    QList<DocumentController *> m_controllers;
};

void TestDocumentControllerCore::initTestCase()
{
    m_home.useForThisProcess();
}

void TestDocumentControllerCore::cleanup()
{
    qDeleteAll(m_controllers);
    m_controllers.clear();
}

TestDocumentControllerCore::Opened TestDocumentControllerCore::open(OpenDocument *document)
{
    auto *page = new FakePage;
    auto *controller = new DocumentController(document, page, false);
    page->setParent(controller);
    document->setParent(controller);
    m_controllers.append(controller);
    return {controller, page};
}

void TestDocumentControllerCore::renderAlong(const Opened &opened)
{
    const auto answer = [opened] {
        const QStringList renders = opened.page->renders();
        if (!renders.isEmpty() &&
            renders.constLast().contains(u"rev: %1"_s.arg(opened.controller->renderRevision())) &&
            opened.controller->completedRevision() != opened.controller->renderRevision())
            opened.page->sayRendered(opened.controller->renderRevision());
    };
    auto *poll = new QTimer(opened.page);
    QObject::connect(poll, &QTimer::timeout, opened.page, answer);
    poll->start(10);
    opened.page->sayReady();
}

void TestDocumentControllerCore::aRenderAskedBeforeReadyGoesOutOnce()
{
    const Opened opened = open(new OpenDocument(u"# Early"_s));
    DocumentController *controller = opened.controller;
    QCOMPARE(opened.page->loads, 1);
    controller->scheduleRender();
    controller->render();
    controller->scheduleRender(true);
    QVERIFY(!controller->isReady());
    QTest::qWait(200);
    QVERIFY(opened.page->renders().isEmpty());

    QSignalSpy rendered(controller, &DocumentController::renderCompleted);
    renderAlong(opened);
    QTRY_COMPARE(rendered.count(), 1);
    QVERIFY(controller->isReady());
    QTest::qWait(300);
    QCOMPARE(rendered.count(), 1);
    QCOMPARE(opened.page->renders().size(), 1);
    QCOMPARE(controller->renderRevision(), 1);
    QCOMPARE(controller->completedRevision(), 1);
}

void TestDocumentControllerCore::editBurstsGiveOneRender()
{
    auto *document = new OpenDocument(u"start"_s);
    const Opened opened = open(document);
    DocumentController *controller = opened.controller;
    QSignalSpy rendered(controller, &DocumentController::renderCompleted);
    renderAlong(opened);
    QTRY_COMPARE(rendered.count(), 1);

    for (int i = 0; i < 10; ++i) {
        document->setText(u"start %1"_s.arg(i));
        QTest::qWait(20);
    }
    QTRY_COMPARE(rendered.count(), 2);
    QTest::qWait(300);
    QCOMPARE(rendered.count(), 2);
    QCOMPARE(controller->renderRevision(), 2);
    // Only the edit crosses to the page: " 9" after "start".
    const QString last = opened.page->renders().constLast();
    QVERIFY2(last.startsWith(u"mv.renderEdit(1, 5, 5, %1"_s.arg(PageScript::json(u" 9"_s))),
             qPrintable(last));

    // The same text again is not sent again.
    document->setText(u"start 9 "_s);
    document->setText(u"start 9"_s);
    QTest::qWait(300);
    QCOMPARE(controller->renderRevision(), 2);
}

void TestDocumentControllerCore::changesOnDisk()
{
    const QString path = m_home.fixture(u"doc.md"_s, "one\n\ntwo\n");
    OpenDocument *document = OpenDocument::open(path, nullptr);
    const Opened opened = open(document);
    DocumentController *controller = opened.controller;
    QSignalSpy rendered(controller, &DocumentController::renderCompleted);
    renderAlong(opened);
    QTRY_COMPARE(rendered.count(), 1);
    QVERIFY(opened.page->renders().constLast().contains(u"diff: false"_s));

    // Without unsaved edits the document follows the file, and the page is asked to
    // show what changed.
    m_home.fixture(u"doc.md"_s, "one\n\ntwo, edited elsewhere\n");
    QTRY_COMPARE(rendered.count(), 2);
    QCOMPARE(document->text(), u"one\n\ntwo, edited elsewhere\n"_s);
    QVERIFY(opened.page->renders().constLast().contains(u"diff: true"_s));
    QVERIFY(!controller->diskChangePending());

    // With unsaved edits it asks instead.
    document->setText(u"mine\n"_s);
    m_home.fixture(u"doc.md"_s, "theirs\n");
    QTRY_VERIFY(controller->diskChangePending());
    QCOMPARE(document->text(), u"mine\n"_s);

    controller->setDiskChangePending(false); // "Keep Mine"
    m_home.fixture(u"doc.md"_s, "theirs again\n");
    QTRY_VERIFY(controller->diskChangePending());

    controller->reloadFromDisk(true); // "Reload"
    QCOMPARE(document->text(), u"theirs again\n"_s);
    QVERIFY(!document->isModified());
    QVERIFY(!controller->diskChangePending());

    // Saving over the outside change settles it.
    document->setText(u"mine at last\n"_s);
    m_home.fixture(u"doc.md"_s, "theirs once more\n");
    QTRY_VERIFY(controller->diskChangePending());
    QVERIFY(document->save());
    QVERIFY(!controller->diskChangePending());
    QTest::qWait(400);
    QVERIFY(!controller->diskChangePending());
    QCOMPARE(document->text(), u"mine at last\n"_s);
}

void TestDocumentControllerCore::staleTaskTogglesAreIgnored()
{
    auto *document = new OpenDocument(u"- [ ] a\n- [ ] b\n"_s);
    const Opened opened = open(document);
    DocumentController *controller = opened.controller;
    QSignalSpy rendered(controller, &DocumentController::renderCompleted);
    renderAlong(opened);
    QTRY_COMPARE(rendered.count(), 1);

    const auto toggle = [&](int line, qint64 revision) {
        opened.page->say({{u"type"_s, u"toggleTask"_s},
                          {u"line"_s, line},
                          {u"checked"_s, true},
                          {u"rev"_s, revision}});
    };
    toggle(1, controller->renderRevision() - 1);
    QCOMPARE(document->text(), u"- [ ] a\n- [ ] b\n"_s);
    toggle(1, controller->renderRevision());
    QCOMPARE(document->text(), u"- [ ] a\n- [x] b\n"_s);
    QTRY_COMPARE(rendered.count(), 2);
    toggle(7, controller->renderRevision());
    QCOMPARE(document->text(), u"- [ ] a\n- [x] b\n"_s);
}

void TestDocumentControllerCore::deferredActionsRunOnceAfterTheFirstRender()
{
    const QString path = m_home.fixture(u"later.md"_s, "# Later\n");
    int runs = 0;
    qint64 revisionSeen = -1;
    DocumentController *controller = nullptr;
    DocumentController::whenReady(m_home.path() + u"/./later.md"_s, [&] {
        ++runs;
        revisionSeen = controller ? controller->completedRevision() : -2;
    });
    QCOMPARE(runs, 0);

    const Opened opened = open(OpenDocument::open(path, nullptr));
    controller = opened.controller;
    renderAlong(opened);
    QTRY_COMPARE(runs, 1);
    QCOMPARE(revisionSeen, 1);
    controller->document()->setText(u"# Later, edited\n"_s);
    QTRY_COMPARE(controller->completedRevision(), 2);
    QTest::qWait(100);
    QCOMPARE(runs, 1);

    // Already rendered: runs at once.
    DocumentController::whenReady(path, [&] { ++runs; });
    QCOMPARE(runs, 2);
}

void TestDocumentControllerCore::actionsForAFileThatNeverRendersAreDropped_data()
{
    QTest::addColumn<QString>("fate");
    QTest::newRow("the page gives up") << u"gives up"_s;
    QTest::newRow("the tab closes first") << u"closed"_s;
    QTest::newRow("too large to preview") << u"too large"_s;
}

void TestDocumentControllerCore::actionsForAFileThatNeverRendersAreDropped()
{
    QFETCH(QString, fate);
    const QString path = m_home.fixture(u"never.md"_s, "# Never\n");
    int runs = 0;
    {
        OpenDocument *document = OpenDocument::open(path, nullptr);
        const Opened opened = open(document);
        DocumentController::whenReady(path, [&] { ++runs; });
        if (fate == u"gives up"_s) {
            opened.page->giveUp();
            QVERIFY(!opened.controller->previewProblem().isEmpty());
        } else if (fate == u"too large"_s) {
            document->setText(u"x"_s.repeated(DocumentController::largestPreview + 1));
            opened.page->sayReady();
            QVERIFY(!opened.controller->previewProblem().isEmpty());
        }
        m_controllers.removeOne(opened.controller);
        delete opened.controller;
    }

    // The file shown again later must not run what was meant for the first time.
    const Opened again = open(OpenDocument::open(path, nullptr));
    QSignalSpy rendered(again.controller, &DocumentController::renderCompleted);
    renderAlong(again);
    QTRY_COMPARE(rendered.count(), 1);
    QTest::qWait(100);
    QCOMPARE(runs, 0);
}

void TestDocumentControllerCore::aDocumentTooLargeToPreviewSaysSo()
{
    const QString line = u"Some words of a very long document.\n"_s;
    auto *document =
        new OpenDocument(line.repeated(DocumentController::largestPreview / line.size() + 1));
    const Opened opened = open(document);
    DocumentController *controller = opened.controller;
    QSignalSpy problem(controller, &DocumentController::previewProblemChanged);
    renderAlong(opened);
    QTRY_COMPARE(problem.count(), 1);
    QVERIFY(controller->previewProblem().contains(u"too large to preview"_s));
    QCOMPARE(controller->renderRevision(), 0);
    QVERIFY(opened.page->renders().isEmpty());

    // Cut down to size, it shows.
    document->setText(u"# Small again"_s);
    QSignalSpy rendered(controller, &DocumentController::renderCompleted);
    QTRY_COMPARE(rendered.count(), 1);
    QVERIFY(controller->previewProblem().isEmpty());
}

void TestDocumentControllerCore::thePageLeadsTheEditorOnlyWhenTheUserScrollsIt_data()
{
    QTest::addColumn<bool>("editing");
    QTest::addColumn<bool>("byTheUser");
    QTest::addColumn<bool>("editorJustScrolled");
    QTest::addColumn<bool>("editorFollows");
    QTest::addColumn<double>("pageTop");
    QTest::newRow("editing, the user scrolls the page") << true << true << false << true << 12.5;
    QTest::newRow("editing, the page settles by itself") << true << false << false << false << 0.0;
    QTest::newRow("editing, right after the editor scrolled")
        << true << true << true << false << 12.5;
    QTest::newRow("reading") << false << true << false << false << 12.5;
}

void TestDocumentControllerCore::thePageLeadsTheEditorOnlyWhenTheUserScrollsIt()
{
    QFETCH(bool, editing);
    QFETCH(bool, byTheUser);
    QFETCH(bool, editorJustScrolled);
    QFETCH(bool, editorFollows);
    QFETCH(double, pageTop);
    FakePage page;
    DocumentController controller(nullptr, &page, editing);
    QList<double> editorScrolls;
    controller.setEditor(
        {[] { return 3.0; }, [&editorScrolls](double line) { editorScrolls.append(line); }, {}});
    if (editorJustScrolled)
        controller.editorDidScroll(3.0);
    page.say({{u"type"_s, u"topLine"_s}, {u"line"_s, 12.5}, {u"user"_s, byTheUser}});
    QCOMPARE(editorScrolls, editorFollows ? QList<double>{12.5} : QList<double>{});
    QCOMPARE(controller.previewTopLine(), pageTop);
}

void TestDocumentControllerCore::switchingToTheEditorShowsThePagesTopLine_data()
{
    QTest::addColumn<double>("editorTop");
    QTest::newRow("the page's line is in the editor's view") << 1220.0;
    // Placing the caret there would scroll the editor first, and the page after it.
    QTest::newRow("the page's line is far below the editor's view") << 0.0;
}

void TestDocumentControllerCore::switchingToTheEditorShowsThePagesTopLine()
{
    QFETCH(double, editorTop);
    FakePage page;
    DocumentController controller(nullptr, &page, false);
    page.sayReady();
    // An editor of 30 rows that scrolls as little as it must to show its caret.
    double top = editorTop;
    QList<int> carets;
    const auto scrolled = [&](double line) {
        top = line;
        controller.editorDidScroll(line);
    };
    controller.setEditor({[&top] { return top; }, scrolled,
                          [&](int line) {
                              carets.append(line);
                              if (line < top)
                                  scrolled(line);
                              else if (line >= top + 30)
                                  scrolled(line - 29);
                          }});
    page.say({{u"type"_s, u"topLine"_s}, {u"line"_s, 1234.5}, {u"user"_s, true}});
    QTest::qWait(DocumentController::scrollQuietMilliseconds + 50);
    page.scripts.clear();
    controller.toggleMode();
    QTest::qWait(300);
    QCOMPARE(carets, QList<int>{1234});
    QVERIFY2(top >= 1234 && top <= 1235, qPrintable(QString::number(top)));
    // The page is never sent anywhere but the line it showed.
    for (const QString &script : std::as_const(page.scripts)) {
        if (!script.startsWith(u"mv.scrollToLine("_s))
            continue;
        const double line = script.mid(16).chopped(1).toDouble();
        QVERIFY2(line >= 1234 && line <= 1235, qPrintable(script));
    }
}

void TestDocumentControllerCore::switchingBackGivesThePageItsPlaceUnlessTheEditorMoved_data()
{
    QTest::addColumn<double>("userScrollsTo");
    QTest::addColumn<double>("pageGoesTo");
    // The page showed the text's last lines: the editor cannot bring its line to the top.
    QTest::newRow("left as it landed") << -1.0 << 1234.5;
    QTest::newRow("scrolled by the reader") << 900.0 << 900.0;
}

void TestDocumentControllerCore::switchingBackGivesThePageItsPlaceUnlessTheEditorMoved()
{
    QFETCH(double, userScrollsTo);
    QFETCH(double, pageGoesTo);
    FakePage page;
    DocumentController controller(nullptr, &page, false);
    page.sayReady();
    // An editor of 30 rows over a text of 1230 lines: its top stops at line 1200.
    double top = 0;
    const auto scrolled = [&](double line) {
        top = std::min(line, 1200.0);
        controller.editorDidScroll(top);
    };
    controller.setEditor({[&top] { return top; }, scrolled, [](int) {}});
    page.say({{u"type"_s, u"topLine"_s}, {u"line"_s, 1234.5}, {u"user"_s, true}});
    QTest::qWait(DocumentController::scrollQuietMilliseconds + 50);
    controller.toggleMode();
    QTest::qWait(300);
    QCOMPARE(top, 1200.0);
    if (userScrollsTo >= 0)
        scrolled(userScrollsTo);
    page.scripts.clear();
    controller.toggleMode();
    QCOMPARE(page.scripts.value(0), u"mv.scrollToLine(%1)"_s.arg(pageGoesTo));
}

void TestDocumentControllerCore::zoomStepsAndResets()
{
    FakePage page;
    DocumentController controller(nullptr, &page, false);
    Preferences::shared().setValue(u"textScale"_s, 1.5);
    controller.zoom(-0.1);
    QCOMPARE(Preferences::shared().textScale(), 1.4);
    controller.zoom(std::nullopt);
    QCOMPARE(Preferences::shared().textScale(), 1.0);
}

QTEST_GUILESS_MAIN(TestDocumentControllerCore)
#include "tst_documentcontrollercore.moc"
