#include "WorkspaceCommands.h"

#include "document/TabPanels.h"
#include "DocumentTab.h"
#include "DocumentWindow.h"
#include "FolderOpener.h"

#include <QAction>
#include <QFileDialog>
#include <QFileInfo>

namespace Lumo::App::WorkspaceCommands {

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

void create(DocumentWindow *window)
{
    auto *openFolder = new QAction(DocumentWindow::tr("Open &Folder…"), window);
    openFolder->setObjectName(QStringLiteral("openFolder"));
    openFolder->setShortcut(QKeySequence(DocumentWindow::tr("Ctrl+Alt+O")));
    QObject::connect(openFolder, &QAction::triggered, window, [window] { chooseFolder(window); });

    auto *reveal = new QAction(DocumentWindow::tr("&Reveal in Sidebar"), window);
    reveal->setObjectName(QStringLiteral("revealInSidebar"));
    reveal->setShortcut(QKeySequence(DocumentWindow::tr("Ctrl+Shift+J")));
    QObject::connect(reveal, &QAction::triggered, window, [window] {
        if (DocumentTab *tab = window->currentTab())
            tab->panels()->revealInSidebar();
    });
    window->needsDocument(reveal);
}

} // namespace Lumo::App::WorkspaceCommands
