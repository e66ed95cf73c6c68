#pragma once

#include <optional>
#include <QWebEngineUrlSchemeHandler>

// Serves the document's local images (and audio and video) to the reading page
// through "mv-asset:" URLs holding absolute paths. Nothing else on disk is reachable
// this way: other types and relative paths are refused. Runs on the GUI thread.
class LocalAssetHandler : public QWebEngineUrlSchemeHandler
{
    Q_OBJECT

public:
    static constexpr char scheme[] = "mv-asset";

    using QWebEngineUrlSchemeHandler::QWebEngineUrlSchemeHandler;

    // Declares the scheme; must run before the application object exists.
    static void registerScheme();

    // The standardised local path a request may read, or nothing when refused.
    static std::optional<QString> fileFor(const QUrl &url);
    // The type to answer with, from the file's extension.
    static QByteArray mimeTypeOf(const QString &path);

    void requestStarted(QWebEngineUrlRequestJob *job) override;
};
