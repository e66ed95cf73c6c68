#include "SearchCommands.h"

#include "document/TabPanels.h"
#include "DocumentTab.h"
#include "DocumentWindow.h"
#include "RevealWhenReady.h"
#include "search/ProjectRoot.h"
#include "search/QuickOpenPanel.h"
#include "search/SearchPanel.h"

#include <QAction>
#include <QCoreApplication>
#include <QPlainTextEdit>

namespace Lumo::App {

using Lumo::Document::TabPanels;
using Lumo::Search::PanelOverlay;
using Lumo::Search::QuickOpenPanel;
using Lumo::Search::SearchPanel;
namespace ProjectRoot = Lumo::Search::ProjectRoot;

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

void create(DocumentWindow *window)
{
    auto *quickOpen =
        new QAction(QCoreApplication::translate("SearchCommands", "Open Q&uickly…"), window);
    quickOpen->setObjectName(QStringLiteral("openQuickly"));
    quickOpen->setShortcut(QKeySequence(QCoreApplication::translate("SearchCommands", "Ctrl+P")));
    QObject::connect(quickOpen, &QAction::triggered, window, [window] {
        if (DocumentTab *tab = window->currentTab())
            tab->panels()->setShowQuickOpen(true);
    });
    window->needsDocument(quickOpen);

    auto *search =
        new QAction(QCoreApplication::translate("SearchCommands", "Find &in Project…"), window);
    search->setObjectName(QStringLiteral("findInProject"));
    search->setShortcut(
        QKeySequence(QCoreApplication::translate("SearchCommands", "Ctrl+Shift+F")));
    QObject::connect(search, &QAction::triggered, window, [window] {
        if (DocumentTab *tab = window->currentTab())
            tab->panels()->setShowSearch(true);
    });
    window->needsDocument(search);
}

QString projectRootOf(const DocumentTab *tab)
{
    // The sidebar's folder comes first once the sidebar has one.
    return ProjectRoot::choose(tab->controller()->sidebarRoot(), documentPath(tab));
}

void attachPanels(DocumentTab *tab)
{
    TabPanels *panels = tab->panels();
    auto *quickOpen = new QuickOpenPanel(tab);
    auto *search = new SearchPanel(tab);
    QObject::connect(panels, &TabPanels::showQuickOpenChanged, quickOpen,
                     [tab, panels, quickOpen](bool show) {
                         if (!show) {
                             quickOpen->dismiss();
                             tab->focusDocument(true);
                             return;
                         }
                         panels->setShowSearch(false);
                         quickOpen->open(projectRootOf(tab), documentPath(tab));
                     });
    QObject::connect(panels, &TabPanels::showSearchChanged, search,
                     [tab, panels, search](bool show) {
                         if (!show) {
                             search->dismiss();
                             tab->focusDocument(true);
                             return;
                         }
                         panels->setShowQuickOpen(false);
                         search->open(projectRootOf(tab));
                     });
    QObject::connect(quickOpen, &PanelOverlay::closeRequested, panels,
                     [panels] { panels->setShowQuickOpen(false); });
    QObject::connect(search, &PanelOverlay::closeRequested, panels,
                     [panels] { panels->setShowSearch(false); });
    QObject::connect(quickOpen, &QuickOpenPanel::fileChosen, tab,
                     [tab, panels](const QString &path, bool replacingCurrent) {
                         panels->setShowQuickOpen(false);
                         openFile(tab, path, -1, replacingCurrent);
                     });
    QObject::connect(search, &SearchPanel::hitChosen, tab,
                     [tab, panels](const QString &path, int line, bool replacingCurrent) {
                         panels->setShowSearch(false);
                         openFile(tab, path, line, replacingCurrent);
                     });
}

} // namespace SearchCommands

} // namespace Lumo::App
