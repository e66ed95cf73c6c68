#pragma once

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringList>

// Builds real folder trees for the scanner, index and watcher tests. A path ending in
// "/" is a folder; anything else is a file, with its folders made as needed.
namespace TreeBuilder {

inline bool make(const QString &root, const QStringList &paths)
{
    for (const QString &path : paths) {
        const QString full = root + u'/' + path;
        if (path.endsWith(u'/')) {
            if (!QDir().mkpath(full))
                return false;
            continue;
        }
        if (!QDir().mkpath(QFileInfo(full).path()))
            return false;
        QFile file(full);
        if (!file.open(QIODevice::WriteOnly) || file.write("# note\n") < 0)
            return false;
    }
    return true;
}

inline bool setModified(const QString &path, const QDateTime &date)
{
    QFile file(path);
    return file.open(QIODevice::ReadWrite) &&
           file.setFileTime(date, QFileDevice::FileModificationTime);
}

} // namespace TreeBuilder
