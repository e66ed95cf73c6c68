#pragma once

#include <QObject>

namespace Lumo::Document {

// Which of a tab's panels are asked for: the page's find bar, the outline, the
// sidebar (and a request to reveal the current file in it), quick open and project
// search. The tab and the window show what is set here; commands set it.
//
// Main thread only. Each change is announced once, and only when the value changes.
class TabPanels final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(TabPanels)
    Q_PROPERTY(bool showOutline READ showOutline WRITE setShowOutline NOTIFY showOutlineChanged)
    Q_PROPERTY(bool showFind READ showFind WRITE setShowFind NOTIFY showFindChanged)
    Q_PROPERTY(bool sidebarVisible READ sidebarVisible WRITE setSidebarVisible NOTIFY
                   sidebarVisibleChanged)
    Q_PROPERTY(int revealRequest READ revealRequest NOTIFY revealRequestChanged)
    Q_PROPERTY(
        bool showQuickOpen READ showQuickOpen WRITE setShowQuickOpen NOTIFY showQuickOpenChanged)
    Q_PROPERTY(bool showSearch READ showSearch WRITE setShowSearch NOTIFY showSearchChanged)

public:
    // The sidebar starts as the "showSidebar" preference says.
    explicit TabPanels(QObject *parent = nullptr);

    bool showOutline() const { return m_showOutline; }
    void setShowOutline(bool show);
    bool showFind() const { return m_showFind; }
    void setShowFind(bool show);
    bool sidebarVisible() const { return m_sidebarVisible; }
    void setSidebarVisible(bool visible);
    // Shows or hides the sidebar, and remembers the choice for new windows.
    void toggleSidebar();
    int revealRequest() const { return m_revealRequest; }
    // Shows the sidebar and asks it to reveal the current file.
    void revealInSidebar();
    bool showQuickOpen() const { return m_showQuickOpen; }
    void setShowQuickOpen(bool show);
    bool showSearch() const { return m_showSearch; }
    void setShowSearch(bool show);

Q_SIGNALS:
    void showOutlineChanged(bool show);
    void showFindChanged(bool show);
    void sidebarVisibleChanged(bool visible);
    void revealRequestChanged(int request);
    void showQuickOpenChanged(bool show);
    void showSearchChanged(bool show);

private:
    void publish(bool &field, bool value, void (TabPanels::*changed)(bool));

    bool m_showOutline = false;
    bool m_showFind = false;
    bool m_sidebarVisible;
    int m_revealRequest = 0;
    bool m_showQuickOpen = false;
    bool m_showSearch = false;
};

} // namespace Lumo::Document
