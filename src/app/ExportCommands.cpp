#include "ExportCommands.h"

#include "base/Brand.h"
#include "base/SaveFolder.h"
#include "base/WarningAlert.h"
#include "document/PDFPrint.h"
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
    QPointer<DocumentController> controller = tab->controller();
    QObject::connect(
        dialog, &QFileDialog::fileSelected, window,
        [window, controller, keepDark](const QString &path) {
            if (!controller)
                return;
            auto busy = std::make_shared<BusyCursor>();
            controller->runPrint(
                path, keepDark->isChecked() ? Appearance::Dark : Appearance::Light,
                [window = QPointer<DocumentWindow>(window), path, busy](bool ok,
                                                                        const QString &error) {
                    if (!ok && window)
                        WarningAlert::show(
                            window,
                            tr("“%1” could not be exported.").arg(QFileInfo(path).fileName()),
                            error);
                });
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
    QPointer<DocumentController> controller = tab->controller();
    QObject::connect(dialog, &QDialog::accepted, window, [window, controller, printer] {
        if (!controller || !controller->webView())
            return;
        auto busy = std::make_shared<BusyCursor>();
        PDFPrint::toPrinter(controller->webView(), printer.get(),
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
    tab->controller()->copyRichText(
        [window = QPointer<DocumentWindow>(window)](bool ok, const QString &error) {
            if (!ok && window)
                WarningAlert::show(window, tr("The document could not be copied."), error);
        });
}

} // namespace

QList<QAction *> addTo(DocumentWindow *window, QMenu *file, QAction *exportHTML, QMenu *edit)
{
    auto *pdf = new QAction(tr("Export as &PDF…"), window);
    pdf->setShortcut(QKeySequence(tr("Ctrl+Shift+E")));
    QObject::connect(pdf, &QAction::triggered, window, [window] { exportPDF(window); });
    file->insertAction(exportHTML, pdf);

    // Print goes after Export as HTML, before whatever follows it.
    const QList<QAction *> actions = file->actions();
    const qsizetype at = actions.indexOf(exportHTML);
    auto *printAction = new QAction(tr("&Print…"), window);
    printAction->setShortcut(QKeySequence(tr("Ctrl+Alt+P")));
    QObject::connect(printAction, &QAction::triggered, window, [window] { print(window); });
    file->insertAction(actions.value(at + 1), printAction);

    auto *rich = new QAction(tr("Copy as &Rich Text"), window);
    rich->setShortcut(QKeySequence(tr("Ctrl+Shift+C")));
    QObject::connect(rich, &QAction::triggered, window, [window] { copyRich(window); });
    const QList<QAction *> editActions = edit->actions();
    edit->insertAction(editActions.value(0), rich);
    edit->insertSeparator(editActions.value(0));
    return {pdf, printAction, rich};
}

} // namespace ExportCommands
