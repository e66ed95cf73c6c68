#pragma once

#include "TreeNode.h"

#include <QList>
#include <QSet>
#include <QString>
#include <string_view>

// Turns one folder on disk into the tree of Markdown files the sidebar shows. Stateless
// and safe on any thread; `scan` may take long and belongs off the main thread.
namespace Lumo::Workspace::FolderScanner {

inline constexpr int defaultBudget = 60000;
inline constexpr int defaultMaxDepth = 14;

struct Result
{
    QList<TreeNode> nodes; // the root's kept children; the root itself is no node
    int fileCount = 0;
    bool truncated = false; // the entry budget ran out and the tree is partial

    bool operator==(const Result &) const = default;
};

struct Row
{
    TreeNode node;
    int depth = 0;
};

// Walks `root`: Markdown files and the folders that hold some, folders first, each
// level in the file manager's order. At most `budget` entries are examined (every
// entry counts); folders deeper than `maxDepth` below the root are not listed. Skipped
// folder names, the large standard folders directly in the home folder, symbolic links
// to folders and unreadable folders are left out.
Result scan(const QString &root, int budget = defaultBudget, int maxDepth = defaultMaxDepth);

// Whether a folder directly inside the home folder is left out: the large standard
// folders (Documents, Library, ...), which browsing the home folder must not descend.
bool isSkippedInHome(std::string_view name);

// The relative paths of the folders holding the entry, outermost first
// ("a/b/c.md" gives "a", "a/b").
QStringList ancestors(const QString &relativePath);

// The rows a tree shows under an expanded set, in display order: a collapsed folder
// hides everything below it.
QList<Row> visibleRows(const QList<TreeNode> &nodes, const QSet<QString> &expanded, int depth = 0);

} // namespace Lumo::Workspace::FolderScanner
