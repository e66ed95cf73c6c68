#include "LocalAssetHandler.h"

#include <QDir>
#include <QFile>
#include <QMimeDatabase>
#include <QWebEngineUrlRequestJob>
#include <QWebEngineUrlScheme>

namespace {

QMimeType typeOf(const QString &path)
{
    static const QMimeDatabase database;
    // By name only: content sniffing would read files the page has no business with.
    return database.mimeTypeForFile(path, QMimeDatabase::MatchExtension);
}

} // namespace

void LocalAssetHandler::registerScheme()
{
    QWebEngineUrlScheme assets(scheme);
    assets.setSyntax(QWebEngineUrlScheme::Syntax::Path);
    // Local, so a page loaded from file: may use it.
    assets.setFlags(QWebEngineUrlScheme::LocalScheme);
    QWebEngineUrlScheme::registerScheme(assets);
}

std::optional<QString> LocalAssetHandler::fileFor(const QUrl &url)
{
    const QString requestScheme = url.scheme();
    if (requestScheme != QLatin1String(scheme) && requestScheme != QLatin1String("file"))
        return std::nullopt;
    const QString path = url.path(QUrl::FullyDecoded);
    if (!path.startsWith(QLatin1Char('/')))
        return std::nullopt;
    const QString file = QDir::cleanPath(path);
    const QString type = typeOf(file).name();
    if (!type.startsWith(QLatin1String("image/")) && !type.startsWith(QLatin1String("audio/")) &&
        !type.startsWith(QLatin1String("video/")))
        return std::nullopt;
    return file;
}

QByteArray LocalAssetHandler::mimeTypeOf(const QString &path)
{
    const QMimeType type = typeOf(path);
    return type.isDefault() ? QByteArrayLiteral("application/octet-stream") : type.name().toUtf8();
}

void LocalAssetHandler::requestStarted(QWebEngineUrlRequestJob *job)
{
    const std::optional<QString> path = fileFor(job->requestUrl());
    if (!path) {
        job->fail(QWebEngineUrlRequestJob::RequestDenied);
        return;
    }
    // Streamed, not read whole: a video may be large.
    auto *file = new QFile(*path, job);
    if (!file->open(QIODevice::ReadOnly)) {
        job->fail(QWebEngineUrlRequestJob::UrlNotFound);
        return;
    }
    job->reply(mimeTypeOf(*path), file);
}
