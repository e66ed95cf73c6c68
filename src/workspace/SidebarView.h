#pragma once

#include <QStackedWidget>

class DocumentController;
class TabPanels;
class FolderSidebar;
class QMimeData;

// The sidebar column of a document tab: the folder sidebar of the controller's
// sidebar root, or, while the document belongs to no folder, an invitation to open
// one. Follows the root as the controller resolves it. Folders and files dropped on
// it open as if chosen in the Open dialog.
class SidebarView : public QStackedWidget
{
    Q_OBJECT

public:
    SidebarView(DocumentController *controller, TabPanels *panels, QWidget *parent = nullptr);

    FolderSidebar *folderSidebar() const { return m_folder; }

Q_SIGNALS:
    // The user left the sidebar with Escape.
    void leaveRequested();

protected:
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    static QStringList droppedPaths(const QMimeData *data);
    void showRoot(const QString &root);

    DocumentController *m_controller;
    TabPanels *m_panels;
    QWidget *m_noFolder;
    QWidget *m_pending;
    FolderSidebar *m_folder = nullptr;
};
