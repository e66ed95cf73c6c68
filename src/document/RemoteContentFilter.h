#pragma once

#include <QWebEngineUrlRequestInterceptor>

namespace Lumo::Document {

// Keeps reading pages off the network when the user said so ("Load remote images"
// off) and always for pages nobody sees (a headless export): a fetched image tells its
// server who opened the document and when. Links are not requests of the page and
// are unaffected. Installed once on the shared profile; runs on the GUI thread.
class RemoteContentFilter final : public QWebEngineUrlRequestInterceptor
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(RemoteContentFilter)

public:
    using QWebEngineUrlRequestInterceptor::QWebEngineUrlRequestInterceptor;

    // From now on no page of this process fetches anything remote.
    static void forbidAll();

    void interceptRequest(QWebEngineUrlRequestInfo &info) override;
};

} // namespace Lumo::Document
