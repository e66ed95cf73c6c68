#include "TabNames.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>

namespace Lumo::Document::TabNames {
namespace {

// The last `depth` folders holding the file, outermost first ("src/pyenv").
QString foldersOf(const QString &path, int depth)
{
    QStringList folders = QDir::cleanPath(QFileInfo(path).absolutePath()).split(u'/');
    folders.removeAll(QString());
    return folders.mid(std::max<qsizetype>(0, folders.size() - depth)).join(u'/');
}

} // namespace

QStringList of(const QStringList &paths, const QString &untitled)
{
    QStringList names;
    for (const QString &path : paths)
        names.append(path.isEmpty() ? untitled : QFileInfo(path).fileName());
    QStringList suffixes(paths.size());
    // Deepen only the names that still collide, until they differ or run out of folders.
    for (int depth = 1; depth < 64; ++depth) {
        QHash<QString, int> counts;
        for (qsizetype i = 0; i < paths.size(); ++i)
            ++counts[names.at(i) + suffixes.at(i)];
        bool deepened = false;
        for (qsizetype i = 0; i < paths.size(); ++i) {
            if (paths.at(i).isEmpty() || counts.value(names.at(i) + suffixes.at(i)) < 2)
                continue;
            const QString folders = foldersOf(paths.at(i), depth);
            if (folders != suffixes.at(i)) {
                suffixes[i] = folders;
                deepened = true;
            }
        }
        if (!deepened)
            break;
    }
    for (qsizetype i = 0; i < paths.size(); ++i) {
        if (!suffixes.at(i).isEmpty())
            names[i] += QStringLiteral(" — ") + suffixes.at(i);
    }
    return names;
}

} // namespace Lumo::Document::TabNames
