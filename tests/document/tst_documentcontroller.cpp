// The controller against a real page: when renders go out, with what, and what
// happens around changes on disk.
#include "base/Preferences.h"
#include "document/DocumentController.h"
#include "document/PageRecovery.h"
#include "support/WebTest.h"

#include <csignal>
#include <QFile>

using namespace Qt::StringLiterals;

class TestDocumentController : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void aRenderAskedBeforeReadyGoesOutOnce();
    void editBurstsGiveOneRender();
    void baseIsTheDocumentsFolderOrNull_data();
    void baseIsTheDocumentsFolderOrNull();
    void changesOnDisk();
    void staleTaskTogglesAreIgnored();
    void deferredActionsRunOnceAfterTheFirstRender();
    void aCrashedPageComesBack();
    void aRendererKilledAgainAndAgainComesBackEachTime();
    void aPageThatKeepsDyingGivesUpAndLeavesTheDocumentEditable();
    void aDocumentTooLargeToPreviewSaysSo();
    void zoomSteps_data();
    void zoomSteps();

private:
    QString write(const QString &name, const QByteArray &bytes);
    DocumentController *open(OpenDocument *document);
    QVariant eval(DocumentController *controller, const QString &script)
    {
        return WebTest::evaluate(controller->page(), script);
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    QList<DocumentController *> m_controllers;
};

void TestDocumentController::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
}

void TestDocumentController::cleanup()
{
    qDeleteAll(m_controllers);
    m_controllers.clear();
}

QString TestDocumentController::write(const QString &name, const QByteArray &bytes)
{
    const QString path = m_dir->filePath(name);
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.write(bytes);
    return path;
}

DocumentController *TestDocumentController::open(OpenDocument *document)
{
    auto *controller = new DocumentController(document, false);
    document->setParent(controller);
    controller->webView()->resize(700, 500);
    controller->webView()->show();
    m_controllers.append(controller);
    return controller;
}

void TestDocumentController::aRenderAskedBeforeReadyGoesOutOnce()
{
    DocumentController *controller = open(new OpenDocument(u"# Early"_s));
    QSignalSpy rendered(controller, &DocumentController::renderCompleted);
    controller->scheduleRender();
    controller->render();
    controller->scheduleRender(true);
    QVERIFY(!controller->isReady());

    QTRY_COMPARE_WITH_TIMEOUT(rendered.count(), 1, 20000);
    QVERIFY(controller->isReady());
    QTest::qWait(300);
    QCOMPARE(rendered.count(), 1);
    QCOMPARE(controller->renderRevision(), 1);
    QCOMPARE(controller->completedRevision(), 1);
}

void TestDocumentController::editBurstsGiveOneRender()
{
    auto *document = new OpenDocument(u"start"_s);
    DocumentController *controller = open(document);
    QSignalSpy rendered(controller, &DocumentController::renderCompleted);
    QTRY_COMPARE_WITH_TIMEOUT(rendered.count(), 1, 20000);

    for (int i = 0; i < 10; ++i) {
        document->setText(u"start %1"_s.arg(i));
        QTest::qWait(20);
    }
    QTRY_COMPARE(rendered.count(), 2);
    QTest::qWait(300);
    QCOMPARE(rendered.count(), 2);
    QCOMPARE(controller->renderRevision(), 2);
    QCOMPARE(eval(controller, u"document.querySelector('main p').textContent"_s).toString(),
             u"start 9"_s);

    // The same text again is not sent again.
    document->setText(u"start 9 "_s);
    document->setText(u"start 9"_s);
    QTest::qWait(300);
    QCOMPARE(controller->renderRevision(), 2);
}

void TestDocumentController::baseIsTheDocumentsFolderOrNull_data()
{
    QTest::addColumn<bool>("titled");
    QTest::newRow("untitled") << false;
    QTest::newRow("saved file") << true;
}

void TestDocumentController::baseIsTheDocumentsFolderOrNull()
{
    QFETCH(bool, titled);
    const QByteArray text = "![figure](img/pic.png)\n";
    OpenDocument *document = titled ? OpenDocument::open(write(u"doc.md"_s, text), nullptr)
                                    : new OpenDocument(QString::fromUtf8(text));
    QVERIFY(document);
    DocumentController *controller = open(document);
    QSignalSpy rendered(controller, &DocumentController::renderCompleted);
    QTRY_COMPARE_WITH_TIMEOUT(rendered.count(), 1, 20000);

    const QString source =
        eval(controller, u"document.querySelector('main img').getAttribute('src')"_s).toString();
    if (titled)
        QCOMPARE(QUrl(source).path(), m_dir->filePath(u"img/pic.png"_s));
    else
        QVERIFY2(!source.startsWith(u"mv-asset:"_s), qPrintable(source));
}

void TestDocumentController::changesOnDisk()
{
    const QString path = write(u"doc.md"_s, "one\n\ntwo\n");
    OpenDocument *document = OpenDocument::open(path, nullptr);
    DocumentController *controller = open(document);
    QSignalSpy rendered(controller, &DocumentController::renderCompleted);
    QTRY_COMPARE_WITH_TIMEOUT(rendered.count(), 1, 20000);
    QCOMPARE(eval(controller, u"document.querySelectorAll('main .lumo-changed').length"_s).toInt(),
             0);

    // Without unsaved edits the document follows the file, and the page shows what changed.
    write(u"doc.md"_s, "one\n\ntwo, edited elsewhere\n");
    QTRY_COMPARE(rendered.count(), 2);
    QCOMPARE(document->text(), u"one\n\ntwo, edited elsewhere\n"_s);
    QCOMPARE(eval(controller, u"document.querySelectorAll('main .lumo-changed').length"_s).toInt(),
             1);
    QVERIFY(!controller->diskChangePending());

    // With unsaved edits it asks instead.
    document->setText(u"mine\n"_s);
    write(u"doc.md"_s, "theirs\n");
    QTRY_VERIFY(controller->diskChangePending());
    QCOMPARE(document->text(), u"mine\n"_s);

    controller->setDiskChangePending(false); // "Keep Mine"
    write(u"doc.md"_s, "theirs again\n");
    QTRY_VERIFY(controller->diskChangePending());

    controller->reloadFromDisk(true); // "Reload"
    QCOMPARE(document->text(), u"theirs again\n"_s);
    QVERIFY(!document->isModified());
    QVERIFY(!controller->diskChangePending());

    // Saving over the outside change settles it.
    document->setText(u"mine at last\n"_s);
    write(u"doc.md"_s, "theirs once more\n");
    QTRY_VERIFY(controller->diskChangePending());
    QVERIFY(document->save());
    QVERIFY(!controller->diskChangePending());
    QTest::qWait(400);
    QVERIFY(!controller->diskChangePending());
    QCOMPARE(document->text(), u"mine at last\n"_s);
}

void TestDocumentController::staleTaskTogglesAreIgnored()
{
    auto *document = new OpenDocument(u"- [ ] a\n- [ ] b\n"_s);
    DocumentController *controller = open(document);
    QSignalSpy rendered(controller, &DocumentController::renderCompleted);
    QTRY_COMPARE_WITH_TIMEOUT(rendered.count(), 1, 20000);

    const auto toggle = [&](int line, qint64 revision) {
        controller->page()->receive(
            u"{\"type\":\"toggleTask\",\"line\":%1,\"checked\":true,\"rev\":%2}"_s.arg(line).arg(
                revision));
    };
    toggle(1, controller->renderRevision() - 1);
    QCOMPARE(document->text(), u"- [ ] a\n- [ ] b\n"_s);
    toggle(1, controller->renderRevision());
    QCOMPARE(document->text(), u"- [ ] a\n- [x] b\n"_s);
    QTRY_COMPARE(rendered.count(), 2);
    toggle(7, controller->renderRevision());
    QCOMPARE(document->text(), u"- [ ] a\n- [x] b\n"_s);
}

void TestDocumentController::deferredActionsRunOnceAfterTheFirstRender()
{
    const QString path = write(u"later.md"_s, "# Later\n");
    int runs = 0;
    qint64 revisionSeen = -1;
    DocumentController *controller = nullptr;
    DocumentController::whenReady(m_dir->path() + u"/./later.md"_s, [&] {
        ++runs;
        revisionSeen = controller ? controller->completedRevision() : -2;
    });
    QCOMPARE(runs, 0);

    controller = open(OpenDocument::open(path, nullptr));
    QTRY_COMPARE_WITH_TIMEOUT(runs, 1, 20000);
    QCOMPARE(revisionSeen, 1);
    controller->document()->setText(u"# Later, edited\n"_s);
    QTRY_COMPARE(controller->completedRevision(), 2);
    QTest::qWait(100);
    QCOMPARE(runs, 1);

    // Already rendered: runs at once.
    DocumentController::whenReady(path, [&] { ++runs; });
    QCOMPARE(runs, 2);
}

void TestDocumentController::aCrashedPageComesBack()
{
    auto *document = new OpenDocument(u"# Survivor"_s);
    DocumentController *controller = open(document);
    QSignalSpy rendered(controller, &DocumentController::renderCompleted);
    QTRY_COMPARE_WITH_TIMEOUT(rendered.count(), 1, 20000);

    const qint64 renderer = controller->page()->renderProcessPid();
    QVERIFY(renderer > 0);
    QCOMPARE(::kill(static_cast<pid_t>(renderer), SIGKILL), 0);
    QTRY_VERIFY(!controller->isReady());
    // Edits made while the page is gone are what the new page shows.
    document->setText(u"# Survivor, edited"_s);
    QTRY_COMPARE_WITH_TIMEOUT(rendered.count(), 2, 20000);
    QVERIFY(controller->isReady());
    QCOMPARE(eval(controller, u"document.querySelector('main h1').textContent"_s).toString(),
             u"Survivor, edited"_s);
}

void TestDocumentController::aRendererKilledAgainAndAgainComesBackEachTime()
{
    auto *document = new OpenDocument(u"# Round 0"_s);
    DocumentController *controller = open(document);
    QSignalSpy rendered(controller, &DocumentController::renderCompleted);
    QTRY_COMPARE_WITH_TIMEOUT(rendered.count(), 1, 20000);
    // A new renderer sometimes comes up without the page's relay and never says
    // "ready"; the page is then loaded again.
    for (int round = 1; round <= 15; ++round) {
        const qint64 renderer = controller->page()->renderProcessPid();
        QVERIFY(renderer > 0);
        QCOMPARE(::kill(static_cast<pid_t>(renderer), SIGKILL), 0);
        QTRY_VERIFY(!controller->isReady());
        document->setText(u"# Round %1"_s.arg(round));
        QTRY_VERIFY_WITH_TIMEOUT(controller->isReady() && controller->completedRevision() ==
                                                              controller->renderRevision(),
                                 30000);
        QCOMPARE(eval(controller, u"document.querySelector('main h1').textContent"_s).toString(),
                 u"Round %1"_s.arg(round));
    }
    QVERIFY(controller->previewProblem().isEmpty());
}

void TestDocumentController::aPageThatKeepsDyingGivesUpAndLeavesTheDocumentEditable()
{
    // Long enough that no render completes before the renderer is gone.
    const QString path = write(
        u"doc.md"_s, "# Doomed\n\n" + QByteArray("Some *words* and `code`.\n\n").repeated(100'000));
    OpenDocument *document = OpenDocument::open(path, nullptr);
    DocumentController *controller = open(document);
    // The renderer dies as soon as the page is ready, as it does for a document that
    // exhausts its memory.
    int loads = 0;
    connect(controller->page(), &PreviewPage::messageReceived, this,
            [&](const QJsonObject &message) {
                if (message.value(u"type"_s).toString() != u"ready"_s)
                    return;
                ++loads;
                ::kill(static_cast<pid_t>(controller->page()->renderProcessPid()), SIGKILL);
            });
    QSignalSpy problem(controller, &DocumentController::previewProblemChanged);
    QTRY_COMPARE_WITH_TIMEOUT(problem.count(), 1, 60000);
    // A load may also die before it is ready; either way the loads are bounded.
    QVERIFY2(loads >= 1 && loads <= PageRecovery::attempts, qPrintable(QString::number(loads)));
    QVERIFY(controller->previewProblem().contains(u"stopped working"_s));
    const int given = loads;
    QTest::qWait(1500);
    QCOMPARE(loads, given);
    QVERIFY(!controller->isReady());

    document->setText(u"# Still mine\n"_s);
    QVERIFY(document->save());
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), "# Still mine\n"_ba);
}

void TestDocumentController::aDocumentTooLargeToPreviewSaysSo()
{
    const QString line = u"Some words of a very long document.\n"_s;
    auto *document =
        new OpenDocument(line.repeated(DocumentController::largestPreview / line.size() + 1));
    DocumentController *controller = open(document);
    QSignalSpy problem(controller, &DocumentController::previewProblemChanged);
    QTRY_COMPARE_WITH_TIMEOUT(problem.count(), 1, 20000);
    QVERIFY(controller->previewProblem().contains(u"too large to preview"_s));
    QCOMPARE(controller->renderRevision(), 0);

    // Cut down to size, it shows.
    document->setText(u"# Small again"_s);
    QSignalSpy rendered(controller, &DocumentController::renderCompleted);
    QTRY_COMPARE_WITH_TIMEOUT(rendered.count(), 1, 20000);
    QVERIFY(controller->previewProblem().isEmpty());
}

void TestDocumentController::zoomSteps_data()
{
    QTest::addColumn<double>("start");
    QTest::addColumn<double>("step");
    QTest::addColumn<double>("expected");
    QTest::newRow("in from 1.95") << 1.95 << 0.1 << 2.0;
    QTest::newRow("in from the top") << 2.0 << 0.1 << 2.0;
    QTest::newRow("out from the bottom") << 0.7 << -0.1 << 0.7;
    QTest::newRow("reset") << 1.6 << 0.0 << 1.0;
}

void TestDocumentController::zoomSteps()
{
    QFETCH(double, start);
    QFETCH(double, step);
    QFETCH(double, expected);
    DocumentController controller(nullptr, false);
    Preferences::shared().setValue(u"textScale"_s, start);
    controller.zoom(step == 0.0 ? std::nullopt : std::optional<double>(step));
    QCOMPARE(Preferences::shared().textScale(), expected);
}

LUMO_WEB_TEST_MAIN(TestDocumentController)
#include "tst_documentcontroller.moc"
