#include "HeadlessExport.h"

#include "document/DocumentController.h"
#include "document/DocumentExport.h"
#include "document/OpenDocument.h"
#include "document/PageConnection.h"
#include "document/PageScript.h"
#include "document/PreviewPage.h"
#include "document/PreviewView.h"
#include "document/RemoteContentFilter.h"

#include <cstdio>
#include <memory>
#include <QCoreApplication>
#include <QEventLoop>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QTimer>

namespace Lumo::App {

using Lumo::Base::Appearance;
using Lumo::Document::DocumentController;
using Lumo::Document::OpenDocument;
using Lumo::Document::PreviewPage;
using Lumo::Document::PreviewView;
using Lumo::Document::RemoteContentFilter;
namespace DocumentExport = Lumo::Document::DocumentExport;
namespace PageScript = Lumo::Document::PageScript;

namespace HeadlessExport {

namespace {

constexpr int timeoutMilliseconds = 120000;

void complain(const QString &message)
{
    std::fprintf(stderr, "lumo: %s\n", qUtf8Printable(message));
}

QString tr(const char *text)
{
    return QCoreApplication::translate("HeadlessExport", text);
}

// Why the output cannot be written, or nothing when it looks writable.
QString outputProblem(const QString &path)
{
    const QFileInfo output(path);
    if (output.isDir())
        return tr("cannot write %1: it is a folder").arg(path);
    const QFileInfo folder(output.absolutePath());
    if (!folder.isDir())
        return tr("cannot write %1: the folder %2 does not exist").arg(path, folder.filePath());
    if (!folder.isWritable() || (output.exists() && !output.isWritable()))
        return tr("cannot write %1: permission denied").arg(path);
    return {};
}

} // namespace

void prepareEnvironment()
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QByteArray flags = qgetenv("QTWEBENGINE_CHROMIUM_FLAGS");
    if (!flags.contains("--disable-gpu"))
        qputenv("QTWEBENGINE_CHROMIUM_FLAGS", (flags + " --disable-gpu").trimmed());
}

int run(const ExportCommand &command)
{
    // The engine describes its (missing) graphics at length; a script wants errors.
    QLoggingCategory::setFilterRules(QStringLiteral("qt.webenginecontext=false"));
    // Nobody sees this page: nothing remote is fetched for it.
    RemoteContentFilter::forbidAll();
    QString error;
    OpenDocument *document = OpenDocument::open(command.input, &error);
    if (!document) {
        complain(tr("cannot read %1: %2").arg(command.input, error));
        return 1;
    }
    if (const QString problem = outputProblem(command.output); !problem.isEmpty()) {
        delete document;
        complain(problem);
        return 1;
    }
    if (!QFileInfo::exists(PreviewPage::indexUrl().toLocalFile())) {
        delete document;
        complain(tr("the reading page is missing: %1").arg(PreviewPage::indexUrl().toLocalFile()));
        return 1;
    }

    PreviewView view;
    DocumentController controller(document, view.connection(), false);
    document->setParent(&controller);
    view.attach(&controller);
    // Shown on the offscreen platform: the page gets the frames it renders with, and
    // nothing appears on any screen.
    view.resize(900, 1200);
    view.show();

    // Shared with the callbacks, which may still be answered (with a failure) while
    // the controller goes away after the loop.
    struct Outcome
    {
        QEventLoop loop;
        int status = 1;
        bool settled = false;
    };
    auto outcome = std::make_shared<Outcome>();
    const QString input = command.input;
    const auto finish = [outcome, input](bool ok, const QString &failure) {
        if (outcome->settled)
            return;
        outcome->settled = true;
        if (!ok)
            complain(tr("cannot export %1: %2").arg(input, failure));
        outcome->status = ok ? 0 : 1;
        outcome->loop.quit();
    };
    const Appearance appearance = command.dark ? Appearance::Dark : Appearance::Light;
    DocumentController::whenReady(
        command.input, [&controller, &view, &command, appearance, finish] {
            if (command.format == ExportCommand::Format::PDF) {
                DocumentExport::writePDF(&controller, view.previewPage(), command.output,
                                         appearance, finish);
                return;
            }
            controller.page()->callAwaited(
                QStringLiteral("setAppearance"),
                PageScript::json(appearance == Appearance::Dark ? QStringLiteral("dark")
                                                                : QStringLiteral("light")),
                [&controller, &command, finish](const QJsonValue &, const QString &failure) {
                    if (!failure.isEmpty())
                        finish(false, failure);
                    else
                        DocumentExport::writeHTML(&controller, command.output, finish);
                });
        });
    QTimer::singleShot(timeoutMilliseconds, &outcome->loop,
                       [finish] { finish(false, tr("the page did not finish in time")); });
    outcome->loop.exec();
    return outcome->status;
}

} // namespace HeadlessExport

} // namespace Lumo::App
