#include "DirectoryReader.h"

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <QFile>
#include <sys/stat.h>
#include <unistd.h>

namespace Lumo::Search {

namespace {

constexpr int folderFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

QDateTime dateOf(const struct stat &info)
{
    const qint64 ms = qint64(info.st_mtim.tv_sec) * 1000 + info.st_mtim.tv_nsec / 1000000;
    return QDateTime::fromMSecsSinceEpoch(ms, Qt::UTC);
}

} // namespace

DirectoryReader::DirectoryReader(const QString &path)
{
    do {
        m_fd = ::open(QFile::encodeName(path).constData(), folderFlags);
    } while (m_fd < 0 && errno == EINTR);
}

DirectoryReader::DirectoryReader(const DirectoryReader &parent, const std::string &name)
{
    if (!parent.isOpen())
        return;
    do {
        m_fd = ::openat(parent.m_fd, name.c_str(), folderFlags | O_NOFOLLOW);
    } while (m_fd < 0 && errno == EINTR);
}

DirectoryReader::~DirectoryReader()
{
    if (m_fd >= 0)
        ::close(m_fd);
}

std::vector<DirectoryReader::Entry> DirectoryReader::entries() const
{
    std::vector<Entry> list;
    if (m_fd < 0 || ::lseek(m_fd, 0, SEEK_SET) != 0)
        return list;
    // Straight from the kernel into one buffer: no DIR stream to allocate per folder.
    alignas(dirent64) char buffer[32 * 1024];
    for (;;) {
        const ssize_t length = ::getdents64(m_fd, buffer, sizeof buffer);
        if (length <= 0)
            break;
        for (ssize_t offset = 0; offset < length;) {
            const auto *entry = reinterpret_cast<const dirent64 *>(buffer + offset);
            offset += entry->d_reclen;
            const char *name = entry->d_name;
            if (name[0] == '.' && (name[1] == 0 || (name[1] == '.' && name[2] == 0)))
                continue;
            // Paths are strings of UTF-8 file names: such a name could be listed but
            // never opened again.
            if (!QByteArrayView(name).isValidUtf8())
                continue;
            list.push_back({name, entry->d_type});
        }
    }
    return list;
}

DirectoryReader::Kind DirectoryReader::kind(const Entry &entry) const
{
    switch (entry.type) {
    case DT_REG:
        return Kind::File;
    case DT_DIR:
        return Kind::Folder;
    case DT_LNK:
    case DT_UNKNOWN:
        break;
    default:
        return Kind::Other;
    }
    struct stat info
    {
    };
    if (::fstatat(m_fd, entry.name.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0)
        return Kind::File;
    if (S_ISDIR(info.st_mode))
        return Kind::Folder;
    if (S_ISREG(info.st_mode))
        return Kind::File;
    if (!S_ISLNK(info.st_mode))
        return Kind::Other;
    if (::fstatat(m_fd, entry.name.c_str(), &info, 0) != 0)
        return Kind::File;
    return S_ISDIR(info.st_mode) ? Kind::LinkToFolder : Kind::File;
}

std::optional<QDateTime> DirectoryReader::modified(const std::string &name) const
{
    struct stat info
    {
    };
    if (m_fd < 0 || ::fstatat(m_fd, name.c_str(), &info, 0) != 0)
        return std::nullopt;
    return dateOf(info);
}

} // namespace Lumo::Search
