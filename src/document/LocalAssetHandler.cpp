#include "LocalAssetHandler.h"

#include "AssetPolicy.h"
#include "base/Background.h"

#include <QBuffer>
#include <QHash>
#include <QWebEngineUrlRequestJob>
#include <QWebEngineUrlScheme>

namespace Lumo::Document {

using Lumo::Base::runInBackground;

namespace {

using Folders = std::pair<QString, QString>; // a document's path, the folder opened around it

QHash<const QObject *, Folders> &allowed()
{
    static QHash<const QObject *, Folders> owners;
    return owners;
}

} // namespace

void LocalAssetHandler::allow(const QObject *owner, const QString &documentPath,
                              const QString &openedFolder)
{
    if (!allowed().contains(owner))
        QObject::connect(owner, &QObject::destroyed, [owner] { allowed().remove(owner); });
    allowed().insert(owner, {documentPath, openedFolder});
}

void LocalAssetHandler::registerScheme()
{
    QWebEngineUrlScheme assets(scheme);
    assets.setSyntax(QWebEngineUrlScheme::Syntax::Path);
    // Local, so a page loaded from file: may use it.
    assets.setFlags(QWebEngineUrlScheme::LocalScheme);
    QWebEngineUrlScheme::registerScheme(assets);
}

void LocalAssetHandler::requestStarted(QWebEngineUrlRequestJob *job)
{
    const std::optional<QString> path = AssetPolicy::requestedPath(job->requestUrl());
    if (!path) {
        job->fail(QWebEngineUrlRequestJob::RequestDenied);
        return;
    }
    const QList<Folders> owners = allowed().values();
    runInBackground(
        job,
        [file = *path, owners] {
            QStringList roots;
            for (const auto &[document, folder] : owners)
                roots += AssetPolicy::roots(document, folder);
            return AssetPolicy::read(file, roots, AssetPolicy::serveLimit);
        },
        [job](std::variant<AssetPolicy::Asset, AssetPolicy::Refusal> result) {
            auto *asset = std::get_if<AssetPolicy::Asset>(&result);
            if (!asset) {
                job->fail(QWebEngineUrlRequestJob::RequestDenied);
                return;
            }
            auto *buffer = new QBuffer(job);
            buffer->setData(asset->data);
            buffer->open(QIODevice::ReadOnly);
            job->reply(asset->mimeType, buffer);
        });
}

} // namespace Lumo::Document
