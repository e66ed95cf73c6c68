#include "FolderTree.h"

#include "base/Background.h"
#include "base/PathKey.h"
#include "base/Preferences.h"

#include <algorithm>
#include <QDir>
#include <QFileInfo>
#include <QHash>

namespace Lumo::Workspace {

using Lumo::Base::Preferences;
using Lumo::Base::runInBackground;
namespace PathKey = Lumo::Base::PathKey;

namespace {

// Standardised root path to its tree; the order is least recently used first.
struct TreeCache
{
    QHash<QString, std::shared_ptr<FolderTree>> trees;
    QStringList order;
};

TreeCache &cache()
{
    static TreeCache instance;
    return instance;
}

void collectFolders(const TreeNode &node, QSet<QString> &paths)
{
    if (!node.isFolder)
        return;
    paths.insert(node.path);
    for (const TreeNode &child : node.children)
        collectFolders(child, paths);
}

QString withSlash(const QString &path)
{
    return path.endsWith(u'/') ? path : path + u'/';
}

} // namespace

std::shared_ptr<FolderTree> FolderTree::shared(const QString &root)
{
    const QString key = QDir::cleanPath(root);
    TreeCache &c = cache();
    c.order.removeAll(key);
    c.order.append(key);
    if (const auto found = c.trees.constFind(key); found != c.trees.constEnd())
        return *found;
    std::shared_ptr<FolderTree> tree(new FolderTree(key));
    c.trees.insert(key, tree);
    while (c.order.size() > cacheSize) {
        if (const std::shared_ptr<FolderTree> evicted = c.trees.take(c.order.takeFirst()))
            evicted->evict();
    }
    return tree;
}

FolderTree::FolderTree(const QString &root)
    : m_root(root)
{
    const QVariant stored = Preferences::shared().sidebarExpanded().value(m_root);
    if (stored.typeId() == QMetaType::QStringList || stored.typeId() == QMetaType::QVariantList) {
        const QVariantList items = stored.toList();
        if (std::all_of(items.begin(), items.end(),
                        [](const QVariant &item) { return item.typeId() == QMetaType::QString; })) {
            for (const QVariant &item : items)
                m_expanded.insert(item.toString());
        }
    }
    rescan();
    m_watcher.start(m_root, [this](const QStringList &written) {
        if (written.isEmpty())
            rescan();
        else
            refresh(written);
    });
}

FolderTree::~FolderTree() = default;

void FolderTree::setExpanded(const QSet<QString> &expanded)
{
    if (expanded == m_expanded)
        return;
    m_expanded = expanded;
    saveExpanded();
    Q_EMIT expandedChanged();
}

void FolderTree::rescan()
{
    if (m_evicted)
        return;
    if (m_scanning) {
        m_pendingRescan = true;
        return;
    }
    m_scanning = true;
    runInBackground(
        this, [root = m_root] { return FolderScanner::scan(root); },
        [this](const FolderScanner::Result &result) { apply(result); });
}

bool FolderTree::noteWritten(QList<TreeNode> &nodes, const QString &path, const QDateTime &modified)
{
    const auto later = [](const QDateTime &a, const QDateTime &b) {
        return a.isValid() && (!b.isValid() || a > b);
    };
    for (TreeNode &node : nodes) {
        if (!node.isFolder && node.path == path) {
            node.modified = modified;
            return true;
        }
        if (!node.isFolder || !path.startsWith(node.path + u'/'))
            continue;
        if (!noteWritten(node.children, path, modified))
            return false;
        node.modified = QDateTime();
        for (const TreeNode &child : std::as_const(node.children))
            if (later(child.modified, node.modified))
                node.modified = child.modified;
        return true;
    }
    return false;
}

void FolderTree::refresh(const QStringList &written)
{
    if (m_evicted)
        return;
    QList<TreeNode> nodes = m_nodes;
    for (const QString &path : written) {
        const QFileInfo file(m_root + u'/' + path);
        if (!file.isFile() || !noteWritten(nodes, path, file.lastModified().toUTC())) {
            rescan();
            return;
        }
    }
    if (nodes == m_nodes)
        return;
    m_nodes = std::move(nodes);
    Q_EMIT nodesChanged();
}

void FolderTree::apply(const FolderScanner::Result &result)
{
    m_scanning = false;
    if (m_evicted)
        return;
    if (result.nodes != m_nodes) {
        m_nodes = result.nodes;
        Q_EMIT nodesChanged();
    }
    if (result.fileCount != m_fileCount) {
        m_fileCount = result.fileCount;
        Q_EMIT fileCountChanged();
    }
    if (result.truncated != m_truncated) {
        m_truncated = result.truncated;
        Q_EMIT truncatedChanged();
    }
    if (!m_loaded) {
        m_loaded = true;
        Q_EMIT loadedChanged();
    }
    Q_EMIT scanCompleted();
    if (m_pendingRescan) {
        m_pendingRescan = false;
        rescan();
    }
}

void FolderTree::toggle(const TreeNode &node)
{
    QSet<QString> next = m_expanded;
    if (!next.remove(node.path))
        next.insert(node.path);
    setExpanded(next);
}

void FolderTree::toggleRecursively(const TreeNode &node)
{
    if (!node.isFolder)
        return;
    QSet<QString> folders;
    collectFolders(node, folders);
    setExpanded(m_expanded.contains(node.path) ? m_expanded - folders : m_expanded + folders);
}

void FolderTree::reveal(const QString &filePath)
{
    const std::optional<QString> relative = relativePath(filePath);
    if (!relative)
        return;
    QSet<QString> next = m_expanded;
    for (const QString &folder : FolderScanner::ancestors(*relative))
        next.insert(folder);
    setExpanded(next);
}

std::optional<QString> FolderTree::relativePath(const QString &filePath) const
{
    const QString base = withSlash(PathKey::resolved(m_root));
    const QString file = PathKey::resolved(filePath);
    if (file.startsWith(base))
        return file.mid(base.size());
    const QString plainBase = withSlash(m_root);
    const QString plainFile = QDir::cleanPath(filePath);
    if (plainFile.startsWith(plainBase))
        return plainFile.mid(plainBase.size());
    return std::nullopt;
}

void FolderTree::saveExpanded()
{
    Preferences &preferences = Preferences::shared();
    QVariantMap stored = preferences.sidebarExpanded();
    QStringList paths(m_expanded.begin(), m_expanded.end());
    paths.sort();
    const QVariant own = paths;
    stored.insert(m_root, own);
    // All or nothing: past the limit only this folder's state survives.
    if (stored.size() > rootsRemembered)
        stored = QVariantMap{{m_root, own}};
    preferences.setSidebarExpanded(stored);
}

void FolderTree::evict()
{
    m_evicted = true;
    m_pendingRescan = false;
    m_watcher.stop();
}

} // namespace Lumo::Workspace
