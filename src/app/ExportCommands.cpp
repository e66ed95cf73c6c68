#include "ExportCommands.h"

#include "base/Brand.h"
#include "base/SaveFolder.h"
#include "base/WarningAlert.h"
#include "document/DocumentExport.h"
#include "document/PDFPrint.h"
#include "document/PreviewView.h"
#include "DocumentTab.h"
#include "DocumentWindow.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QGridLayout>
#include <QMenu>
#include <QPointer>
#include <QPrintDialog>
#include <QPrinter>

namespace Lumo::App {

using Lumo::Base::Appearance;
using Lumo::Document::DocumentController;
using Lumo::Document::OpenDocument;
namespace Brand = Lumo::Base::Brand;
namespace DocumentExport = Lumo::Document::DocumentExport;
namespace PDFPrint = Lumo::Document::PDFPrint;
namespace SaveFolder = Lumo::Base::SaveFolder;
namespace WarningAlert = Lumo::Base::WarningAlert;

namespace ExportCommands {

namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("ExportCommands", text);
}

QString proposedPath(DocumentTab *tab, const QString &suffix)
{
    const OpenDocument *document = tab->document();
    const QString folder = SaveFolder::proposedFor(document->path());
    return folder + QLatin1Char('/') + tab->controller()->title() + suffix;
}

// Long prints show a busy pointer over the application until they finish.
class BusyCursor
{
public:
    BusyCursor() { QApplication::setOverrideCursor(Qt::BusyCursor); }
    ~BusyCursor() { QApplication::restoreOverrideCursor(); }
};

// An export's answer: a failure is told in the window, if it is still open.
DocumentExport::Done reportFailure(DocumentWindow *window, const QString &path)
{
    return [window = QPointer<DocumentWindow>(window), path](bool ok, const QString &error) {
        if (!ok && window)
            WarningAlert::show(
                window, tr("“%1” could not be exported.").arg(QFileInfo(path).fileName()), error);
    };
}

void exportHTML(DocumentWindow *window)
{
    DocumentTab *tab = window->currentTab();
    if (!tab)
        return;
    auto *dialog =
        new QFileDialog(window, tr("Export as HTML"), proposedPath(tab, QStringLiteral(".html")),
                        tr("HTML page (*.html *.htm)"));
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setDefaultSuffix(QStringLiteral("html"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    QPointer<DocumentController> controller = tab->controller();
    QObject::connect(dialog, &QFileDialog::fileSelected, window,
                     [window, controller](const QString &path) {
                         if (!controller)
                             return;
                         DocumentExport::writeHTML(controller, path, reportFailure(window, path));
                     });
    dialog->open();
}

void exportPDF(DocumentWindow *window)
{
    DocumentTab *tab = window->currentTab();
    if (!tab)
        return;
    auto *dialog =
        new QFileDialog(window, tr("Export as PDF"), proposedPath(tab, QStringLiteral(".pdf")),
                        tr("PDF document (*.pdf)"));
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setDefaultSuffix(QStringLiteral("pdf"));
    // The platform's own dialog takes no extra controls.
    dialog->setOption(QFileDialog::DontUseNativeDialog);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    auto *keepDark = new QCheckBox(tr("Keep dark appearance"), dialog);
    keepDark->setObjectName(QStringLiteral("keepDarkAppearance"));
    keepDark->setChecked(Brand::currentAppearance() == Appearance::Dark);
    if (auto *grid = qobject_cast<QGridLayout *>(dialog->layout()))
        grid->addWidget(keepDark, grid->rowCount(), 0, 1, grid->columnCount());
    QPointer<DocumentTab> target(tab);
    QObject::connect(dialog, &QFileDialog::fileSelected, window,
                     [window, target, keepDark](const QString &path) {
                         if (!target)
                             return;
                         auto busy = std::make_shared<BusyCursor>();
                         DocumentExport::writePDF(
                             target->controller(), target->view()->previewPage(), path,
                             keepDark->isChecked() ? Appearance::Dark : Appearance::Light,
                             [report = reportFailure(window, path),
                              busy](bool ok, const QString &error) { report(ok, error); });
                     });
    dialog->open();
}

void print(DocumentWindow *window)
{
    DocumentTab *tab = window->currentTab();
    if (!tab)
        return;
    auto printer = std::make_shared<QPrinter>(QPrinter::HighResolution);
    printer->setPageLayout(PDFPrint::pageLayout());
    printer->setDocName(tab->controller()->title());
    auto *dialog = new QPrintDialog(printer.get(), window);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    QPointer<DocumentTab> target(tab);
    QObject::connect(dialog, &QDialog::accepted, window, [window, target, printer] {
        if (!target)
            return;
        auto busy = std::make_shared<BusyCursor>();
        PDFPrint::toPrinter(target->view(), printer.get(),
                            [window = QPointer<DocumentWindow>(window), printer,
                             busy](bool ok, const QString &error) {
                                if (!ok && window)
                                    WarningAlert::show(
                                        window, tr("The document could not be printed."), error);
                            });
    });
    dialog->open();
}

void copyRich(DocumentWindow *window)
{
    DocumentTab *tab = window->currentTab();
    if (!tab)
        return;
    DocumentExport::copyRichText(tab->controller(), [window = QPointer<DocumentWindow>(window)](
                                                        bool ok, const QString &error) {
        if (!ok && window)
            WarningAlert::show(window, tr("The document could not be copied."), error);
    });
}

} // namespace

void create(DocumentWindow *window)
{
    const auto add = [window](const char *name, const QString &text, const QKeySequence &key,
                              void (*run)(DocumentWindow *)) {
        auto *command = new QAction(text, window);
        command->setObjectName(QLatin1String(name));
        command->setShortcut(key);
        QObject::connect(command, &QAction::triggered, window, [window, run] { run(window); });
        window->needsDocument(command);
    };
    add("exportPdf", tr("Export as P&DF…"), QKeySequence(tr("Ctrl+Shift+E")), &exportPDF);
    add("exportHtml", tr("Export as &HTML…"), QKeySequence(tr("Ctrl+Alt+Shift+E")), &exportHTML);
    add("print", tr("&Print…"), QKeySequence(tr("Ctrl+Alt+P")), &print);
    add("copyRichText", tr("Copy as Rich Te&xt"), QKeySequence(tr("Ctrl+Shift+C")), &copyRich);
}

} // namespace ExportCommands

} // namespace Lumo::App
