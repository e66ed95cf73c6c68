#include "WorkspaceCommands.h"

#include "document/DocumentTab.h"
#include "document/DocumentWindow.h"
#include "FolderOpener.h"

#include <QAction>
#include <QFileDialog>
#include <QFileInfo>
#include <QMenu>

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
