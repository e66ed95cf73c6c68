#include "DebugHookRouter.h"

#include "base/DebugHooks.h"
#include "document/DocumentExport.h"
#include "document/PreviewView.h"
#include "document/TabPanels.h"
#include "DocumentTab.h"
#include "DocumentWindow.h"
#include "FolderOpener.h"
#include "WindowProbe.h"

#include <cstdio>
#include <QAction>
#include <QApplication>
#include <QFileDialog>
#include <QTimer>

namespace Lumo::App {

using Lumo::Base::Appearance;
using Lumo::Base::DebugHooks;
using Lumo::Document::DocumentController;
namespace DocumentExport = Lumo::Document::DocumentExport;

namespace {

QString hook(const char *name)
{
    return QStringLiteral("lumoapp.debug.") + QLatin1String(name);
}

void reportExport(const QString &path, bool ok, const QString &error)
{
    if (!ok)
        std::fprintf(stdout, "Lumo export failed: %s: %s\n", qUtf8Printable(path),
                     qUtf8Printable(error));
    std::fflush(stdout);
}

// Opens the Open dialog as the user would, and a second later prints whether a
// dialog is up and whether it takes folders.
void checkOpenPanel(DocumentWindow *window)
{
    auto *open = window->findChild<QAction *>(QStringLiteral("open"));
    if (!open)
        return;
    open->trigger();
    QTimer::singleShot(1000, window, [] {
        QFileDialog *dialog = nullptr;
        for (QWidget *widget : QApplication::topLevelWidgets()) {
            if (auto *candidate = qobject_cast<QFileDialog *>(widget);
                candidate && widget->isVisible())
                dialog = candidate;
        }
        std::fprintf(stdout, "panel=%s folders=%s\n", dialog ? "true" : "false",
                     dialog && FolderOpener::acceptsFolders(dialog) ? "true" : "false");
        std::fflush(stdout);
        if (dialog)
            dialog->reject();
    });
}

// "path|appearance", split once; anything but two pieces asks for nothing.
void exportPDF(DocumentTab *tab, const QString &argument)
{
    const qsizetype bar = argument.indexOf(QLatin1Char('|'));
    QStringList pieces{argument.left(bar), argument.mid(bar + 1)};
    pieces.removeAll(QString());
    if (bar < 0 || pieces.size() != 2)
        return;
    const Appearance appearance = pieces.at(1).contains(QLatin1String("dark"), Qt::CaseInsensitive)
                                      ? Appearance::Dark
                                      : Appearance::Light;
    const QString path = pieces.at(0);
    DocumentExport::writePDF(
        tab->controller(), tab->view()->previewPage(), path, appearance,
        [path](bool ok, const QString &error) { reportExport(path, ok, error); });
}

} // namespace

DebugHookRouter::DebugHookRouter(std::function<DocumentWindow *()> activeWindow, QObject *parent)
    : QObject(parent)
    , m_activeWindow(std::move(activeWindow))
{
    connect(&DebugHooks::shared(), &DebugHooks::posted, this, &DebugHookRouter::route);
}

void DebugHookRouter::route(const QString &name, const QString &argument)
{
    if (name == hook("platform")) {
        // Which windowing system Lumo runs on, and the application id a compositor
        // matches with the desktop entry (for its icon and name).
        std::fprintf(stdout, "Lumo platform: %s, app id %s\n",
                     qUtf8Printable(QGuiApplication::platformName()),
                     qUtf8Printable(QGuiApplication::desktopFileName()));
        std::fflush(stdout);
        return;
    }
    if (name == hook("openURL")) {
        if (!argument.isEmpty())
            Q_EMIT openRequested(argument);
        return;
    }
    // What every open page says, where "js" asks only the active one.
    if (name == hook("jsEveryPage")) {
        if (!argument.isEmpty()) {
            for (DocumentController *controller : DocumentController::registry())
                controller->call(argument);
        }
        return;
    }
    DocumentWindow *window = m_activeWindow();
    if (!window)
        return;
    if (name == hook("state")) {
        WindowProbe::print(window);
        return;
    }
    if (name == hook("openPanelCheck")) {
        checkOpenPanel(window);
        return;
    }
    DocumentTab *tab = window->currentTab();
    if (!tab)
        return;
    DocumentController *controller = tab->controller();
    if (name == hook("toggleMode")) {
        controller->toggleMode();
    } else if (name == hook("exportHTML") && !argument.isEmpty()) {
        DocumentExport::writeHTML(controller, argument, [argument](bool ok, const QString &error) {
            reportExport(argument, ok, error);
        });
    } else if (name == hook("js") && !argument.isEmpty()) {
        controller->call(argument);
    } else if (name == hook("openFile") && !argument.isEmpty()) {
        controller->open(argument, true);
    } else if (name == hook("quickOpen")) {
        tab->panels()->setShowQuickOpen(true);
    } else if (name == hook("search")) {
        tab->panels()->setShowSearch(true);
    } else if (name == hook("exportPDF")) {
        exportPDF(tab, argument);
    } else if (name == hook("copyRich")) {
        DocumentExport::copyRichText(controller);
    }
}

} // namespace Lumo::App
