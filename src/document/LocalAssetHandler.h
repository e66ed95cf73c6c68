#pragma once

#include <QWebEngineUrlSchemeHandler>

namespace Lumo::Document {

// Serves the open documents' local images (and audio and video) to the reading page
// through "mv-asset:" URLs holding absolute paths, under AssetPolicy's rule: files in
// the folders of open documents only (see allow), and only real media. The checks and the read
// run off the GUI thread, so a slow or hostile file never freezes the window.
class LocalAssetHandler final : public QWebEngineUrlSchemeHandler
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(LocalAssetHandler)

public:
    static constexpr char scheme[] = "mv-asset";

    using QWebEngineUrlSchemeHandler::QWebEngineUrlSchemeHandler;

    // Declares the scheme; must run before the application object exists.
    static void registerScheme();

    // Lets pages load media from a document's folder and from the folder opened around
    // it, until owner is destroyed or calls again. Main thread only.
    static void allow(const QObject *owner, const QString &documentPath,
                      const QString &openedFolder);

    void requestStarted(QWebEngineUrlRequestJob *job) override;
};

} // namespace Lumo::Document
