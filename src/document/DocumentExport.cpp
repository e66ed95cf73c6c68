#include "DocumentExport.h"

#include "CustomCSS.h"
#include "base/Preferences.h"
#include "AssetPolicy.h"
#include "DocumentController.h"
#include "HTMLExporter.h"
#include "PageConnection.h"
#include "PageScript.h"
#include "PDFPrint.h"
#include "RichText.h"
#include "base/Background.h"

#include <cstdio>
#include <QClipboard>
#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QPointer>
#include <QSaveFile>
#include <QUrl>

namespace Lumo::Document {

using Lumo::Base::Appearance;
using Lumo::Base::Preferences;
using Lumo::Base::runInBackground;

namespace DocumentExport {
namespace {

QString notReady()
{
    return QStringLiteral("the page is not ready yet");
}

// Calls the page's exporter `name` with the page's images embedded.
void callWithImages(DocumentController *controller, const QString &name, PageConnection::Reply done)
{
    QPointer<DocumentController> self(controller);
    embeddedImages(controller, [self, name, done](const QJsonObject &images) {
        if (!self || !self->page())
            return;
        self->page()->callAwaited(
            name, QString::fromUtf8(QJsonDocument(images).toJson(QJsonDocument::Compact)),
            [self, done](const QJsonValue &value, const QString &error) {
                if (self)
                    done(value, error);
            });
    });
}

} // namespace

void embeddedImages(DocumentController *controller, std::function<void(const QJsonObject &)> done)
{
    if (!controller->page())
        return;
    const QString documentPath =
        controller->document() ? controller->document()->path() : QString();
    const QString folder = controller->sidebarRoot();
    controller->page()->callAwaited(
        QStringLiteral("localImages"), QString(),
        [self = QPointer(controller), done, documentPath, folder](const QJsonValue &value,
                                                                  const QString &) {
            if (!self)
                return;
            QStringList sources;
            for (const QJsonValue &entry : value.toArray())
                sources.append(entry.toString());
            // Off the GUI thread: a file may sit on a slow disk.
            runInBackground(
                self.data(),
                [sources, documentPath, folder] {
                    const QStringList roots = AssetPolicy::roots(documentPath, folder);
                    QJsonObject images;
                    for (const QString &source : sources) {
                        const auto path = AssetPolicy::requestedPath(QUrl(source));
                        const auto result =
                            path ? AssetPolicy::read(*path, roots, AssetPolicy::embedLimit)
                                 : AssetPolicy::Refusal{QStringLiteral("not a media file")};
                        if (const auto *asset = std::get_if<AssetPolicy::Asset>(&result)) {
                            images.insert(source, AssetPolicy::dataUrl(*asset));
                            continue;
                        }
                        // Said, so that an export that keeps a plain link is explained.
                        std::fprintf(stderr, "Lumo: not embedded: %s: %s\n", qUtf8Printable(source),
                                     qUtf8Printable(std::get<AssetPolicy::Refusal>(result).reason));
                    }
                    return images;
                },
                done);
        });
}

void writeHTML(DocumentController *controller, const QString &path, Done done)
{
    const QString title = controller->title();
    callWithImages(
        controller, QStringLiteral("exportHTML"),
        [title, path, done](const QJsonValue &answer, const QString &error) {
            if (!answer.isObject()) {
                if (done)
                    done(false,
                         error.isEmpty() ? QStringLiteral("the page gave no export") : error);
                return;
            }
            const Preferences &prefs = Preferences::shared();
            const std::optional<QString> css =
                prefs.useCustomCSS() ? std::optional<QString>(CustomCSS::shared().text())
                                     : std::nullopt;
            const QByteArray html = HTMLExporter::document(answer.toObject(), title, css).toUtf8();
            QSaveFile file(path);
            const bool ok =
                file.open(QIODevice::WriteOnly) && file.write(html) == html.size() && file.commit();
            if (done)
                done(ok, ok ? QString() : file.errorString());
        });
}

void writePDF(DocumentController *controller, PreviewPage *page, const QString &path,
              Appearance appearance, Done done)
{
    if (!page || !controller->isReady()) {
        if (done)
            done(false, notReady());
        return;
    }
    // The PDF takes the page's title as its own.
    controller->call(QStringLiteral("document.title = ") + PageScript::json(controller->title()));
    PDFPrint::toFile(page, path, appearance, [done](bool ok, const QString &error) {
        if (done)
            done(ok, error);
    });
}

void copyRichText(DocumentController *controller, Done done)
{
    if (!controller->page() || !controller->isReady()) {
        if (done)
            done(false, notReady());
        return;
    }
    callWithImages(
        controller, QStringLiteral("richHTML"),
        [done](const QJsonValue &html, const QString &error) {
            if (!html.isString()) {
                if (done)
                    done(false, error.isEmpty() ? QStringLiteral("the page gave no text") : error);
                return;
            }
            QGuiApplication::clipboard()->setMimeData(RichText::mimeData(html.toString()));
            if (done)
                done(true, QString());
        });
}

} // namespace DocumentExport

} // namespace Lumo::Document
