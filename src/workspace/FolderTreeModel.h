#pragma once

#include "FolderTree.h"

#include <memory>
#include <QAbstractItemModel>

namespace Lumo::Workspace {

// The rows of a folder sidebar: one item per node of a FolderTree, in the tree's
// order. Besides the name (DisplayRole) it answers the roles below, among them whether
// a row carries the unread mark: never for the window's own document, never for an
// expanded folder (its children carry their own), otherwise as ReadState judges the
// node against the folder's baseline. Expansion itself is the view's, following the
// tree's expanded set. Main thread only.
class FolderTreeModel final : public QAbstractItemModel
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FolderTreeModel)

public:
    enum Role {
        PathRole = Qt::UserRole + 1, // relative path, the node's identity
        FilePathRole,                // absolute path
        IsFolderRole,
        ExpandedRole,
        CurrentRole, // the row of the window's document
        UnreadRole,
        FileCountRole,
    };

    explicit FolderTreeModel(std::shared_ptr<FolderTree> tree, QObject *parent = nullptr);

    FolderTree *tree() const { return m_tree.get(); }
    // The window's document (absolute path; empty for none).
    void setCurrentFile(const QString &path);
    QString currentFile() const { return m_currentFile; }
    // The current document's relative path in the tree, empty when it lies outside.
    QString currentPath() const { return m_currentPath; }

    QModelIndex indexOf(const QString &relativePath) const;
    const TreeNode *nodeAt(const QModelIndex &index) const;

    QModelIndex index(int row, int column, const QModelIndex &parent = {}) const override;
    QModelIndex parent(const QModelIndex &index) const override;
    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

private:
    struct Item
    {
        TreeNode node; // children left empty: they are items of their own
        int parent = -1;
        int row = 0;
        QList<int> children;
        bool unreadInside = false; // the node or anything below it is unread
    };

    void rebuild();
    int add(const TreeNode &node, int parent, int row);
    // Recomputes the unread marks and announces the rows whose mark changed.
    void refreshMarks();
    // From ReadState for a file; from the (already settled) children for a folder.
    bool computeUnread(const Item &item) const;
    bool shownUnread(int item) const;
    QModelIndex indexOfItem(int item) const;
    void announce(int item, const QList<int> &roles);

    std::shared_ptr<FolderTree> m_tree;
    QDateTime m_baseline;
    QList<Item> m_items;
    QList<int> m_top;
    QHash<QString, int> m_byPath;
    QSet<QString> m_expanded;
    QString m_currentFile;
    QString m_currentPath;
};

} // namespace Lumo::Workspace
