#include "WorkspaceCommands.h"

#include "base/DebugHooks.h"
#include "base/Preferences.h"
#include "DocumentTab.h"
#include "DocumentWindow.h"
#include "FolderOpener.h"

#include <cstdio>
#include <QAction>
#include <QApplication>
#include <QFileDialog>
#include <QFileInfo>
#include <QMenu>
#include <QTimer>

namespace {

// "lumoapp.debug.openPanelCheck": opens the Open dialog as the user would, and a
// second later prints whether a dialog is up and whether it takes folders.
void checkOpenPanel(DocumentWindow *window, QAction *open)
{
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

} // namespace

namespace WorkspaceCommands {

void chooseFolder(QWidget *widget)
{
    auto *window = qobject_cast<DocumentWindow *>(widget->window());
    if (!window)
        return;
    QFileDialog *dialog = FolderOpener::folderDialog(window);
    if (const DocumentTab *tab = window->currentTab(); tab && !tab->document()->isUntitled())
        dialog->setDirectory(QFileInfo(tab->document()->path()).absolutePath());
    QObject::connect(dialog, &QFileDialog::fileSelected, window, [window](const QString &path) {
        Q_EMIT window->openFolderRequested(path, window);
    });
    dialog->open();
}

QList<QAction *> addTo(DocumentWindow *window, QMenu *file, QAction *before, QMenu *view,
                       QAction *sidebar)
{
    auto *openFolder = new QAction(DocumentWindow::tr("Open &Folder…"), window);
    openFolder->setShortcut(QKeySequence(DocumentWindow::tr("Ctrl+Alt+O")));
    QObject::connect(openFolder, &QAction::triggered, window, [window] { chooseFolder(window); });
    file->insertAction(before, openFolder);
    if (Preferences::shared().debugHooks()) {
        QAction *open = nullptr;
        for (QAction *action : file->actions()) {
            if (action->shortcut() == QKeySequence(QKeySequence::Open))
                open = action;
        }
        QObject::connect(&DebugHooks::shared(), &DebugHooks::posted, window,
                         [window, open](const QString &name) {
                             if (open && name == QLatin1String("lumoapp.debug.openPanelCheck"))
                                 checkOpenPanel(window, open);
                         });
    }

    auto *reveal = new QAction(DocumentWindow::tr("&Reveal in Sidebar"), window);
    reveal->setShortcut(QKeySequence(DocumentWindow::tr("Ctrl+Shift+J")));
    QObject::connect(reveal, &QAction::triggered, window, [window] {
        if (DocumentTab *tab = window->currentTab())
            tab->controller()->revealInSidebar();
    });
    const QList<QAction *> items = view->actions();
    const qsizetype at = items.indexOf(sidebar);
    view->insertAction(at >= 0 && at + 1 < items.size() ? items.at(at + 1) : nullptr, reveal);
    return {reveal};
}

} // namespace WorkspaceCommands
