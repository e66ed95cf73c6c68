#pragma once

#include <functional>
#include <QObject>
#include <QString>
#include <QTimer>

// Notices when one file changes on disk, also when an editor replaces it by renaming
// a new file over it, or deletes it and writes it again, and reports each burst of
// changes once, on the main thread, 0.12 s after its last event; a burst that goes
// on (a file written to again and again) is reported at least every 0.2 s. While
// the file is missing it is looked for again every 0.3 s; its coming back counts
// as a change.
//
// Main thread only. Destroying the watcher stops it; no callback runs afterwards.
class FileWatcher : public QObject
{
    Q_OBJECT

public:
    explicit FileWatcher(std::function<void()> onChange, QObject *parent = nullptr);
    ~FileWatcher() override;

    // Starts watching the file at the absolute path, or stops when it is empty.
    void watch(const QString &path);

    QString path() const { return m_path; }
    bool isAttached() const { return m_watch >= 0; }

    static constexpr int debounceMilliseconds = 120;
    static constexpr int longestWaitMilliseconds = 200;
    static constexpr int retryMilliseconds = 300;

private:
    friend class InotifyHub;

    void watch(const QString &path, bool reattaching);
    void detach();
    void handleEvents(quint32 mask);
    void fire();
    void deliver();

    std::function<void()> m_onChange;
    QString m_path;
    int m_watch = -1;
    // The identity of the watched file, to tell a replacement from a change.
    quint64 m_device = 0;
    quint64 m_inode = 0;
    QTimer m_pending;
    QTimer m_longest;
    QTimer m_retry;
};
