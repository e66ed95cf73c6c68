#pragma once

#include <optional>
#include <QDateTime>
#include <QString>
#include <string>
#include <vector>

namespace Lumo::Search {

// One folder opened for listing by descriptor, so that its entries are examined and its
// subfolders opened without resolving the whole path again for each. Shared by the
// sidebar's scan and the project file index, which both walk large trees.
//
// Never follows a symbolic link when opening a subfolder. Errors are swallowed: a
// folder that cannot be opened lists nothing.
class DirectoryReader
{
public:
    enum class Kind { File, Folder, LinkToFolder, Other };

    struct Entry
    {
        std::string name;
        unsigned char type; // d_type, DT_UNKNOWN when the file system does not say
    };

    explicit DirectoryReader(const QString &path);
    // The subfolder `name` of `parent`.
    DirectoryReader(const DirectoryReader &parent, const std::string &name);
    ~DirectoryReader();
    DirectoryReader(const DirectoryReader &) = delete;
    DirectoryReader &operator=(const DirectoryReader &) = delete;

    bool isOpen() const { return m_fd >= 0; }

    // Every entry but "." and ".." and those whose names are not UTF-8, in the file
    // system's order.
    std::vector<Entry> entries() const;

    // What the entry is; a symbolic link to a file counts as a file, a dangling one as
    // a file too (its date is then missing).
    Kind kind(const Entry &entry) const;

    // The content modification date of the entry (through a link), in UTC; none when the
    // file system gives none.
    std::optional<QDateTime> modified(const std::string &name) const;

private:
    int m_fd = -1;
};

} // namespace Lumo::Search
