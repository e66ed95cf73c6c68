#include "WebPageConnection.h"

#include "PageRecovery.h"
#include "PreviewPage.h"

namespace Lumo::Document {

WebPageConnection::WebPageConnection(PreviewPage *page, QObject *parent)
    : PageConnection(parent)
    , m_page(page)
    , m_recovery(new PageRecovery(page, this))
{
    connect(page, &PreviewPage::messageReceived, this, [this](const QJsonObject &message) {
        const QString type = message.value(QLatin1String("type")).toString();
        if (type == QLatin1String("ready"))
            m_recovery->pageBecameReady();
        else if (type == QLatin1String("rendered") &&
                 message.value(QLatin1String("rev")).isDouble())
            m_recovery->pageRendered();
        Q_EMIT messageReceived(message);
    });
    connect(m_recovery, &PageRecovery::pageLost, this, &PageConnection::lost);
    connect(m_recovery, &PageRecovery::gaveUp, this, &PageConnection::gaveUp);
}

void WebPageConnection::load()
{
    m_recovery->load();
}

void WebPageConnection::call(const QString &script)
{
    m_page->call(script);
}

void WebPageConnection::callAwaited(const QString &name, const QString &argumentsJs, Reply done)
{
    m_page->callAwaited(name, argumentsJs, std::move(done));
}

bool WebPageConnection::hasGivenUp() const
{
    return m_recovery->hasGivenUp();
}

} // namespace Lumo::Document
