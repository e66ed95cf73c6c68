#include "SearchCommands.h"

#include "DocumentTab.h"
#include "DocumentWindow.h"
#include "RevealWhenReady.h"
#include "search/ProjectRoot.h"
#include "search/QuickOpenPanel.h"
#include "search/SearchPanel.h"

#include <QAction>
#include <QCoreApplication>
#include <QMenu>
#include <QPlainTextEdit>

namespace SearchCommands {
namespace {

QString documentPath(const DocumentTab *tab)
{
    return tab->document()->isUntitled() ? QString() : tab->document()->path();
}

// Opens the file in place of the tab's document (in a new tab when asked, or when
// the document holds edits that replacing it would throw away), or shows the tab
// that has it already; then brings `line` to the top once the file has rendered.
void openFile(DocumentTab *tab, const QString &path, int line, bool replacingCurrent)
{
    const bool keepCurrent = !tab->document()->canBeReplaced();
    auto *window = qobject_cast<DocumentWindow *>(tab->window());
    if (DocumentTab *existing = window ? window->tabFor(path) : nullptr)
        window->showTab(existing);
    else
        tab->controller()->open(path, replacingCurrent && !keepCurrent);
    RevealWhenReady::line(path, line);
}

} // namespace

QList<QAction *> addTo(QMenu *file, QAction *fileAnchor, QMenu *edit, QAction *editAnchor,
                       DocumentWindow *window)
{
    auto *quickOpen =
        new QAction(QCoreApplication::translate("SearchCommands", "Open &Quickly…"), window);
    quickOpen->setShortcut(QKeySequence(QCoreApplication::translate("SearchCommands", "Ctrl+P")));
    QObject::connect(quickOpen, &QAction::triggered, window, [window] {
        if (DocumentTab *tab = window->currentTab())
            tab->controller()->setShowQuickOpen(true);
    });
    file->insertAction(fileAnchor, quickOpen);

    auto *search =
        new QAction(QCoreApplication::translate("SearchCommands", "Find in &Project…"), window);
    search->setShortcut(
        QKeySequence(QCoreApplication::translate("SearchCommands", "Ctrl+Shift+F")));
    QObject::connect(search, &QAction::triggered, window, [window] {
        if (DocumentTab *tab = window->currentTab())
            tab->controller()->setShowSearch(true);
    });
    const QList<QAction *> items = edit->actions();
    const qsizetype after = items.indexOf(editAnchor);
    edit->insertAction(after >= 0 ? items.value(after + 1) : nullptr, search);
    return {quickOpen, search};
}

QString projectRootOf(const DocumentTab *tab)
{
    // The sidebar's folder comes first once the sidebar has one.
    return ProjectRoot::choose(tab->controller()->sidebarRoot(), documentPath(tab));
}

void attachPanels(DocumentTab *tab)
{
    DocumentController *controller = tab->controller();
    auto *quickOpen = new QuickOpenPanel(tab);
    auto *search = new SearchPanel(tab);
    QObject::connect(controller, &DocumentController::showQuickOpenChanged, quickOpen,
                     [tab, controller, quickOpen](bool show) {
                         if (!show) {
                             quickOpen->dismiss();
                             tab->focusDocument(true);
                             return;
                         }
                         controller->setShowSearch(false);
                         quickOpen->open(projectRootOf(tab), documentPath(tab));
                     });
    QObject::connect(controller, &DocumentController::showSearchChanged, search,
                     [tab, controller, search](bool show) {
                         if (!show) {
                             search->dismiss();
                             tab->focusDocument(true);
                             return;
                         }
                         controller->setShowQuickOpen(false);
                         search->open(projectRootOf(tab));
                     });
    QObject::connect(quickOpen, &PanelOverlay::closeRequested, controller,
                     [controller] { controller->setShowQuickOpen(false); });
    QObject::connect(search, &PanelOverlay::closeRequested, controller,
                     [controller] { controller->setShowSearch(false); });
    QObject::connect(quickOpen, &QuickOpenPanel::fileChosen, tab,
                     [tab, controller](const QString &path, bool replacingCurrent) {
                         controller->setShowQuickOpen(false);
                         openFile(tab, path, -1, replacingCurrent);
                     });
    QObject::connect(search, &SearchPanel::hitChosen, tab,
                     [tab, controller](const QString &path, int line, bool replacingCurrent) {
                         controller->setShowSearch(false);
                         openFile(tab, path, line, replacingCurrent);
                     });
}

} // namespace SearchCommands
