#pragma once

#include <QDateTime>
#include <QList>
#include <QString>

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

    bool operator==(const TreeNode &) const = default;
};
