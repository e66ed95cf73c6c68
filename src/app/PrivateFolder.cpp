#include "PrivateFolder.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Lumo::App::PrivateFolder {

namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("PrivateFolder", text);
}

} // namespace

QString problem(const QString &path)
{
    struct stat status = {};
    if (path.isEmpty() || ::lstat(QFile::encodeName(path).constData(), &status) != 0)
        return tr("%1 does not exist").arg(path);
    if (S_ISLNK(status.st_mode))
        return tr("%1 is a symbolic link").arg(path);
    if (!S_ISDIR(status.st_mode))
        return tr("%1 is not a folder").arg(path);
    if (status.st_uid != ::getuid())
        return tr("%1 belongs to another user").arg(path);
    if ((status.st_mode & 077) != 0)
        return tr("%1 is open to other users").arg(path);
    return {};
}

QString forSockets()
{
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!runtime.isEmpty() && problem(runtime).isEmpty())
        return QDir::cleanPath(runtime);
    const QString own = QDir::tempPath() + QStringLiteral("/lumo-%1").arg(::getuid());
    ::mkdir(QFile::encodeName(own).constData(), 0700);
    return own;
}

bool peerIsThisUser(qintptr socketDescriptor)
{
#ifdef SO_PEERCRED
    struct ucred credentials = {};
    socklen_t size = sizeof credentials;
    if (::getsockopt(static_cast<int>(socketDescriptor), SOL_SOCKET, SO_PEERCRED, &credentials,
                     &size) != 0 ||
        size != sizeof credentials)
        return false;
    return credentials.uid == ::getuid();
#else
    uid_t user = 0;
    gid_t group = 0;
    return ::getpeereid(static_cast<int>(socketDescriptor), &user, &group) == 0 &&
           user == ::getuid();
#endif
}

} // namespace Lumo::App::PrivateFolder
