#include "PreviewPage.h"

#include "base/ResourcePaths.h"
#include "LocalAssetHandler.h"
#include "PageScript.h"
#include "RemoteContentFilter.h"

#include <cstdio>
#include <QColor>
#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QPointer>
#include <QWebChannel>
#include <QWebEngineProfile>
#include <QWebEngineScript>
#include <QWebEngineScriptCollection>
#include <QWebEngineSettings>

namespace Lumo::Document {

namespace ResourcePaths = Lumo::Base::ResourcePaths;

namespace {

void printScriptError(const QString &message)
{
    std::fprintf(stdout, "Lumo JS error: %s\n", qUtf8Printable(message));
    std::fflush(stdout);
}

// Runs in the isolated world of the page's main frame only: forwards the JSON
// strings the page dispatches as "lumo-post" events, and only while the frame still
// shows our page.
QString relayScript(const QUrl &pageUrl)
{
    QFile channelScript(QStringLiteral(":/qtwebchannel/qwebchannel.js"));
    if (!channelScript.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(channelScript.readAll()) +
           QStringLiteral(R"JS(
(function () {
    const page = %1;
    const waiting = [];
    let endpoint = null;
    document.addEventListener('lumo-post', function (event) {
        if (location.href.split('#')[0] !== page || typeof event.detail !== 'string')
            return;
        if (endpoint)
            endpoint.post(event.detail);
        else
            waiting.push(event.detail);
    });
    new QWebChannel(qt.webChannelTransport, function (channel) {
        endpoint = channel.objects.endpoint;
        waiting.splice(0).forEach(function (message) { endpoint.post(message); });
    });
})();
)JS")
               .arg(PageScript::json(pageUrl.toString(QUrl::FullyEncoded)));
}

// The one object the page's channel exposes: a mailbox, and nothing else.
class ChannelEndpoint : public QObject
{
    Q_OBJECT

public:
    explicit ChannelEndpoint(PreviewPage *page)
        : m_page(page)
    {}

    Q_INVOKABLE void post(const QString &message)
    {
        if (m_page)
            m_page->receive(message);
    }

private:
    QPointer<PreviewPage> m_page;
};

} // namespace

QWebEngineProfile *PreviewPage::sharedProfile()
{
    static QPointer<QWebEngineProfile> profile;
    if (profile)
        return profile;
    // Off the record: a reader needs no cookies, cache or history on disk.
    profile = new QWebEngineProfile(QCoreApplication::instance());
    profile->installUrlSchemeHandler(LocalAssetHandler::scheme, new LocalAssetHandler(profile));
    profile->setUrlRequestInterceptor(new RemoteContentFilter(profile));
    return profile;
}

QUrl PreviewPage::indexUrl()
{
    return QUrl::fromLocalFile(ResourcePaths::file(QStringLiteral("Web/index.html")));
}

PreviewPage::PreviewPage(QObject *parent)
    : QWebEnginePage(sharedProfile(), parent)
{
    auto *channel = new QWebChannel(this);
    channel->registerObject(QStringLiteral("endpoint"), new ChannelEndpoint(this));
    setWebChannel(channel, QWebEngineScript::ApplicationWorld);
    setBackgroundColor(Qt::transparent);
    // The page comes from a file; the web images a document names are fetched unless
    // RemoteContentFilter refuses them.
    settings()->setAttribute(QWebEngineSettings::LocalContentCanAccessRemoteUrls, true);

    connect(this, &QWebEnginePage::loadStarted, this,
            [this] { failPendingReplies(QStringLiteral("the page was reloaded")); });
    connect(this, &QWebEnginePage::renderProcessTerminated, this,
            [this] { failPendingReplies(QStringLiteral("the page's process ended")); });
}

PreviewPage::~PreviewPage()
{
    failPendingReplies(QStringLiteral("the page was closed"));
}

void PreviewPage::installRelay()
{
    static const QString source = relayScript(indexUrl());
    QWebEngineScript relay;
    relay.setName(QStringLiteral("lumo-relay"));
    relay.setSourceCode(source);
    relay.setInjectionPoint(QWebEngineScript::DocumentCreation);
    relay.setWorldId(QWebEngineScript::ApplicationWorld);
    relay.setRunsOnSubFrames(false);
    scripts().clear();
    scripts().insert(relay);
}

void PreviewPage::loadIndex()
{
    // Anew for every load: a new renderer process sometimes comes up without it.
    installRelay();
    const QUrl index = indexUrl();
    if (QFileInfo::exists(index.toLocalFile()))
        load(index);
}

void PreviewPage::call(const QString &script)
{
    // Exceptions come back as "error" messages through the channel.
    runJavaScript(QStringLiteral("try {\n%1\n} catch (error) {\n"
                                 "document.dispatchEvent(new CustomEvent('lumo-post', {detail: "
                                 "JSON.stringify({type: 'error', message: String(error && "
                                 "error.stack || error)})}));\n}")
                      .arg(script));
}

void PreviewPage::call(const QStringList &scripts)
{
    for (const QString &script : scripts)
        call(script);
}

void PreviewPage::callAwaited(const QString &name, const QString &argumentsJs, Reply done)
{
    const qint64 request = m_nextRequest++;
    m_replies.insert(request, std::move(done));
    call(PageScript::awaitedCall(request, name, argumentsJs));
}

void PreviewPage::receive(const QString &json)
{
    const QJsonDocument document = QJsonDocument::fromJson(json.toUtf8());
    const QJsonObject message = document.object();
    if (!document.isObject() || !message.value(QLatin1String("type")).isString())
        return;
    const QString type = message.value(QLatin1String("type")).toString();
    if (type == QLatin1String("reply")) {
        const Reply done = m_replies.take(message.value(QLatin1String("id")).toInteger(-1));
        if (done)
            done(message.value(QLatin1String("value")),
                 message.value(QLatin1String("error")).toString());
        return;
    }
    if (type == QLatin1String("error")) {
        printScriptError(message.value(QLatin1String("message")).toString());
        return;
    }
    Q_EMIT messageReceived(message);
}

void PreviewPage::failPendingReplies(const QString &error)
{
    const auto replies = std::exchange(m_replies, {});
    for (const Reply &done : replies)
        done(QJsonValue(), error);
}

bool PreviewPage::acceptNavigationRequest(const QUrl &url, NavigationType type, bool isMainFrame)
{
    if (!isMainFrame)
        return false;
    if (url.adjusted(QUrl::RemoveFragment) == indexUrl())
        return true;
    if (type == NavigationTypeLinkClicked)
        Q_EMIT linkClicked(url);
    return false;
}

void PreviewPage::javaScriptConsoleMessage(JavaScriptConsoleMessageLevel level,
                                           const QString &message, int lineNumber,
                                           const QString &sourceId)
{
    if (level == ErrorMessageLevel)
        // Joined, not formatted: a "%2" in the message must stay as it is.
        printScriptError(message + QStringLiteral(" (") + sourceId + QLatin1Char(':') +
                         QString::number(lineNumber) + QLatin1Char(')'));
}

QWebEnginePage *PreviewPage::createWindow(WebWindowType)
{
    return nullptr;
}

} // namespace Lumo::Document

#include "PreviewPage.moc"
