#include "ProjectFiles.h"

#include "base/MarkdownNames.h"
#include "DirectoryReader.h"

#include <algorithm>
#include <array>
#include <limits>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <string_view>

namespace Lumo::Search {

namespace MarkdownNames = Lumo::Base::MarkdownNames;

using namespace Qt::StringLiterals;

namespace {

// Files are found down to this level below the root (1 is directly inside it).
constexpr int deepestFileLevel = 13;

qint64 sortKey(const QDateTime &date)
{
    return date.isValid() ? date.toMSecsSinceEpoch() : std::numeric_limits<qint64>::min();
}

struct IndexWalk
{
    int limit;
    QList<MarkdownFile> files;

    // Returns false once the limit is reached.
    bool walk(const DirectoryReader &folder, const QString &path, const QString &prefix, int level)
    {
        for (const DirectoryReader::Entry &entry : folder.entries()) {
            const DirectoryReader::Kind kind = folder.kind(entry);
            if (kind == DirectoryReader::Kind::Other || kind == DirectoryReader::Kind::LinkToFolder)
                continue;
            const QString name = QFile::decodeName(entry.name.c_str());
            if (kind == DirectoryReader::Kind::Folder) {
                if (MarkdownNames::isSkippedFolder(entry.name) || level >= deepestFileLevel)
                    continue;
                const DirectoryReader child(folder, entry.name);
                if (!walk(child, path + u'/' + name, prefix + name + u'/', level + 1))
                    return false;
                continue;
            }
            if (!MarkdownNames::hasMarkdownExtension(entry.name))
                continue;
            files.append({path + u'/' + name, prefix + name,
                          folder.modified(entry.name).value_or(QDateTime())});
            if (files.size() >= limit)
                return false;
        }
        return true;
    }
};

} // namespace

QString MarkdownFile::name() const
{
    return path.section(u'/', -1);
}

namespace ProjectFiles {

QString root(const QString &filePath)
{
    const QString start = QFileInfo(QDir::cleanPath(filePath)).absolutePath();
    const QString home = QDir::cleanPath(QDir::homePath());
    QString dir = start;
    for (int step = 0; step < 10; ++step) {
        if (QFileInfo::exists(dir + "/.git"_L1))
            return dir;
        const QString parent = QFileInfo(dir).path();
        if (parent == dir || parent == home || dir == home)
            break;
        dir = parent;
    }
    return start;
}

QList<MarkdownFile> scan(const QString &root, int limit)
{
    const QString rootPath = QDir::cleanPath(root);
    const DirectoryReader folder(rootPath);
    if (!folder.isOpen() || limit <= 0)
        return {};
    IndexWalk walk{limit, {}};
    walk.walk(folder, rootPath == "/"_L1 ? QString() : rootPath, QString(), 1);
    std::stable_sort(walk.files.begin(), walk.files.end(),
                     [](const MarkdownFile &a, const MarkdownFile &b) {
                         return sortKey(a.modified) > sortKey(b.modified);
                     });
    return walk.files;
}

} // namespace ProjectFiles

} // namespace Lumo::Search
