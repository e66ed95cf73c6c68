#include "DesktopIntegration.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDesktopServices>
#include <QFileInfo>
#include <QUrl>

namespace Lumo::Base::DesktopIntegration {

namespace {

void openContainingFolder(const QString &path)
{
    const QString folder = folderToShow(path);
    if (!folder.isEmpty())
        QDesktopServices::openUrl(QUrl::fromLocalFile(folder));
}

} // namespace

QString folderToShow(const QString &path)
{
    // "tool.jar/x" names no file; its "folder" tool.jar would open with its program.
    for (QString folder = QFileInfo(path).absolutePath();;) {
        const QFileInfo info(folder);
        if (info.isDir())
            return info.canonicalFilePath();
        const QString parent = info.absolutePath();
        if (parent == folder)
            return {};
        folder = parent;
    }
}

void reveal(const QString &path)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        openContainingFolder(path);
        return;
    }
    const QString service = QStringLiteral("org.freedesktop.FileManager1");
    QDBusMessage call =
        QDBusMessage::createMethodCall(service, QStringLiteral("/org/freedesktop/FileManager1"),
                                       service, QStringLiteral("ShowItems"));
    call << QStringList{QUrl::fromLocalFile(path).toString()} << QString();
    // Asynchronous: the file manager may have to be started first.
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(call));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
                     [path](QDBusPendingCallWatcher *finished) {
                         if (finished->isError())
                             openContainingFolder(path);
                         finished->deleteLater();
                     });
}

} // namespace Lumo::Base::DesktopIntegration
