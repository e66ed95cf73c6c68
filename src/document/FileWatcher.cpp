#include "FileWatcher.h"

#include <array>
#include <cerrno>
#include <QCoreApplication>
#include <QFile>
#include <QHash>
#include <QPointer>
#include <QSocketNotifier>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr quint32 eventMask =
    IN_MODIFY | IN_ATTRIB | IN_CLOSE_WRITE | IN_MOVE_SELF | IN_DELETE_SELF | IN_DONT_FOLLOW;
constexpr quint32 goneMask = IN_MOVE_SELF | IN_DELETE_SELF | IN_IGNORED | IN_UNMOUNT;

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

} // namespace

// One inotify descriptor for the whole process, however many files are watched, so
// open documents never run into the per-user limit of inotify instances. The kernel
// gives two watches of the same file one watch descriptor, hence the lists.
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

    int add(const QString &path, FileWatcher *watcher)
    {
        if (m_fd < 0)
            return -1;
        const int wd = inotify_add_watch(m_fd, QFile::encodeName(path).constData(), eventMask);
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
        , m_fd(inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
    {
        if (m_fd < 0)
            return;
        auto *notifier = new QSocketNotifier(m_fd, QSocketNotifier::Read, this);
        connect(notifier, &QSocketNotifier::activated, this, &InotifyHub::readEvents);
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
                if (watcher->m_watch == it.key())
                    watcher->handleEvents(it.value());
            }
        }
    }

    int m_fd;
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
    // Only ever pending while the path of the latest watch() is missing.
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
    if (m_watch < 0)
        return;
    if (InotifyHub *hub = InotifyHub::instance())
        hub->remove(m_watch, this);
    m_watch = -1;
}

void FileWatcher::watch(const QString &path, bool reattaching)
{
    detach();
    m_retry.stop();
    m_path = path;
    if (path.isEmpty())
        return;

    InotifyHub *hub = InotifyHub::instance();
    const bool present = identify(path, &m_device, &m_inode);
    const int wd = present && hub ? hub->add(path, this) : -1;
    if (wd < 0) {
        m_retry.start();
        return;
    }
    m_watch = wd;
    if (reattaching)
        fire();
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
