#pragma once

#include <QStackedWidget>

namespace Lumo::Document {
class DocumentController;
class TabPanels;
} // namespace Lumo::Document
class QMimeData;

namespace Lumo::Workspace {

class FolderSidebar;

// The sidebar column of a document tab: the folder sidebar of the controller's
// sidebar root, or, while the document belongs to no folder, an invitation to open
// one. Follows the root as the controller resolves it. What the user asks of it
// (another folder, dropped files) goes out as signals for the window to carry out.
class SidebarView final : public QStackedWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SidebarView)

public:
    SidebarView(Lumo::Document::DocumentController *controller, Lumo::Document::TabPanels *panels,
                QWidget *parent = nullptr);

    FolderSidebar *folderSidebar() const { return m_folder; }

Q_SIGNALS:
    // The user left the sidebar with Escape.
    void leaveRequested();
    // "Open Folder…" was chosen, in the invitation or the folder's menu.
    void openFolderChosen();
    // Folders or files were dropped on the sidebar, to open as if chosen in the Open
    // dialog.
    void filesDropped(const QStringList &paths);

protected:
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    static QStringList droppedPaths(const QMimeData *data);
    void showRoot(const QString &root);

    Lumo::Document::DocumentController *m_controller;
    Lumo::Document::TabPanels *m_panels;
    QWidget *m_noFolder;
    QWidget *m_pending;
    FolderSidebar *m_folder = nullptr;
};

} // namespace Lumo::Workspace
