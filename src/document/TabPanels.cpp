#include "TabPanels.h"

#include "base/Preferences.h"

namespace Lumo::Document {

using Lumo::Base::Preferences;

TabPanels::TabPanels(QObject *parent)
    : QObject(parent)
    , m_sidebarVisible(Preferences::shared().showSidebar())
{}

void TabPanels::publish(bool &field, bool value, void (TabPanels::*changed)(bool))
{
    if (field == value)
        return;
    field = value;
    Q_EMIT(this->*changed)(value);
}

void TabPanels::setShowOutline(bool show)
{
    publish(m_showOutline, show, &TabPanels::showOutlineChanged);
}

void TabPanels::setShowFind(bool show)
{
    publish(m_showFind, show, &TabPanels::showFindChanged);
}

void TabPanels::setSidebarVisible(bool visible)
{
    publish(m_sidebarVisible, visible, &TabPanels::sidebarVisibleChanged);
}

void TabPanels::toggleSidebar()
{
    setSidebarVisible(!m_sidebarVisible);
    Preferences::shared().setShowSidebar(m_sidebarVisible);
}

void TabPanels::revealInSidebar()
{
    setSidebarVisible(true);
    ++m_revealRequest;
    Q_EMIT revealRequestChanged(m_revealRequest);
}

void TabPanels::setShowQuickOpen(bool show)
{
    publish(m_showQuickOpen, show, &TabPanels::showQuickOpenChanged);
}

void TabPanels::setShowSearch(bool show)
{
    publish(m_showSearch, show, &TabPanels::showSearchChanged);
}

} // namespace Lumo::Document
