#include "SingleInstance.h"

#include "PrivateFolder.h"

#include <cstdio>
#include <QFileInfo>
#include <QJsonDocument>
#include <QLocalServer>
#include <QLocalSocket>
#include <unistd.h>

namespace Lumo::App {

namespace {

constexpr int maximumRequestBytes = 64 * 1024 * 1024;

} // namespace

SingleInstance::SingleInstance(QObject *parent)
    : QObject(parent)
    , m_server(new QLocalServer(this))
{
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    connect(m_server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket *socket = m_server->nextPendingConnection()) {
            if (!PrivateFolder::peerIsThisUser(socket->socketDescriptor())) {
                socket->abort();
                socket->deleteLater();
                continue;
            }
            connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
            connect(socket, &QLocalSocket::readyRead, socket, [this, socket] {
                if (socket->bytesAvailable() > maximumRequestBytes) {
                    socket->abort();
                    return;
                }
                if (!socket->canReadLine())
                    return;
                const QJsonDocument request = QJsonDocument::fromJson(socket->readLine());
                socket->write("ok\n");
                socket->flush();
                socket->disconnectFromServer();
                if (request.isObject())
                    Q_EMIT requestReceived(request.object());
            });
        }
    });
}

QString SingleInstance::socketPath()
{
    return PrivateFolder::forSockets() + QStringLiteral("/lumo-%1.socket").arg(::getuid());
}

bool SingleInstance::send(const QJsonObject &request, int timeoutMilliseconds)
{
    const QString path = socketPath();
    if (!PrivateFolder::problem(QFileInfo(path).path()).isEmpty())
        return false;
    QLocalSocket socket;
    socket.connectToServer(path);
    // Paths and piped text go only to a Lumo of this user.
    if (!socket.waitForConnected(timeoutMilliseconds) ||
        !PrivateFolder::peerIsThisUser(socket.socketDescriptor()))
        return false;
    socket.write(QJsonDocument(request).toJson(QJsonDocument::Compact) + '\n');
    if (!socket.waitForBytesWritten(timeoutMilliseconds))
        return false;
    // The answer says the request was read, not just buffered.
    while (!socket.canReadLine()) {
        if (!socket.waitForReadyRead(timeoutMilliseconds))
            return false;
    }
    return socket.readLine() == "ok\n";
}

bool SingleInstance::listen()
{
    const QString path = socketPath();
    if (const QString problem = PrivateFolder::problem(QFileInfo(path).path());
        !problem.isEmpty()) {
        std::fprintf(stderr, "lumo: %s\n", qUtf8Printable(problem));
        return false;
    }
    if (m_server->listen(path))
        return true;
    // A socket nobody answers on was left behind by an instance that ended abruptly.
    QLocalSocket probe;
    probe.connectToServer(path);
    if (probe.waitForConnected(500))
        return false;
    QLocalServer::removeServer(path);
    return m_server->listen(path);
}

} // namespace Lumo::App
