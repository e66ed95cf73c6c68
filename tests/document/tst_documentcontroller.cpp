// The controller against a real page: what the page makes of the base it is given,
// and a page whose renderer dies. The rules alone are in tst_documentcontrollercore.
#include "document/DocumentController.h"
#include "document/PageRecovery.h"
#include "document/PreviewView.h"
#include "support/WebTest.h"

#include <csignal>
#include <QFile>

using namespace Lumo::Document;

using namespace Qt::StringLiterals;

class TestDocumentController : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void baseIsTheDocumentsFolderOrNull_data();
    void baseIsTheDocumentsFolderOrNull();
    void aRendererKilledAgainAndAgainComesBackEachTime();
    void aPageThatKeepsDyingGivesUpAndLeavesTheDocumentEditable();

private:
    QString write(const QString &name, const QByteArray &bytes);
    DocumentController *open(OpenDocument *document);
    PreviewPage *page(DocumentController *controller) const
    {
        return m_views.value(m_controllers.indexOf(controller))->previewPage();
    }
    QVariant eval(DocumentController *controller, const QString &script)
    {
        return WebTest::evaluate(page(controller), script);
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    QList<DocumentController *> m_controllers;
    QList<PreviewView *> m_views;
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
    qDeleteAll(m_views);
    m_views.clear();
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
    auto *view = new PreviewView;
    auto *controller = new DocumentController(document, view->connection(), false);
    document->setParent(controller);
    view->attach(controller);
    view->resize(700, 500);
    view->show();
    m_controllers.append(controller);
    m_views.append(view);
    return controller;
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

void TestDocumentController::aRendererKilledAgainAndAgainComesBackEachTime()
{
    auto *document = new OpenDocument(u"# Round 0"_s);
    DocumentController *controller = open(document);
    QSignalSpy rendered(controller, &DocumentController::renderCompleted);
    QTRY_COMPARE_WITH_TIMEOUT(rendered.count(), 1, 20000);
    // A new renderer sometimes comes up without the page's relay and never says
    // "ready"; the page is then loaded again.
    for (int round = 1; round <= 15; ++round) {
        const qint64 renderer = page(controller)->renderProcessPid();
        QVERIFY(renderer > 0);
        QCOMPARE(::kill(static_cast<pid_t>(renderer), SIGKILL), 0);
        QTRY_VERIFY(!controller->isReady());
        document->setText(u"# Round %1"_s.arg(round));
        // Well inside the wait for a load that never finishes: a load that finished
        // without "ready" is retried soon after.
        QTRY_VERIFY_WITH_TIMEOUT(controller->isReady() && controller->completedRevision() ==
                                                              controller->renderRevision(),
                                 PageRecovery::readyTimeoutMilliseconds * 2 / 3);
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
    connect(page(controller), &PreviewPage::messageReceived, this, [&](const QJsonObject &message) {
        if (message.value(u"type"_s).toString() != u"ready"_s)
            return;
        ++loads;
        ::kill(static_cast<pid_t>(page(controller)->renderProcessPid()), SIGKILL);
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

LUMO_WEB_TEST_MAIN(TestDocumentController)
#include "tst_documentcontroller.moc"
