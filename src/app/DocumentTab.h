#pragma once

#include "document/DocumentController.h"
#include "editor/EditorView.h"

#include <QJsonObject>
#include <QWidget>

namespace Lumo::Document {
class DiskChangeBanner;
class FindBar;
class PreviewView;
class TabPanels;
} // namespace Lumo::Document
class QShortcut;
class QSplitter;
namespace Lumo::Workspace {
class SidebarView;
}

namespace Lumo::App {

// The content of one tab: a sidebar column beside the document area, which shows the
// reading page alone (read mode) or the text editor beside it (edit mode). The one
// web view stays in place across modes, so switching never reloads the page. The tab
// owns the view and the panels' state, and gives the view's page to its controller.
class DocumentTab final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(DocumentTab)

public:
    DocumentTab(Lumo::Document::OpenDocument *document, bool startInEditMode,
                QWidget *parent = nullptr);

    Lumo::Document::DocumentController *controller() const { return m_controller; }
    Lumo::Document::PreviewView *view() const { return m_view; }
    Lumo::Document::TabPanels *panels() const { return m_panels; }
    Lumo::Document::OpenDocument *document() const { return m_controller->document(); }
    Lumo::Editor::EditorView *editor() const { return m_editor; }

    // Gives the keyboard to the document: the editor while editing, else the page.
    // Unless `always`, leaves it where it is while the user types in this tab's
    // sidebar, a panel or a find bar.
    void focusDocument(bool always);

    // Find: the editor's own bar while editing with the editor focused, else the page's.
    void showFind();
    void findNext(bool backwards);
    // Searches the page's text, ignoring case and wrapping around; an empty text does
    // nothing. findFinished reports the match now selected (from 1) and how many.
    void findInPreview(const QString &text, bool backwards);

    // For the diagnostic state: mode, editor position, find bars.
    QJsonObject probe() const;

    static constexpr int sidebarMinimumWidth = 180;
    static constexpr int sidebarMaximumWidth = 420;
    // The editor and the page side by side fit the smallest window; the page gives
    // way first.
    static constexpr int editorMinimumWidth = 240;
    static constexpr int pageMinimumWidth = 160;
    // What each face needs beside an open sidebar, else the sidebar steps aside
    // (the choice to show it stands, and it returns once there is room).
    static constexpr int readingRoom = 360;
    static constexpr int editingRoom = 720;

Q_SIGNALS:
    // The page asked to open a Markdown file.
    void openRequested(const QString &path);
    void findFinished(int activeMatch, int matches);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void showMode(Lumo::Document::DocumentController::Mode mode);
    // Shows the sidebar while it is asked for and leaves the document its room.
    void updateSidebar();
    void findInEditor(const QString &text, bool backwards, bool fromSelectionStart);
    // `again`: keeps the current match when a render left it, and leaves the view.
    void findInPage(const QString &text, bool backwards, bool again);

    Lumo::Document::PreviewView *m_view;
    Lumo::Document::TabPanels *m_panels;
    Lumo::Document::DocumentController *m_controller;
    QSplitter *m_columns;
    Lumo::Workspace::SidebarView *m_sidebar;
    Lumo::Document::DiskChangeBanner *m_banner;
    Lumo::Document::FindBar *m_pageFind;
    Lumo::Document::FindBar *m_editorFind;
    QShortcut *m_closeFind = nullptr;
    // What the page's find bar last searched for, while it is open.
    QString m_pageSearched;
    QSplitter *m_panes;
    QWidget *m_editorPane;
    Lumo::Editor::EditorView *m_editor;
    // While the document takes an edit typed in the editor.
    bool m_takingEdit = false;
};

} // namespace Lumo::App
