#include "WindowProbe.h"

#include "DocumentTab.h"
#include "DocumentWindow.h"

#include <cstdio>
#include <QApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTabBar>
#include <QTabWidget>

namespace Lumo::App::WindowProbe {
namespace {

// The part of the window that holds the keyboard, named by the widget class it is in.
QString focusRole(const DocumentWindow *window)
{
    static const QList<std::pair<const char *, const char *>> roles{
        {"Lumo::Document::FindBar", "find"},
        {"Lumo::Document::OutlinePopover", "outline"},
        {"Lumo::Search::QuickOpenPanel", "quickOpen"},
        {"Lumo::Search::SearchPanel", "search"},
        {"Lumo::Workspace::SidebarView", "sidebar"},
        {"Lumo::Editor::EditorView", "editor"},
        {"QWebEngineView", "page"}};
    const QWidget *focus = QApplication::focusWidget();
    if (!focus)
        return QStringLiteral("none");
    // Popups (the outline) are windows of their own, children of this one.
    const QWidget *owner = focus;
    while (owner && owner != window)
        owner = owner->parentWidget();
    if (!owner)
        return QStringLiteral("elsewhere");
    for (const QWidget *widget = focus; widget; widget = widget->parentWidget()) {
        for (const auto &[className, role] : roles) {
            if (widget->inherits(className))
                return QLatin1String(role);
        }
    }
    return QLatin1String(focus->metaObject()->className());
}

} // namespace

QJsonObject state(const DocumentWindow *window)
{
    QJsonObject state;
    state.insert(QLatin1String("title"), window->windowTitle());
    state.insert(QLatin1String("modified"), window->isWindowModified());
    state.insert(QLatin1String("active"), window->isActiveWindow());
    state.insert(QLatin1String("focus"), focusRole(window));
    const auto *tabWidget = window->findChild<QTabWidget *>();
    QJsonArray names;
    for (int i = 0; tabWidget && i < tabWidget->count(); ++i)
        names.append(tabWidget->tabText(i));
    state.insert(QLatin1String("tabs"), names);
    state.insert(QLatin1String("current"), tabWidget ? tabWidget->currentIndex() : -1);
    if (const DocumentTab *tab = window->currentTab())
        state.insert(QLatin1String("tab"), tab->probe());
    return state;
}

void print(const DocumentWindow *window)
{
    std::fprintf(stdout, "Lumo debug state: %s\n",
                 QJsonDocument(state(window)).toJson(QJsonDocument::Compact).constData());
    std::fflush(stdout);
}

} // namespace Lumo::App::WindowProbe
