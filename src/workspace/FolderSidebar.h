#pragma once

#include <memory>
#include <QWidget>

namespace Lumo::Document {
class DocumentController;
class TabPanels;
} // namespace Lumo::Document
class QLabel;
class QStackedWidget;

namespace Lumo::Workspace {

class FolderTree;
class FolderTreeModel;
class SidebarList;

// The sidebar of a window whose document belongs to a folder: a header with the
// folder's name, its count of Markdown files and a menu, over the rows of the shared
// FolderTree. Until the first scan is in it shows an empty list, and "No Markdown
// files" only once the scan found none. Files open through the window's controller,
// in place of the current document or (Ctrl, middle button, context menu) in a new tab.
//
// The list's scroll position lives in the tree, so another window on the folder opens
// at the same place, and a document opened from this sidebar keeps the list where the
// user clicked (the tree's handoff). Main thread only.
class FolderSidebar final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FolderSidebar)

public:
    FolderSidebar(std::shared_ptr<FolderTree> tree, Lumo::Document::DocumentController *controller,
                  Lumo::Document::TabPanels *panels, QWidget *parent = nullptr);

    FolderTree *tree() const { return m_tree.get(); }
    FolderTreeModel *model() const { return m_model; }
    SidebarList *list() const { return m_list; }

    // Expands the folders of the current document, then brings the list back to where
    // it was (a document opened from this folder's sidebar) or to the document's row.
    // Runs whenever the sidebar is shown and when the document changes.
    void restore();
    // Shows the current document's row and puts the keyboard cursor on it.
    void reveal();

Q_SIGNALS:
    // Escape in the list: the document should take the keyboard back.
    void leaveRequested();
    // "Open Folder…" was chosen in the folder's menu.
    void openFolderChosen();

protected:
    void showEvent(QShowEvent *event) override;

private:
    void showState();
    void activate(const QModelIndex &index, bool newTab);
    void openFile(const QString &path, bool newTab);
    void showContextMenu(const QModelIndex &index, const QPoint &globalPosition);
    QWidget *buildHeader();
    QString currentFile() const;

    std::shared_ptr<FolderTree> m_tree;
    Lumo::Document::DocumentController *m_controller;
    FolderTreeModel *m_model;
    SidebarList *m_list;
    QStackedWidget *m_body;
    QLabel *m_title = nullptr;
    QLabel *m_count = nullptr;
    bool m_restoring = false;
};

} // namespace Lumo::Workspace
