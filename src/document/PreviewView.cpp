#include "PreviewView.h"

#include "DocumentController.h"
#include "LinkPolicy.h"
#include "LocalAssetHandler.h"
#include "PageAccessibleName.h"
#include "PageActions.h"
#include "PreviewPage.h"
#include "WebPageConnection.h"

#include <QEvent>
#include <QWebEngineSettings>

namespace Lumo::Document {

PreviewView::PreviewView(QWidget *parent)
    : QWebEngineView(parent)
    , m_page(new PreviewPage(this))
    , m_connection(new WebPageConnection(m_page, this))
{
    QWebEngineSettings *settings = m_page->settings();
    settings->setAttribute(QWebEngineSettings::FullScreenSupportEnabled, false);
    settings->setAttribute(QWebEngineSettings::PrintElementBackgrounds, true);
    settings->setAttribute(QWebEngineSettings::JavascriptCanOpenWindows, false);
    settings->setAttribute(QWebEngineSettings::JavascriptCanAccessClipboard, false);
    setPage(m_page);
    setContextMenuPolicy(Qt::NoContextMenu);
    new PageAccessibleName(this, tr("Document"));
}

void PreviewView::attach(DocumentController *controller)
{
    m_controller = controller;
    connect(m_page, &PreviewPage::linkClicked, controller, [this](const QUrl &url) {
        LinkPolicy::open(url, window(),
                         [this](const QString &path) { m_controller->open(path, false); });
    });
    connect(m_connection, &PageConnection::messageReceived, controller,
            [this](const QJsonObject &message) {
                const QString type = message.value(QLatin1String("type")).toString();
                const auto string = [&message](const char *key) {
                    return message.value(QLatin1String(key)).toString();
                };
                const OpenDocument *document = m_controller->document();
                if (type == QLatin1String("copyImage"))
                    PageActions::copyImage(string("dataURL"));
                else if (type == QLatin1String("saveSVG"))
                    PageActions::saveSVG(string("svg"), string("name"),
                                         document ? document->path() : QString(), window());
                else if (type == QLatin1String("copy"))
                    PageActions::copyText(string("text"));
            });
    if (const OpenDocument *document = controller->document())
        connect(document, &OpenDocument::pathChanged, this, &PreviewView::allowAssets);
    connect(controller, &DocumentController::sidebarRootChanged, this, &PreviewView::allowAssets);
    allowAssets();
}

void PreviewView::allowAssets()
{
    const OpenDocument *document = m_controller->document();
    LocalAssetHandler::allow(this, document ? document->path() : QString(),
                             m_controller->sidebarRoot());
}

void PreviewView::changeEvent(QEvent *event)
{
    // The desktop's light or dark switch reaches widgets as a palette change.
    if (event->type() == QEvent::PaletteChange && m_controller)
        m_controller->applyAppearance();
    QWebEngineView::changeEvent(event);
}

} // namespace Lumo::Document
