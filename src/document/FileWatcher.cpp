#include "FileWatcher.h"

#include <array>
#include <cerrno>
#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QPointer>
#include <QSocketNotifier>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Lumo::Document {

namespace {

constexpr quint32 eventMask =
    IN_MODIFY | IN_ATTRIB | IN_CLOSE_WRITE | IN_MOVE_SELF | IN_DELETE_SELF;
constexpr quint32 goneMask = IN_MOVE_SELF | IN_DELETE_SELF | IN_IGNORED | IN_UNMOUNT;
// Symbolic links a path goes through before its file, at most (the kernel's own limit).
constexpr int linkHops = 40;

// Through symbolic links.
bool identify(const QString &path, quint64 *device, quint64 *inode)
{
    struct stat info
    {
    };
    if (::stat(QFile::encodeName(path).constData(), &info) != 0)
        return false;
    *device = info.st_dev;
    *inode = info.st_ino;
    return true;
}

// Whether a failed watch means the path is not there, rather than that the system
// refuses the watch.
bool isMissing(int error)
{
    return error == ENOENT || error == ENOTDIR || error == ELOOP;
}

} // namespace

// One inotify descriptor for the whole process, however many files are watched, so
// open documents never run into the per-user limit of inotify instances. When no
// descriptor can be had (that limit reached by other programs), each watch asks again.
// The kernel gives two watches of the same file one watch descriptor, hence the lists.
class InotifyHub : public QObject
{
public:
    static InotifyHub *instance()
    {
        static QPointer<InotifyHub> hub;
        if (!hub && QCoreApplication::instance())
            hub = new InotifyHub(QCoreApplication::instance());
        return hub;
    }

    // The watch descriptor, or -1 with errno set. A link is watched itself, not the
    // file it names.
    int add(const QString &path, FileWatcher *watcher, bool link)
    {
        if (m_fd < 0 && !open())
            return -1;
        const int wd = inotify_add_watch(m_fd, QFile::encodeName(path).constData(),
                                         link ? eventMask | IN_DONT_FOLLOW : eventMask);
        if (wd >= 0 && !m_watchers[wd].contains(watcher))
            m_watchers[wd].append(watcher);
        return wd;
    }

    void remove(int wd, FileWatcher *watcher)
    {
        auto found = m_watchers.find(wd);
        if (found == m_watchers.end())
            return;
        found->removeAll(watcher);
        if (found->isEmpty()) {
            m_watchers.erase(found);
            inotify_rm_watch(m_fd, wd);
        }
    }

    ~InotifyHub() override
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }

private:
    explicit InotifyHub(QObject *parent)
        : QObject(parent)
    {
        open();
    }

    bool open()
    {
        m_fd = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
        if (m_fd < 0)
            return false;
        auto *notifier = new QSocketNotifier(m_fd, QSocketNotifier::Read, this);
        connect(notifier, &QSocketNotifier::activated, this, &InotifyHub::readEvents);
        return true;
    }

    void readEvents()
    {
        // Gather the whole queue first: a handler may re-arm and change the lists.
        QHash<int, quint32> masks;
        alignas(inotify_event) std::array<char, 16384> buffer;
        for (;;) {
            const ssize_t length = ::read(m_fd, buffer.data(), buffer.size());
            if (length <= 0)
                break;
            for (ssize_t offset = 0; offset < length;) {
                const auto *event = reinterpret_cast<const inotify_event *>(buffer.data() + offset);
                masks[event->wd] |= event->mask;
                offset += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
            }
        }
        for (auto it = masks.cbegin(); it != masks.cend(); ++it) {
            const QList<FileWatcher *> watchers = m_watchers.value(it.key());
            if (it.value() & IN_IGNORED)
                m_watchers.remove(it.key());
            for (FileWatcher *watcher : watchers) {
                if (watcher->m_watches.contains(it.key()))
                    watcher->handleEvents(it.value());
            }
        }
    }

    int m_fd = -1;
    QHash<int, QList<FileWatcher *>> m_watchers;
};

FileWatcher::FileWatcher(std::function<void()> onChange, QObject *parent)
    : QObject(parent)
    , m_onChange(std::move(onChange))
{
    m_pending.setSingleShot(true);
    m_pending.setInterval(debounceMilliseconds);
    m_retry.setSingleShot(true);
    m_retry.setInterval(retryMilliseconds);
    // Only ever pending while the path of the latest watch() is missing or blocked.
    connect(&m_retry, &QTimer::timeout, this, [this] { watch(m_path, true); });
    m_longest.setSingleShot(true);
    m_longest.setInterval(longestWaitMilliseconds);
    connect(&m_pending, &QTimer::timeout, this, &FileWatcher::deliver);
    connect(&m_longest, &QTimer::timeout, this, &FileWatcher::deliver);
}

FileWatcher::~FileWatcher()
{
    detach();
}

void FileWatcher::watch(const QString &path)
{
    watch(path, false);
}

void FileWatcher::detach()
{
    InotifyHub *hub = InotifyHub::instance();
    for (const int wd : std::as_const(m_watches)) {
        if (hub)
            hub->remove(wd, this);
    }
    m_watches.clear();
}

void FileWatcher::setBlocked(bool blocked)
{
    if (blocked == m_blocked)
        return;
    m_blocked = blocked;
    Q_EMIT blockedChanged(blocked);
}

void FileWatcher::watch(const QString &path, bool reattaching)
{
    detach();
    m_retry.stop();
    m_path = path;
    if (path.isEmpty()) {
        setBlocked(false);
        return;
    }
    if (!attach(path)) {
        detach();
        m_retry.start();
        return;
    }
    setBlocked(false);
    if (reattaching)
        fire();
}

bool FileWatcher::attach(const QString &path)
{
    InotifyHub *hub = InotifyHub::instance();
    if (!hub || !identify(path, &m_device, &m_inode)) {
        setBlocked(false);
        return false;
    }
    // The file itself, then every link on the way to it, so that pointing one of them
    // elsewhere is noticed too.
    const auto add = [&](const QString &where, bool link) {
        const int wd = hub->add(where, this, link);
        if (wd < 0)
            setBlocked(!isMissing(errno));
        else
            m_watches.append(wd);
        return wd >= 0;
    };
    if (!add(path, false))
        return false;
    QFileInfo link(path);
    for (int hop = 0; hop < linkHops && link.isSymLink(); ++hop) {
        if (!add(link.filePath(), true))
            return false;
        link.setFile(link.symLinkTarget());
    }
    return true;
}

void FileWatcher::handleEvents(quint32 mask)
{
    quint64 device = 0;
    quint64 inode = 0;
    const bool replaced = (mask & goneMask) != 0 || !identify(m_path, &device, &inode) ||
                          device != m_device || inode != m_inode;
    // The watch follows the old file, which was moved away or unlinked: open the
    // path afresh, or wait for it to come back.
    if (replaced)
        watch(m_path, false);
    fire();
}

void FileWatcher::fire()
{
    m_pending.start();
    if (!m_longest.isActive())
        m_longest.start();
}

void FileWatcher::deliver()
{
    m_pending.stop();
    m_longest.stop();
    if (m_onChange)
        m_onChange();
}

} // namespace Lumo::Document
