#pragma once

#include <functional>
#include <QObject>
#include <QString>
#include <QTimer>

namespace Lumo::Document {

// Notices when one file changes on disk, also when an editor replaces it by renaming
// a new file over it, or deletes it and writes it again, and reports each burst of
// changes once, on the main thread, 0.12 s after its last event; a burst that goes
// on (a file written to again and again) is reported at least every 0.2 s. While
// the file is missing it is looked for again every 0.3 s; its coming back counts
// as a change.
//
// A path that is a symbolic link (or a chain of them) is followed: changes to the
// file it names are reported, and so is pointing the link elsewhere.
//
// When the file is there but the system refuses to watch it (the user's inotify
// watches or instances are used up), the watcher is blocked: it says so and tries
// again every 0.3 s; getting the watch back counts as a change, since one may have
// been missed meanwhile.
//
// Main thread only. Destroying the watcher stops it; no callback runs afterwards.
class FileWatcher final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FileWatcher)

public:
    explicit FileWatcher(std::function<void()> onChange, QObject *parent = nullptr);
    ~FileWatcher() override;

    // Starts watching the file at the absolute path, or stops when it is empty.
    void watch(const QString &path);

    QString path() const { return m_path; }
    bool isAttached() const { return !m_watches.isEmpty(); }
    bool isBlocked() const { return m_blocked; }

    static constexpr int debounceMilliseconds = 120;
    static constexpr int longestWaitMilliseconds = 200;
    static constexpr int retryMilliseconds = 300;

Q_SIGNALS:
    void blockedChanged(bool blocked);

private:
    friend class InotifyHub;

    void watch(const QString &path, bool reattaching);
    bool attach(const QString &path);
    void detach();
    void setBlocked(bool blocked);
    void handleEvents(quint32 mask);
    void fire();
    void deliver();

    std::function<void()> m_onChange;
    QString m_path;
    // The file's own watch first, then one on each symbolic link leading to it.
    QList<int> m_watches;
    bool m_blocked = false;
    // The identity of the watched file, to tell a replacement from a change.
    quint64 m_device = 0;
    quint64 m_inode = 0;
    QTimer m_pending;
    QTimer m_longest;
    QTimer m_retry;
};

} // namespace Lumo::Document
