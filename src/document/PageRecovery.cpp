#include "PageRecovery.h"

#include "PreviewPage.h"

namespace Lumo::Document {

PageRecovery::PageRecovery(PreviewPage *page, QObject *parent)
    : QObject(parent)
    , m_page(page)
{
    m_readyTimeout.setSingleShot(true);
    connect(&m_readyTimeout, &QTimer::timeout, this, &PageRecovery::retry);
    // The page says "ready" as its load finishes; a page loaded without its relay never
    // will, and the reader should not look at a blank preview for the rest of the wait.
    connect(page, &QWebEnginePage::loadFinished, this, [this] {
        if (m_readyTimeout.isActive() &&
            m_readyTimeout.remainingTime() > readyAfterLoadMilliseconds)
            m_readyTimeout.start(readyAfterLoadMilliseconds);
    });
    connect(page, &QWebEnginePage::renderProcessTerminated, this, [this] {
        m_readyTimeout.stop();
        // Not from inside the engine's own notification: the new process is started
        // only for a load asked for afterwards.
        QMetaObject::invokeMethod(this, &PageRecovery::retry, Qt::QueuedConnection);
    });
}

void PageRecovery::load()
{
    if (!m_page || m_gaveUp)
        return;
    m_readyTimeout.start(readyTimeoutMilliseconds);
    m_page->loadIndex();
}

void PageRecovery::pageBecameReady()
{
    m_readyTimeout.stop();
}

void PageRecovery::pageRendered()
{
    m_failures = 0;
}

void PageRecovery::retry()
{
    if (m_gaveUp)
        return;
    Q_EMIT pageLost();
    if (++m_failures >= attempts) {
        m_gaveUp = true;
        m_readyTimeout.stop();
        if (m_page)
            m_page->triggerAction(QWebEnginePage::Stop);
        Q_EMIT gaveUp();
        return;
    }
    load();
}

} // namespace Lumo::Document
