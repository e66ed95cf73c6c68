#pragma once

#include <QObject>
#include <QPointer>
#include <QTimer>

namespace Lumo::Document {

class PreviewPage;

// Keeps a reading page alive: loads it, and loads it again when its renderer process
// ends or when it does not say "ready" in time (a new renderer sometimes comes up
// without the page's relay: its load finishes, and "ready" never comes). Loads that
// fail in a row, without a render completed in between, are bounded: after the last
// one it gives up for good rather than crash and reload forever.
//
// Main thread only. The owner reports what the page says (ready, rendered).
class PageRecovery final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PageRecovery)

public:
    static constexpr int readyTimeoutMilliseconds = 15000;
    // Once the load has finished: "ready" comes with it, or not at all.
    static constexpr int readyAfterLoadMilliseconds = 3000;
    // Loads in a row that may fail before giving up; the first load counts.
    static constexpr int attempts = 4;

    explicit PageRecovery(PreviewPage *page, QObject *parent = nullptr);

    void load();
    void pageBecameReady();
    void pageRendered();
    bool hasGivenUp() const { return m_gaveUp; }

Q_SIGNALS:
    // The page shown so far is gone (its renderer ended, or it is loaded again).
    void pageLost();
    // No more loads: the page failed `attempts` times in a row.
    void gaveUp();

private:
    void retry();

    QPointer<PreviewPage> m_page;
    QTimer m_readyTimeout;
    int m_failures = 0;
    bool m_gaveUp = false;
};

} // namespace Lumo::Document
