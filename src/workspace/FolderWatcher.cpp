#include "FolderWatcher.h"

#include "base/MarkdownNames.h"
#include "search/DirectoryReader.h"
#include "FolderScanner.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <poll.h>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace Lumo::Workspace {

using Lumo::Search::DirectoryReader;
namespace MarkdownNames = Lumo::Base::MarkdownNames;

namespace {

constexpr quint32 watchMask = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_CLOSE_WRITE |
                              IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR |
                              IN_DONT_FOLLOW | IN_EXCL_UNLINK;
constexpr quint32 selfGoneMask = IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED | IN_UNMOUNT;
// On the nearest existing folder above a browsed folder that is gone: it, or a folder
// on the way to it, appearing; or that folder going too.
constexpr quint32 awaitMask = IN_CREATE | IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;

QString joined(const QString &prefix, const QString &name)
{
    return prefix.isEmpty() ? name : prefix + u'/' + name;
}

} // namespace

class FolderWatcher::Worker
{
public:
    Worker(FolderWatcher *owner, const QString &root, int limit)
        : m_owner(owner)
        , m_root(QDir::cleanPath(root))
        , m_home(QDir::cleanPath(QDir::homePath()))
        , m_limit(limit)
        , m_inotify(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
        , m_wake(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC))
    {}

    ~Worker()
    {
        if (m_inotify >= 0)
            ::close(m_inotify);
        if (m_wake >= 0)
            ::close(m_wake);
    }

    void requestStop()
    {
        m_stopping = true;
        const quint64 one = 1;
        // A full counter already wakes the worker; nothing to do when the write fails.
        [[maybe_unused]] const ssize_t written = ::write(m_wake, &one, sizeof one);
    }

    void run()
    {
        if (m_inotify < 0 || m_wake < 0)
            return;
        awaitRoot();
        using Clock = std::chrono::steady_clock;
        bool pending = false;
        Clock::time_point deadline;
        while (!m_stopping) {
            // While a batch is pending the events stay queued in the kernel, so a burst
            // bigger than its queue overflows and is reported as dropped events.
            std::array<pollfd, 2> fds{pollfd{m_wake, POLLIN, 0}, pollfd{m_inotify, POLLIN, 0}};
            int timeout = -1;
            if (pending) {
                const auto left =
                    std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
                timeout = int(std::max<qint64>(0, left.count()));
            }
            const int ready = ::poll(fds.data(), pending ? 1 : 2, timeout);
            if (m_stopping)
                break;
            if (ready < 0 && errno != EINTR)
                break;
            if (!pending && (fds[1].revents & POLLIN)) {
                pending = true;
                deadline = Clock::now() + std::chrono::milliseconds(latencyMilliseconds);
            } else if (pending && Clock::now() >= deadline) {
                pending = false;
                readBatch();
            }
        }
    }

private:
    void readBatch()
    {
        QStringList paths;
        QList<quint32> flags;
        bool overflowed = false;
        alignas(inotify_event) char buffer[64 * 1024];
        for (;;) {
            const ssize_t length = ::read(m_inotify, buffer, sizeof buffer);
            if (length <= 0)
                break;
            for (ssize_t offset = 0; offset < length;) {
                const auto *event = reinterpret_cast<const inotify_event *>(buffer + offset);
                offset += ssize_t(sizeof(inotify_event) + event->len);
                overflowed |= (event->mask & IN_Q_OVERFLOW) != 0;
                translate(*event, paths, flags);
            }
        }
        // Folders made while events were lost have no watch yet.
        if (overflowed)
            watchTree(QString(), 0);
        if (!paths.isEmpty() && !m_stopping)
            m_owner->received(paths, flags);
    }

    void translate(const inotify_event &event, QStringList &paths, QList<quint32> &flags)
    {
        if (event.mask & IN_Q_OVERFLOW) {
            paths << QString();
            flags << flagsOf(event.mask, false);
            return;
        }
        if (event.wd == m_awaitWatch && m_awaitWatch >= 0) {
            // Files made up there say nothing about the browsed folder.
            const bool folderCame =
                (event.mask & IN_ISDIR) && (event.mask & (IN_CREATE | IN_MOVED_TO));
            if (!folderCame && !(event.mask & (IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED)))
                return;
            awaitRoot();
            if (m_rootWatch >= 0) {
                paths << QString();
                flags << flagsOf(0, true);
            }
            return;
        }
        const auto found = m_watches.constFind(event.wd);
        if (found == m_watches.constEnd())
            return;
        const QString folder = *found;
        const bool onRoot = event.wd == m_rootWatch && (event.mask & selfGoneMask);
        if (event.mask & IN_IGNORED) {
            m_watches.remove(event.wd);
            publishCount();
            if (!onRoot)
                return;
        }
        const QString name = event.len ? QFile::decodeName(event.name) : QString();
        const QString path = name.isEmpty() ? folder : joined(folder, name);
        if ((event.mask & IN_ISDIR) && (event.mask & IN_MOVED_FROM))
            unwatchTree(path); // watched again below if it moved within the tree
        if ((event.mask & IN_ISDIR) && (event.mask & (IN_CREATE | IN_MOVED_TO)) &&
            isWatchable(folder, QFile::encodeName(name).toStdString()))
            watchTree(path, int(path.count(u'/')) + 1);
        paths << path;
        flags << flagsOf(event.mask, onRoot);
        if (onRoot && (event.mask & (IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED)))
            awaitRoot();
    }

    // The browsed folder is gone (or moved: its watches would follow it elsewhere).
    // Drops every watch and waits, from the nearest existing folder above it, for a
    // folder of its name to appear, then watches that one.
    void awaitRoot()
    {
        if (m_rootWatch >= 0) {
            for (auto it = m_watches.constBegin(); it != m_watches.constEnd(); ++it)
                ::inotify_rm_watch(m_inotify, it.key());
            m_watches.clear();
            publishCount();
            m_rootWatch = -1;
        }
        if (m_awaitWatch >= 0)
            ::inotify_rm_watch(m_inotify, m_awaitWatch);
        m_awaitWatch = -1;
        if (QFileInfo(m_root).isDir()) {
            watchTree(QString(), 0);
            m_rootWatch = m_watches.key(QString(), -1);
            return;
        }
        for (QString above = QFileInfo(m_root).path();; above = QFileInfo(above).path()) {
            m_awaitWatch =
                ::inotify_add_watch(m_inotify, QFile::encodeName(above).constData(), awaitMask);
            if (m_awaitWatch >= 0 || above == QFileInfo(above).path())
                break;
        }
        // Made in between: the events that would have said so came before the watch.
        if (QFileInfo(m_root).isDir())
            awaitRoot();
    }

    // Stops watching the folder at `relative` and the folders inside it.
    void unwatchTree(const QString &relative)
    {
        const QString inside = relative + u'/';
        for (auto it = m_watches.begin(); it != m_watches.end();) {
            if (*it == relative || it->startsWith(inside)) {
                ::inotify_rm_watch(m_inotify, it.key());
                it = m_watches.erase(it);
            } else {
                ++it;
            }
        }
        publishCount();
    }

    // Watches the folder at `relative` (depth levels below the root) and the folders
    // inside it that the scan would list.
    void watchTree(const QString &relative, int depth)
    {
        if (m_stopping || depth > FolderScanner::defaultMaxDepth)
            return;
        const QString absolute = absolutePath(relative);
        if (int(m_watches.size()) >= m_limit) {
            m_owner->m_partial = true;
            return;
        }
        const int watch =
            ::inotify_add_watch(m_inotify, QFile::encodeName(absolute).constData(), watchMask);
        if (watch < 0) {
            if (errno == ENOSPC)
                m_owner->m_partial = true;
            return;
        }
        m_watches.insert(watch, relative);
        publishCount();
        const DirectoryReader folder(absolute);
        for (const DirectoryReader::Entry &entry : folder.entries()) {
            if (folder.kind(entry) == DirectoryReader::Kind::Folder &&
                isWatchable(relative, entry.name))
                watchTree(joined(relative, QFile::decodeName(entry.name.c_str())), depth + 1);
        }
    }

    QString absolutePath(const QString &relative) const
    {
        if (relative.isEmpty())
            return m_root;
        return m_root.endsWith(u'/') ? m_root + relative : m_root + u'/' + relative;
    }

    // Whether the scan would walk the folder `name` inside the folder at `parent`.
    bool isWatchable(const QString &parent, const std::string &name) const
    {
        return !MarkdownNames::isSkippedFolder(name) &&
               !(absolutePath(parent) == m_home && FolderScanner::isSkippedInHome(name));
    }

    void publishCount() { m_owner->m_watchCount = int(m_watches.size()); }

    FolderWatcher *m_owner;
    const QString m_root;
    const QString m_home;
    const int m_limit;
    const int m_inotify;
    const int m_wake;
    std::atomic<bool> m_stopping{false};
    int m_rootWatch = -1;
    int m_awaitWatch = -1; // on the folder above a browsed folder that is gone
    // Watch descriptor to the folder's path relative to the root; the kernel hands out
    // the same descriptor for a folder watched twice, so a moved folder is re-keyed.
    QHash<int, QString> m_watches;
};

FolderWatcher::FolderWatcher(QObject *parent)
    : QObject(parent)
{}

FolderWatcher::~FolderWatcher()
{
    stop();
    if (m_thread.joinable())
        m_thread.join();
}

void FolderWatcher::start(const QString &root, Handler onChange)
{
    if (m_started || m_stopped)
        return;
    m_started = true;
    m_onChange = std::move(onChange);
    m_worker = std::make_unique<Worker>(this, root, m_watchLimit);
    m_thread = std::thread([worker = m_worker.get()] { worker->run(); });
}

void FolderWatcher::stop()
{
    if (m_stopped)
        return;
    m_stopped = true;
    m_onChange = nullptr;
    if (m_worker)
        m_worker->requestStop();
}

bool FolderWatcher::isRelevant(const QStringList &paths, const QList<quint32> &flags)
{
    const qsizetype count = std::min(paths.size(), flags.size());
    for (qsizetype i = 0; i < count; ++i) {
        if (flags[i] & (MustScanSubDirs | KernelDropped | RootChanged))
            return true;
        const QStringList pieces = paths[i].split(u'/', Qt::SkipEmptyParts);
        const bool inSkipped = std::any_of(pieces.begin(), pieces.end(), [](const QString &piece) {
            return MarkdownNames::skippedFolders().contains(piece);
        });
        if (inSkipped)
            continue;
        if (flags[i] & ItemIsDir)
            return true;
        if (!pieces.isEmpty() && MarkdownNames::isMarkdownName(pieces.last()))
            return true;
    }
    return false;
}

quint32 FolderWatcher::flagsOf(quint32 inotifyMask, bool onRoot)
{
    quint32 flags = 0;
    if (inotifyMask & IN_Q_OVERFLOW)
        flags |= MustScanSubDirs | KernelDropped;
    if (onRoot)
        flags |= RootChanged;
    if (inotifyMask & IN_ISDIR)
        flags |= ItemIsDir;
    if ((inotifyMask & IN_CLOSE_WRITE) &&
        !(inotifyMask & (IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO)))
        flags |= ItemModified;
    return flags;
}

QStringList FolderWatcher::writtenOnly(const QStringList &paths, const QList<quint32> &flags)
{
    QStringList written;
    const qsizetype count = std::min(paths.size(), flags.size());
    for (qsizetype i = 0; i < count; ++i) {
        if (!isRelevant({paths[i]}, {flags[i]}))
            continue;
        if (flags[i] != ItemModified)
            return {};
        if (!written.contains(paths[i]))
            written.append(paths[i]);
    }
    return written;
}

void FolderWatcher::received(const QStringList &paths, const QList<quint32> &flags)
{
    if (!isRelevant(paths, flags))
        return;
    QMetaObject::invokeMethod(
        this,
        [this, written = writtenOnly(paths, flags)] {
            if (m_onChange)
                m_onChange(written);
        },
        Qt::QueuedConnection);
}

} // namespace Lumo::Workspace
