#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <thread>

namespace Lumo::Workspace {

// Tells a folder tree that something that may change its Markdown tree happened
// anywhere below the browsed folder: one inotify watch per folder, added as folders
// appear; skipped folders, the home folder's large standard folders and linked folders
// are never watched. Events are read on a worker thread in batches of 0.3 s, filtered
// there, and each relevant batch calls the handler once, on the main thread, with the
// Markdown files that were only written to (a log growing, a file saved in place), or
// with none when anything else happened, which asks for a rescan.
//
// When the kernel drops events (queue overflow) or the browsed folder itself is moved
// or deleted, the handler is always called; it is called again once a folder of that
// name appears in its place, which is then watched. A folder moved out of the tree is
// no longer watched. When no more watches can be added (the per-user limit, or
// `watchLimit` for this folder), the folders already watched keep reporting and the
// rest of the tree updates only on explicit rescans.
//
// start() and stop() are called on the main thread. The watcher starts once; stop() is
// idempotent and no handler runs after it; destroying the watcher stops it.
class FolderWatcher final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FolderWatcher)

public:
    // The flag bits of one event, as the filter reads them.
    enum Flag : quint32 {
        MustScanSubDirs = 0x1,
        KernelDropped = 0x4,
        RootChanged = 0x20,
        ItemModified = 0x1000,
        ItemIsDir = 0x20000,
    };

    static constexpr int latencyMilliseconds = 300;
    // Enough for very large trees while leaving the user's inotify allowance to others.
    static constexpr int defaultWatchLimit = 16384;

    explicit FolderWatcher(QObject *parent = nullptr);
    ~FolderWatcher() override;

    using Handler = std::function<void(const QStringList &written)>;
    void start(const QString &root, Handler onChange);
    void stop();
    // Takes effect at start.
    void setWatchLimit(int limit) { m_watchLimit = limit; }

    // Folders watched right now (any thread).
    int watchCount() const { return m_watchCount.load(); }
    // Whether some folder could not be watched for lack of watches (any thread).
    bool isPartial() const { return m_partial.load(); }

    // Whether a batch of (path, flags) events can change the tree. Paths are relative
    // to the browsed folder ("" for the folder itself).
    static bool isRelevant(const QStringList &paths, const QList<quint32> &flags);
    // The files of a relevant batch that were only written to, each once; empty when
    // the batch holds anything else.
    static QStringList writtenOnly(const QStringList &paths, const QList<quint32> &flags);
    // The flag word of one inotify event; `onRoot` when it concerns the browsed folder.
    static quint32 flagsOf(quint32 inotifyMask, bool onRoot);
    // A batch from the worker: calls the handler on the main thread when relevant.
    void received(const QStringList &paths, const QList<quint32> &flags);

private:
    class Worker;

    Handler m_onChange;
    bool m_started = false;
    bool m_stopped = false;
    int m_watchLimit = defaultWatchLimit;
    std::atomic<int> m_watchCount{0};
    std::atomic<bool> m_partial{false};
    std::unique_ptr<Worker> m_worker;
    std::thread m_thread;
};

} // namespace Lumo::Workspace
