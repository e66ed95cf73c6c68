#include "FolderScanner.h"

#include "base/MarkdownNames.h"
#include "search/DirectoryReader.h"

#include <algorithm>
#include <array>
#include <limits>
#include <QCollator>
#include <QDir>
#include <QFile>
#include <QLocale>

namespace Lumo::Workspace {

using Lumo::Search::DirectoryReader;
namespace MarkdownNames = Lumo::Base::MarkdownNames;

using namespace Qt::StringLiterals;

namespace {

// Large standard folders, skipped only directly inside the home folder.
constexpr std::array<std::string_view, 9> homeSkipped{"Library",   "Desktop",  "Documents",
                                                      "Downloads", "Pictures", "Movies",
                                                      "Music",     "Public",   "Applications"};

QString joined(const QString &prefix, const QString &name)
{
    return prefix.isEmpty() ? name : prefix + u'/' + name;
}

// The user's collation; the C locale has none of its own (it compares code points, digit
// runs included), so it borrows the language-neutral one.
QCollator nameCollator()
{
    QLocale locale;
    if (locale.language() == QLocale::C)
        locale = QLocale(QLocale::English, QLocale::UnitedStates);
    QCollator collator(locale);
    collator.setNumericMode(true);
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    return collator;
}

qint64 sortKey(const QDateTime &date)
{
    return date.isValid() ? date.toMSecsSinceEpoch() : std::numeric_limits<qint64>::min();
}

struct TreeWalk
{
    int budget;
    int maxDepth;
    QString home;
    QCollator collator;
    int counter = 0;
    bool truncated = false;

    TreeWalk(int entryBudget, int depthLimit)
        : budget(entryBudget)
        , maxDepth(depthLimit)
        , home(QDir::cleanPath(QDir::homePath()))
        , collator(nameCollator())
    {}

    void sortByName(QList<TreeNode> &nodes) const
    {
        std::stable_sort(nodes.begin(), nodes.end(), [this](const TreeNode &a, const TreeNode &b) {
            return collator.compare(a.name, b.name) < 0;
        });
    }

    // `path` is the folder's absolute path ("" for the file-system root).
    QList<TreeNode> walk(const DirectoryReader &folder, const QString &path, const QString &prefix,
                         int depth)
    {
        if (depth > maxDepth || truncated || !folder.isOpen())
            return {};
        const bool listingHome = (path.isEmpty() ? u"/"_s : path) == home;
        QList<TreeNode> folders;
        QList<TreeNode> files;
        for (const DirectoryReader::Entry &entry : folder.entries()) {
            if (++counter > budget) {
                truncated = true;
                break;
            }
            const DirectoryReader::Kind kind = folder.kind(entry);
            if (kind == DirectoryReader::Kind::Folder) {
                if (MarkdownNames::isSkippedFolder(entry.name) ||
                    (listingHome && FolderScanner::isSkippedInHome(entry.name)) ||
                    depth + 1 > maxDepth)
                    continue;
                const QString name = QFile::decodeName(entry.name.c_str());
                const QString relative = joined(prefix, name);
                const DirectoryReader child(folder, entry.name);
                QList<TreeNode> children = walk(child, path + u'/' + name, relative, depth + 1);
                if (children.isEmpty())
                    continue;
                TreeNode node{path + u'/' + name, relative, name, true, {}, {}, 0};
                for (const TreeNode &inner : children) {
                    node.fileCount += inner.fileCount;
                    if (sortKey(inner.modified) > sortKey(node.modified))
                        node.modified = inner.modified;
                }
                node.children = std::move(children);
                folders.append(std::move(node));
            } else if (kind == DirectoryReader::Kind::File &&
                       MarkdownNames::hasMarkdownExtension(entry.name)) {
                const QString name = QFile::decodeName(entry.name.c_str());
                files.append({path + u'/' + name,
                              joined(prefix, name),
                              name,
                              false,
                              {},
                              folder.modified(entry.name).value_or(QDateTime()),
                              1});
            }
        }
        sortByName(folders);
        sortByName(files);
        return folders + files;
    }
};

void appendRows(QList<FolderScanner::Row> &rows, const QList<TreeNode> &nodes,
                const QSet<QString> &expanded, int depth)
{
    for (const TreeNode &node : nodes) {
        rows.append({node, depth});
        if (node.isFolder && expanded.contains(node.path))
            appendRows(rows, node.children, expanded, depth + 1);
    }
}

} // namespace

namespace FolderScanner {

Result scan(const QString &root, int budget, int maxDepth)
{
    const QString rootPath = QDir::cleanPath(root);
    const DirectoryReader folder(rootPath);
    TreeWalk walk(budget, maxDepth);
    Result result;
    result.nodes = walk.walk(folder, rootPath == "/"_L1 ? QString() : rootPath, QString(), 0);
    for (const TreeNode &node : result.nodes)
        result.fileCount += node.fileCount;
    result.truncated = walk.truncated;
    return result;
}

bool isSkippedInHome(std::string_view name)
{
    return std::find(homeSkipped.begin(), homeSkipped.end(), name) != homeSkipped.end();
}

QStringList ancestors(const QString &relativePath)
{
    const QStringList pieces = relativePath.split(u'/', Qt::SkipEmptyParts);
    QStringList folders;
    for (qsizetype i = 1; i < pieces.size(); ++i)
        folders.append(pieces.first(i).join(u'/'));
    return folders;
}

QList<Row> visibleRows(const QList<TreeNode> &nodes, const QSet<QString> &expanded, int depth)
{
    QList<Row> rows;
    appendRows(rows, nodes, expanded, depth);
    return rows;
}

} // namespace FolderScanner

} // namespace Lumo::Workspace
