#pragma once

#include <functional>
#include <QJsonObject>
#include <QJsonValue>
#include <QObject>

namespace Lumo::Document {

// What a document controller needs of its reading page: scripts evaluated in it,
// calls whose (possibly awaited) result comes back, the messages it posts, and word
// of its loss. The real one is a web page (WebPageConnection); tests use a fake.
//
// Main thread only.
class PageConnection : public QObject
{
    Q_OBJECT

public:
    using Reply = std::function<void(const QJsonValue &value, const QString &error)>;

    using QObject::QObject;

    // Loads the page from the start; it says "ready" once it can take calls.
    virtual void load() = 0;
    // Evaluates a script in the page; failures are printed, never returned.
    virtual void call(const QString &script) = 0;
    // Calls mv[name](arguments...) and hands its result to done, exactly once: with an
    // error when the page fails or goes away first.
    virtual void callAwaited(const QString &name, const QString &argumentsJs, Reply done) = 0;
    // The page failed so often that it is no longer loaded.
    virtual bool hasGivenUp() const = 0;

Q_SIGNALS:
    // Every message of the page: "ready", "rendered", "outline", "topLine", ...
    void messageReceived(const QJsonObject &message);
    // The page shown so far is gone; a new one is on its way unless it gave up.
    void lost();
    void gaveUp();
};

} // namespace Lumo::Document
