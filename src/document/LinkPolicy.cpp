#include "LinkPolicy.h"

#include "base/DesktopIntegration.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMessageBox>
#include <QMimeDatabase>
#include <QPushButton>

namespace Lumo::Document {

namespace DesktopIntegration = Lumo::Base::DesktopIntegration;

namespace LinkPolicy {

namespace {

// Types a desktop opens in a viewer: images, PDF, plain text, RTF, CSV,
// presentations, spreadsheets, audio and video.
bool isOpenable(const QMimeType &type)
{
    static const QStringList kinds{
        QStringLiteral("application/pdf"),
        QStringLiteral("text/plain"),
        QStringLiteral("text/rtf"),
        QStringLiteral("application/rtf"),
        QStringLiteral("text/csv"),
        QStringLiteral("application/vnd.oasis.opendocument.presentation"),
        QStringLiteral("application/vnd.ms-powerpoint"),
        QStringLiteral("application/vnd.openxmlformats-officedocument.presentationml.presentation"),
        QStringLiteral("application/vnd.apple.keynote"),
        QStringLiteral("application/vnd.oasis.opendocument.spreadsheet"),
        QStringLiteral("application/vnd.ms-excel"),
        QStringLiteral("application/vnd.openxmlformats-officedocument.spreadsheetml.sheet"),
        QStringLiteral("application/vnd.apple.numbers"),
    };
    const QString name = type.name();
    if (name.startsWith(QLatin1String("image/")) || name.startsWith(QLatin1String("audio/")) ||
        name.startsWith(QLatin1String("video/")))
        return true;
    for (const QString &kind : kinds) {
        if (type.inherits(kind))
            return true;
    }
    return false;
}

// Programs, scripts, launchers, installers and pages that could run code: many of
// them count as plain text, so this is checked after isOpenable.
bool isNeverOpened(const QMimeType &type)
{
    static const QStringList kinds{
        QStringLiteral("application/x-executable"),
        QStringLiteral("application/x-pie-executable"),
        QStringLiteral("application/x-sharedlib"),
        QStringLiteral("application/x-ms-dos-executable"),
        QStringLiteral("application/x-msi"),
        QStringLiteral("application/x-shellscript"),
        QStringLiteral("application/x-executable-script"),
        QStringLiteral("application/x-perl"),
        QStringLiteral("text/x-python"),
        QStringLiteral("text/x-python3"),
        QStringLiteral("application/x-ruby"),
        QStringLiteral("application/javascript"),
        QStringLiteral("text/javascript"),
        QStringLiteral("text/html"),
        QStringLiteral("application/xhtml+xml"),
        QStringLiteral("application/x-desktop"),
        QStringLiteral("application/vnd.appimage"),
        QStringLiteral("application/x-iso9660-appimage"),
        QStringLiteral("application/x-java-archive"),
        QStringLiteral("application/vnd.debian.binary-package"),
        QStringLiteral("application/x-rpm"),
        QStringLiteral("application/vnd.flatpak.ref"),
        QStringLiteral("application/x-mswinurl"),
        QStringLiteral("application/x-trash"),
    };
    for (const QString &kind : kinds) {
        if (type.inherits(kind))
            return true;
    }
    return false;
}

} // namespace

Action decide(const QUrl &url)
{
    const QString scheme = url.scheme().toLower();
    if (scheme == QLatin1String("http") || scheme == QLatin1String("https") ||
        scheme == QLatin1String("mailto"))
        return Action::OpenExternally;
    if (scheme == QLatin1String("file"))
        return decideForFile(QDir::cleanPath(url.toLocalFile()));
    return Action::Confirm;
}

Action decideForFile(const QString &path)
{
    const QFileInfo info(path);
    static const QMimeDatabase database;
    const QMimeType named = database.mimeTypeForFile(path, QMimeDatabase::MatchExtension);
    // What is on disk decides, not the name: a folder, a FIFO or a device named like a
    // document is only shown. A missing Markdown file opens to say it is missing.
    if (named.inherits(QStringLiteral("text/markdown")) ||
        info.suffix().toLower() == QLatin1String("md"))
        return info.exists() && !info.isFile() ? Action::Reveal : Action::OpenDocument;
    if (info.isSymLink() || !info.isFile() || named.isDefault())
        return Action::Reveal;
    if (!isOpenable(named) || isNeverOpened(named))
        return Action::Reveal;
    // A file marked executable is a program whatever its name says, and so is one
    // whose bytes are a program or a launcher.
    if (info.isExecutable())
        return Action::Reveal;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || isNeverOpened(database.mimeTypeForData(file.read(4096))))
        return Action::Reveal;
    return Action::OpenWithDefaultApp;
}

void open(const QUrl &url, QWidget *window,
          const std::function<void(const QString &)> &openDocument)
{
    switch (decide(url)) {
    case Action::OpenExternally:
        QDesktopServices::openUrl(url);
        return;
    case Action::OpenDocument:
        if (openDocument)
            openDocument(QDir::cleanPath(url.toLocalFile()));
        return;
    case Action::OpenWithDefaultApp:
        QDesktopServices::openUrl(QUrl::fromLocalFile(QDir::cleanPath(url.toLocalFile())));
        return;
    case Action::Reveal:
        DesktopIntegration::reveal(QDir::cleanPath(url.toLocalFile()));
        return;
    case Action::Confirm:
        break;
    }

    auto *box =
        new QMessageBox(QMessageBox::Question,
                        QCoreApplication::translate("LinkPolicy", "Open this link in another app?"),
                        QCoreApplication::translate("LinkPolicy", "Open this link in another app?"),
                        QMessageBox::NoButton, window);
    box->setInformativeText(url.toDisplayString());
    QPushButton *openButton =
        box->addButton(QCoreApplication::translate("LinkPolicy", "Open"), QMessageBox::AcceptRole);
    box->addButton(QCoreApplication::translate("LinkPolicy", "Cancel"), QMessageBox::RejectRole);
    box->setDefaultButton(openButton);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(window ? Qt::WindowModal : Qt::ApplicationModal);
    QObject::connect(box, &QMessageBox::buttonClicked, box, [url, openButton](QAbstractButton *b) {
        if (b == openButton)
            QDesktopServices::openUrl(url);
    });
    box->open();
}

} // namespace LinkPolicy

} // namespace Lumo::Document
