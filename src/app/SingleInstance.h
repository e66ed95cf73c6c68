#pragma once

#include <QJsonObject>
#include <QObject>

class QLocalServer;

namespace Lumo::App {

// One Lumo per user: a later launch hands its request to the running instance over a
// local socket in a private folder of the user's and exits; either end hangs up on a
// process of another user. The same socket carries the diagnostic notifications of
// "lumo --post NAME [ARG]".
//
// A request is one JSON object per connection: {"kind": "open", "paths": [...],
// "urls": [...], "text": "..."} or {"kind": "post", "name": "...", "arg": "..."}.
class SingleInstance final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SingleInstance)

public:
    explicit SingleInstance(QObject *parent = nullptr);

    // In a folder only this user can enter (see PrivateFolder); neither end uses it
    // when that folder is not private.
    static QString socketPath();
    // Delivers a request to the running instance; false when none answers.
    static bool send(const QJsonObject &request, int timeoutMilliseconds = 3000);

    // Starts answering; false when another instance already does, or the socket
    // cannot be created.
    bool listen();

Q_SIGNALS:
    void requestReceived(const QJsonObject &request);

private:
    QLocalServer *m_server;
};

} // namespace Lumo::App
