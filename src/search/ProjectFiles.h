#pragma once

#include <optional>
#include <QDateTime>
#include <QList>
#include <QSet>
#include <QString>

namespace Lumo::Search {

// One Markdown file of a project. `path` is absolute, as the walk met it;
// `relativePath` is below the project root ("/"-joined), or the file name when the
// file is not under the root. `modified` is invalid when the file system gave none,
// which sorts as the distant past.
struct MarkdownFile
{
    QString path;
    QString relativePath;
    QDateTime modified;

    QString name() const;
    bool operator==(const MarkdownFile &) const = default;
};

// The flat list of Markdown files under a project root, shared by quick open, project
// search and the workspace. Stateless; every function is safe on any thread.
namespace ProjectFiles {

inline constexpr int scanLimit = 5000;

// The project root of a document outside any open folder: the nearest ancestor
// (up to nine levels above its folder, never past the home folder) holding ".git",
// else the document's own folder.
QString root(const QString &filePath);

// The Markdown files under `root`, newest first, at most `limit` of them (the limit
// applies during the walk, before the sort). Empty when the root cannot be read.
QList<MarkdownFile> scan(const QString &root, int limit = scanLimit);

} // namespace ProjectFiles

} // namespace Lumo::Search
