#include "FolderTreeModel.h"

#include "ReadState.h"

#include <algorithm>

namespace Lumo::Workspace {

FolderTreeModel::FolderTreeModel(std::shared_ptr<FolderTree> tree, QObject *parent)
    : QAbstractItemModel(parent)
    , m_tree(std::move(tree))
    // Asked now, so a folder browsed for the first time starts with everything read.
    , m_baseline(ReadState::shared().baseline(m_tree->root()))
{
    connect(m_tree.get(), &FolderTree::nodesChanged, this, [this] {
        beginResetModel();
        rebuild();
        endResetModel();
    });
    connect(m_tree.get(), &FolderTree::expandedChanged, this, [this] {
        const QSet<QString> before = std::exchange(m_expanded, m_tree->expanded());
        for (const QString &path : (before - m_expanded) + (m_expanded - before)) {
            if (const auto found = m_byPath.constFind(path); found != m_byPath.cend())
                announce(*found, {ExpandedRole, UnreadRole});
        }
    });
    connect(&ReadState::shared(), &ReadState::viewedChanged, this, &FolderTreeModel::refreshMarks);
    rebuild();
}

void FolderTreeModel::rebuild()
{
    m_items.clear();
    m_top.clear();
    m_byPath.clear();
    m_expanded = m_tree->expanded();
    const QList<TreeNode> nodes = m_tree->nodes();
    for (int row = 0; row < nodes.size(); ++row)
        m_top.append(add(nodes.at(row), -1, row));
    m_currentPath = m_tree->relativePath(m_currentFile).value_or(QString());
    // Children come after their parent, so one backward pass settles every folder.
    for (qsizetype i = m_items.size() - 1; i >= 0; --i)
        m_items[i].unreadInside = computeUnread(m_items.at(i));
}

bool FolderTreeModel::computeUnread(const Item &item) const
{
    if (!item.node.isFolder)
        return ReadState::shared().isUnread(item.node, m_baseline);
    return std::any_of(item.children.cbegin(), item.children.cend(),
                       [this](int child) { return m_items.at(child).unreadInside; });
}

int FolderTreeModel::add(const TreeNode &node, int parent, int row)
{
    const int id = static_cast<int>(m_items.size());
    Item item;
    item.node = node;
    item.node.children.clear();
    item.parent = parent;
    item.row = row;
    m_items.append(item);
    m_byPath.insert(node.path, id);
    for (int childRow = 0; childRow < node.children.size(); ++childRow) {
        const int child = add(node.children.at(childRow), id, childRow);
        m_items[id].children.append(child);
    }
    return id;
}

void FolderTreeModel::refreshMarks()
{
    QList<int> changed;
    for (qsizetype i = m_items.size() - 1; i >= 0; --i) {
        const bool unread = computeUnread(m_items.at(i));
        if (unread != m_items.at(i).unreadInside) {
            m_items[i].unreadInside = unread;
            changed.append(static_cast<int>(i));
        }
    }
    for (int item : std::as_const(changed))
        announce(item, {UnreadRole});
}

void FolderTreeModel::setCurrentFile(const QString &path)
{
    m_currentFile = path;
    const QString relative =
        path.isEmpty() ? QString() : m_tree->relativePath(path).value_or(QString());
    const QString before = std::exchange(m_currentPath, relative);
    if (before == relative)
        return;
    for (const QString &changed : {before, relative}) {
        if (const auto found = m_byPath.constFind(changed); found != m_byPath.cend())
            announce(*found, {CurrentRole, UnreadRole});
    }
}

bool FolderTreeModel::shownUnread(int id) const
{
    const Item &item = m_items.at(id);
    if (!m_currentPath.isEmpty() && item.node.path == m_currentPath)
        return false;
    if (item.node.isFolder && m_expanded.contains(item.node.path))
        return false;
    return item.unreadInside;
}

QModelIndex FolderTreeModel::indexOf(const QString &relativePath) const
{
    const auto found = m_byPath.constFind(relativePath);
    return found == m_byPath.cend() ? QModelIndex() : indexOfItem(*found);
}

const TreeNode *FolderTreeModel::nodeAt(const QModelIndex &index) const
{
    if (!index.isValid() || index.model() != this)
        return nullptr;
    return &m_items.at(static_cast<qsizetype>(index.internalId())).node;
}

QModelIndex FolderTreeModel::indexOfItem(int id) const
{
    return createIndex(m_items.at(id).row, 0, static_cast<quintptr>(id));
}

void FolderTreeModel::announce(int id, const QList<int> &roles)
{
    const QModelIndex at = indexOfItem(id);
    Q_EMIT dataChanged(at, at, roles);
}

QModelIndex FolderTreeModel::index(int row, int column, const QModelIndex &parent) const
{
    if (column != 0 || row < 0 || (parent.isValid() && parent.model() != this))
        return {};
    const QList<int> &rows =
        parent.isValid() ? m_items.at(static_cast<qsizetype>(parent.internalId())).children : m_top;
    if (row >= rows.size())
        return {};
    return createIndex(row, 0, static_cast<quintptr>(rows.at(row)));
}

QModelIndex FolderTreeModel::parent(const QModelIndex &index) const
{
    if (!index.isValid())
        return {};
    const int parentId = m_items.at(static_cast<qsizetype>(index.internalId())).parent;
    return parentId < 0 ? QModelIndex() : indexOfItem(parentId);
}

int FolderTreeModel::rowCount(const QModelIndex &parent) const
{
    if (parent.column() > 0)
        return 0;
    if (!parent.isValid())
        return static_cast<int>(m_top.size());
    return static_cast<int>(
        m_items.at(static_cast<qsizetype>(parent.internalId())).children.size());
}

int FolderTreeModel::columnCount(const QModelIndex &) const
{
    return 1;
}

QVariant FolderTreeModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return {};
    const int id = static_cast<int>(index.internalId());
    const TreeNode &node = m_items.at(id).node;
    switch (role) {
    case Qt::DisplayRole:
        return node.name;
    case Qt::ToolTipRole:
        return node.path;
    case PathRole:
        return node.path;
    case FilePathRole:
        return node.url;
    case IsFolderRole:
        return node.isFolder;
    case ExpandedRole:
        return node.isFolder && m_expanded.contains(node.path);
    case CurrentRole:
        return !m_currentPath.isEmpty() && node.path == m_currentPath;
    case UnreadRole:
        return shownUnread(id);
    case Qt::AccessibleDescriptionRole:
        if (!shownUnread(id))
            return QString();
        return node.isFolder ? tr("Holds files changed since you last read them")
                             : tr("Changed since you last read it");
    case FileCountRole:
        return node.fileCount;
    default:
        return {};
    }
}

QHash<int, QByteArray> FolderTreeModel::roleNames() const
{
    QHash<int, QByteArray> names = QAbstractItemModel::roleNames();
    names.insert(PathRole, "path");
    names.insert(FilePathRole, "filePath");
    names.insert(IsFolderRole, "isFolder");
    names.insert(ExpandedRole, "expanded");
    names.insert(CurrentRole, "current");
    names.insert(UnreadRole, "unread");
    names.insert(FileCountRole, "fileCount");
    return names;
}

} // namespace Lumo::Workspace
