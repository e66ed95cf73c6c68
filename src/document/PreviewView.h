#pragma once

#include <QPointer>
#include <QWebEngineView>

namespace Lumo::Document {

class DocumentController;
class PageConnection;
class PreviewPage;

// The web view that shows one document's reading page, and the connection its
// controller talks to the page through. Links clicked in the page, the page's
// clipboard and save requests, the media it may load and the desktop's light or
// dark switch are carried out here, for the controller attached.
//
// Main thread only.
class PreviewView final : public QWebEngineView
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PreviewView)

public:
    explicit PreviewView(QWidget *parent = nullptr);

    PreviewPage *previewPage() const { return m_page; }
    PageConnection *connection() const { return m_connection; }

    // Serves the controller's document: call once, right after creating the controller.
    void attach(DocumentController *controller);

protected:
    void changeEvent(QEvent *event) override;

private:
    void allowAssets();

    PreviewPage *m_page;
    PageConnection *m_connection;
    QPointer<DocumentController> m_controller;
};

} // namespace Lumo::Document
