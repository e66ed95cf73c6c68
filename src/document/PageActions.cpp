#include "PageActions.h"

#include "base/SaveFolder.h"

#include <QClipboard>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImage>
#include <QMessageBox>
#include <QMimeData>
#include <QSaveFile>

namespace Lumo::Document {

namespace SaveFolder = Lumo::Base::SaveFolder;

namespace PageActions {

QString svgFileName(const QString &documentPath, const QString &diagramName)
{
    const QString document = documentPath.isEmpty() ? QStringLiteral("Untitled")
                                                    : QFileInfo(documentPath).completeBaseName();
    QString name;
    for (const QChar c : diagramName) {
        if (c.isLetterOrNumber() || c == QLatin1Char('-') || c == QLatin1Char('_') ||
            c == QLatin1Char('.'))
            name.append(c);
    }
    if (name.isEmpty())
        name = QStringLiteral("diagram");
    return document + QLatin1Char('-') + name + QStringLiteral(".svg");
}

QByteArray svgFileContents(const QString &svg)
{
    return QByteArrayLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n") + svg.toUtf8();
}

QByteArray pngFromDataUrl(const QString &dataUrl)
{
    static const QLatin1String prefix("data:image/png;base64,");
    if (!dataUrl.startsWith(prefix))
        return {};
    return QByteArray::fromBase64(dataUrl.sliced(prefix.size()).toLatin1());
}

void copyText(const QString &text)
{
    QGuiApplication::clipboard()->setText(text);
}

void copyImage(const QString &dataUrl)
{
    const QByteArray png = pngFromDataUrl(dataUrl);
    const QImage image = QImage::fromData(png, "PNG");
    if (image.isNull())
        return;
    auto *data = new QMimeData;
    data->setImageData(image);
    data->setData(QStringLiteral("image/png"), png);
    QGuiApplication::clipboard()->setMimeData(data);
}

void saveSVG(const QString &svg, const QString &diagramName, const QString &documentPath,
             QWidget *window)
{
    const QString folder = SaveFolder::proposedFor(documentPath);
    auto *dialog = new QFileDialog(window, QCoreApplication::translate("PageActions", "Save SVG"),
                                   QDir(folder).filePath(svgFileName(documentPath, diagramName)),
                                   QCoreApplication::translate("PageActions", "SVG image (*.svg)"));
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setDefaultSuffix(QStringLiteral("svg"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    QObject::connect(
        dialog, &QFileDialog::fileSelected, dialog, [svg, window](const QString &path) {
            QSaveFile file(path);
            const QByteArray bytes = svgFileContents(svg);
            if (file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() &&
                file.commit())
                return;
            QMessageBox::warning(
                window, QCoreApplication::translate("PageActions", "Save SVG"),
                QCoreApplication::translate("PageActions", "The diagram could not be saved: %1")
                    .arg(file.errorString()));
        });
    dialog->open();
}

} // namespace PageActions

} // namespace Lumo::Document
