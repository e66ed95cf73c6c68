#pragma once

#include <functional>
#include <QHash>
#include <QJsonObject>
#include <QJsonValue>
#include <QWebEnginePage>

class QWebEngineProfile;

namespace Lumo::Document {

// The reading page of one document: loads the bundled index.html, never navigates
// away from it (link clicks are handed out through linkClicked), opens no windows,
// and talks to its script over a web channel that lives in an isolated script world,
// so nothing a document contains can reach the native side.
//
// Main thread only. Every page shares one profile, which serves "mv-asset:".
class PreviewPage final : public QWebEnginePage
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PreviewPage)

public:
    using Reply = std::function<void(const QJsonValue &value, const QString &error)>;

    explicit PreviewPage(QObject *parent = nullptr);
    ~PreviewPage() override;

    static QWebEngineProfile *sharedProfile();
    // The page file in the resource folder.
    static QUrl indexUrl();

    // Loads the page; a missing page resource leaves it empty.
    void loadIndex();

    // Evaluates a script in the page; a failure is printed as "Lumo JS error: ".
    void call(const QString &script);
    // Evaluates each script in turn, each a task of its own in the page.
    void call(const QStringList &scripts);
    // Calls mv[name](arguments...) in the page and hands its (awaited) result to done.
    // done runs exactly once: with an error when the page fails or goes away first.
    void callAwaited(const QString &name, const QString &argumentsJs, Reply done);

    // A message as the page sent it, when it is an object with a string "type".
    void receive(const QString &json);

Q_SIGNALS:
    // Every valid message from the page except replies and script errors.
    void messageReceived(const QJsonObject &message);
    void linkClicked(const QUrl &url);

protected:
    bool acceptNavigationRequest(const QUrl &url, NavigationType type, bool isMainFrame) override;
    void javaScriptConsoleMessage(JavaScriptConsoleMessageLevel level, const QString &message,
                                  int lineNumber, const QString &sourceId) override;
    QWebEnginePage *createWindow(WebWindowType type) override;

private:
    void installRelay();
    void failPendingReplies(const QString &error);

    qint64 m_nextRequest = 1;
    QHash<qint64, Reply> m_replies;
};

} // namespace Lumo::Document
