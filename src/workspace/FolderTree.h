#pragma once

#include "FolderScanner.h"
#include "FolderWatcher.h"

#include <memory>
#include <optional>
#include <QObject>
#include <QSet>
#include <QString>

namespace Lumo::Workspace {

// The model of one browsed folder: its scanned tree of Markdown files, which folders
// are expanded, whether the scan is done or was cut short. One instance per folder,
// shared by every window browsing it through a cache of the six most recently used
// trees. Scans run on the thread pool, one at a time per tree with at most one queued
// follow-up; the folder watcher asks for them. Main thread only.
//
// The expanded set is stored under "sidebarExpanded" on every change. `nodes` is
// republished only when a scan found something different.
class FolderTree final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FolderTree)
    Q_PROPERTY(QList<TreeNode> nodes READ nodes NOTIFY nodesChanged)
    Q_PROPERTY(int fileCount READ fileCount NOTIFY fileCountChanged)
    Q_PROPERTY(bool truncated READ truncated NOTIFY truncatedChanged)
    Q_PROPERTY(bool loaded READ loaded NOTIFY loadedChanged)
    Q_PROPERTY(QSet<QString> expanded READ expanded WRITE setExpanded NOTIFY expandedChanged)

public:
    static constexpr int cacheSize = 6;
    static constexpr int rootsRemembered = 40;

    // The one tree of that folder, created and scanned on first use.
    static std::shared_ptr<FolderTree> shared(const QString &root);
    ~FolderTree() override;

    // The browsed folder, cleaned.
    QString root() const { return m_root; }
    QList<TreeNode> nodes() const { return m_nodes; }
    int fileCount() const { return m_fileCount; }
    // The last scan ran out of its entry budget ("Large folder: showing part of it").
    bool truncated() const { return m_truncated; }
    // False until the first scan has been applied, then true for good.
    bool loaded() const { return m_loaded; }
    QSet<QString> expanded() const { return m_expanded; }
    void setExpanded(const QSet<QString> &expanded);
    bool isScanning() const { return m_scanning; }
    const FolderWatcher &watcher() const { return m_watcher; }

    // The sidebar's last scroll offset in this tree, kept across windows.
    double scrollOffset() const { return m_scrollOffset; }
    void setScrollOffset(double offset) { m_scrollOffset = offset; }
    // The cleaned path of the file last opened from a sidebar of this tree.
    QString handoff() const { return m_handoff; }
    void setHandoff(const QString &path) { m_handoff = path; }

    // Scans again in the background; folds into the scan in flight, if any.
    void rescan();
    // Opens or closes one folder.
    void toggle(const TreeNode &node);
    // Opens a folder with every folder inside it, or closes them all when it is open.
    void toggleRecursively(const TreeNode &node);
    // Expands every folder holding the file; never collapses anything.
    void reveal(const QString &filePath);
    // The file's path below the root, through symbolic links; none when outside.
    std::optional<QString> relativePath(const QString &filePath) const;

    // Gives the file at the relative path a new modification date, and each folder
    // above it the latest of its children's. False when the nodes hold no such file.
    static bool noteWritten(QList<TreeNode> &nodes, const QString &path, const QDateTime &modified);

Q_SIGNALS:
    void nodesChanged();
    void fileCountChanged();
    void truncatedChanged();
    void loadedChanged();
    void expandedChanged();
    // Every finished scan, whether or not it changed anything.
    void scanCompleted();

private:
    explicit FolderTree(const QString &root);

    void apply(const FolderScanner::Result &result);
    // Files only written to: their dates change, the tree does not.
    void refresh(const QStringList &written);
    void saveExpanded();
    void evict();

    const QString m_root;
    QList<TreeNode> m_nodes;
    int m_fileCount = 0;
    bool m_truncated = false;
    bool m_loaded = false;
    QSet<QString> m_expanded;
    double m_scrollOffset = 0;
    QString m_handoff;
    FolderWatcher m_watcher;
    bool m_scanning = false;
    bool m_pendingRescan = false;
    bool m_evicted = false;
};

} // namespace Lumo::Workspace
