#pragma once

#include <algorithm>
#include <QDateTime>
#include <QList>
#include <QString>

namespace Lumo::Workspace {

// One entry of a browsed folder: a Markdown file, or a folder with Markdown somewhere
// below it. `path` (relative to the scanned root, "/"-joined, no leading or trailing
// slash) is its identity and the key of the expanded set.
struct TreeNode
{
    QString url; // absolute path, as the file system listed it
    QString path;
    QString name; // as on disk
    bool isFolder = false;
    QList<TreeNode> children; // a folder's, in display order
    // A file's content modification date (UTC; invalid when the file system gave none,
    // which counts as the distant past); a folder's is the latest among its children.
    QDateTime modified;
    int fileCount = 0; // 1 for a file; the Markdown files below a folder

    // Field by field, children recursively (a QList of an incomplete type has none).
    friend bool operator==(const TreeNode &a, const TreeNode &b)
    {
        return a.url == b.url && a.path == b.path && a.name == b.name && a.isFolder == b.isFolder &&
               a.modified == b.modified && a.fileCount == b.fileCount &&
               std::equal(a.children.begin(), a.children.end(), b.children.begin(),
                          b.children.end());
    }
};

} // namespace Lumo::Workspace
