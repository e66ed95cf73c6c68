#include "WindowMenus.h"

#include "DesktopCommands.h"
#include "DocumentTab.h"
#include "DocumentWindow.h"
#include "EditCommands.h"
#include "editor/FormatMenu.h"
#include "ExportCommands.h"
#include "HelpMenu.h"
#include "PreferenceCommands.h"
#include "SearchCommands.h"
#include "WorkspaceCommands.h"

#include <QAction>
#include <QCoreApplication>
#include <QMenu>
#include <QMenuBar>
#include <QToolBar>

namespace Lumo::App::WindowMenus {
namespace {

// One menu: its name, its title, and its commands by name, "|" for a separator. A
// name may be a submenu's.
struct Layout
{
    const char *name;
    const char *context;
    const char *title;
    QList<const char *> items;
};

const Layout menus[] = {
    {"fileMenu",
     "Lumo::App::DocumentWindow",
     QT_TRANSLATE_NOOP("Lumo::App::DocumentWindow", "&File"),
     {"new", "newWindow", "open", "openFolder", "openQuickly", "openRecent", "|", "closeTab",
      "save", "saveAs", "revert", "|", "exportPdf", "exportHtml", "print", "|", "closeWindow",
      "quit"}},
    {"editMenu",
     "Lumo::App::DocumentWindow",
     QT_TRANSLATE_NOOP("Lumo::App::DocumentWindow", "&Edit"),
     {"undo", "redo", "|", "cut", "copy", "paste", "selectAll", "|", "copyRichText", "|", "find",
      "findNext", "findPrevious", "findInProject", "|", "settings", "|", "makeDefault",
      "installCommandLineTool"}},
    {"formatMenu",
     "FormatMenu",
     QT_TRANSLATE_NOOP("FormatMenu", "F&ormat"),
     {"bold", "italic", "strikethrough", "code", "link"}},
    {"viewMenu",
     "Lumo::App::DocumentWindow",
     QT_TRANSLATE_NOOP("Lumo::App::DocumentWindow", "&View"),
     {"toggleMode", "outline", "toggleSidebar", "revealInSidebar", "followChanges", "|",
      "themeMenu", "appearanceMenu", "useCustomCss", "editCustomCss", "|", "biggerText",
      "smallerText", "actualSize", "|", "nextTab", "previousTab"}},
    {"helpMenu",
     "HelpMenu",
     QT_TRANSLATE_NOOP("HelpMenu", "&Help"),
     {"keyboardShortcuts", "|", "about"}},
};

// The window's command or submenu of that name.
QAction *command(DocumentWindow *window, const char *name)
{
    const QString objectName = QLatin1String(name);
    if (auto *menu = window->findChild<QMenu *>(objectName, Qt::FindDirectChildrenOnly))
        return menu->menuAction();
    auto *action = window->findChild<QAction *>(objectName, Qt::FindDirectChildrenOnly);
    Q_ASSERT_X(action, "WindowMenus", name);
    return action;
}

} // namespace

void build(DocumentWindow *window)
{
    WorkspaceCommands::create(window);
    SearchCommands::create(window);
    ExportCommands::create(window);
    EditCommands::create(window);
    PreferenceCommands::create(window);
    DesktopCommands::create(window);
    HelpMenu::create(window);
    Lumo::Editor::addFormatCommands(window, [window] {
        DocumentTab *tab = window->currentTab();
        return tab ? tab->editor() : nullptr;
    });

    for (const Layout &layout : menus) {
        QMenu *menu =
            window->menuBar()->addMenu(QCoreApplication::translate(layout.context, layout.title));
        menu->setObjectName(QLatin1String(layout.name));
        for (const char *item : layout.items) {
            if (qstrcmp(item, "|") == 0)
                menu->addSeparator();
            else if (QAction *action = command(window, item))
                menu->addAction(action);
        }
    }

    QToolBar *toolbar =
        window->addToolBar(QCoreApplication::translate("Lumo::App::DocumentWindow", "Document"));
    toolbar->setObjectName(QStringLiteral("documentToolbar"));
    toolbar->setMovable(false);
    toolbar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    toolbar->addAction(command(window, "outline"));
    toolbar->addAction(command(window, "toggleMode"));
}

} // namespace Lumo::App::WindowMenus
