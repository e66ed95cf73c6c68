#include "AssetPolicy.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMimeDatabase>
#include <QUrl>

#ifdef Q_OS_UNIX
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace Lumo::Document::AssetPolicy {

namespace {

bool isMedia(const QMimeType &type)
{
    QStringList names = type.allAncestors();
    names.prepend(type.name());
    for (const QString &name : std::as_const(names)) {
        if (name.startsWith(QLatin1String("image/")) || name.startsWith(QLatin1String("audio/")) ||
            name.startsWith(QLatin1String("video/")) || name == QLatin1String("application/ogg"))
            return true;
    }
    return false;
}

const QMimeDatabase &database()
{
    static const QMimeDatabase shared;
    return shared;
}

bool hasControlCharacter(const QString &path)
{
    for (const QChar c : path) {
        const char16_t u = c.unicode();
        if (u < 0x20 || (u >= 0x7f && u <= 0x9f))
            return true;
    }
    return false;
}

// The type the bytes themselves show. An SVG file often starts with an XML
// declaration and comments that push its root element past the magic rules' reach;
// shown in an image it runs nothing, so its text is enough.
QMimeType sniffed(const QByteArray &data, const QString &path)
{
    const QMimeType type = database().mimeTypeForData(data);
    if (isMedia(type))
        return type;
    const QMimeType named = database().mimeTypeForFile(path, QMimeDatabase::MatchExtension);
    if (named.inherits(QStringLiteral("image/svg+xml")) &&
        type.inherits(QStringLiteral("text/plain")) && data.left(64 * 1024).contains("<svg"))
        return named;
    return type;
}

Refusal refused(const char *reason)
{
    return Refusal{QString::fromLatin1(reason)};
}

// Opened without following anything further and without waiting on a writer, so a
// FIFO or a device planted under an image's name never blocks; then checked on the
// open handle, so it cannot be swapped between the check and the read.
std::variant<QByteArray, Refusal> readRegular(const QString &path, qint64 limit)
{
#ifdef Q_OS_UNIX
    const int fd =
        ::open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0)
        return refused("cannot be opened");
    struct stat status = {};
    if (::fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) {
        ::close(fd);
        return refused("not a regular file");
    }
    if (status.st_size > limit) {
        ::close(fd);
        return refused("too large");
    }
    QFile file;
    if (!file.open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        ::close(fd);
        return refused("cannot be opened");
    }
#else
    if (!QFileInfo(path).isFile())
        return refused("not a regular file");
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return refused("cannot be opened");
#endif
    // The size may have grown since it was looked at: read one byte past the bound.
    QByteArray data = file.read(limit + 1);
    if (data.size() > limit)
        return refused("too large");
    return data;
}

} // namespace

std::optional<QString> requestedPath(const QUrl &url)
{
    const QString scheme = url.scheme();
    if (scheme != QLatin1String("mv-asset") && scheme != QLatin1String("file"))
        return std::nullopt;
    const QString path = url.path(QUrl::FullyDecoded);
    // A NUL would end the name at the system call while the check below saw ".png".
    if (!path.startsWith(QLatin1Char('/')) || hasControlCharacter(path))
        return std::nullopt;
    const QString file = QDir::cleanPath(path);
    if (!isMedia(database().mimeTypeForFile(file, QMimeDatabase::MatchExtension)))
        return std::nullopt;
    return file;
}

QStringList roots(const QString &documentPath, const QString &openedFolder)
{
    QStringList folders;
    for (const QString &folder :
         {documentPath.isEmpty() ? QString() : QFileInfo(documentPath).absolutePath(),
          openedFolder}) {
        if (folder.isEmpty())
            continue;
        const QString resolved = QFileInfo(folder).canonicalFilePath();
        if (!resolved.isEmpty() && !folders.contains(resolved))
            folders.append(resolved);
    }
    return folders;
}

bool isInside(const QString &path, const QStringList &roots)
{
    for (const QString &root : roots) {
        if (path == root)
            return true;
        const QString prefix = root.endsWith(QLatin1Char('/')) ? root : root + QLatin1Char('/');
        if (path.startsWith(prefix))
            return true;
    }
    return false;
}

std::variant<Asset, Refusal> read(const QString &path, const QStringList &roots, qint64 limit)
{
    const QString resolved = QFileInfo(path).canonicalFilePath();
    if (resolved.isEmpty())
        return refused("missing");
    if (!isInside(resolved, roots))
        return refused("outside the document's folder");
    auto content = readRegular(resolved, limit);
    if (auto *refusal = std::get_if<Refusal>(&content))
        return *refusal;
    const QByteArray &data = std::get<QByteArray>(content);
    const QMimeType type = sniffed(data, resolved);
    if (!isMedia(type))
        return refused("not an image, audio or video file");
    return Asset{data, type.name().toUtf8()};
}

QString dataUrl(const Asset &asset)
{
    return QStringLiteral("data:") + QString::fromLatin1(asset.mimeType) +
           QStringLiteral(";base64,") + QString::fromLatin1(asset.data.toBase64());
}

} // namespace Lumo::Document::AssetPolicy
