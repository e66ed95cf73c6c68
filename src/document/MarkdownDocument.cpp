#include "MarkdownDocument.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace Lumo::Document {

namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("MarkdownDocument", text);
}

void setError(QString *error, const QString &message)
{
    if (error)
        *error = message;
}

} // namespace

QStringList MarkdownDocument::contentTypes()
{
    return {QStringLiteral("text/markdown"), QStringLiteral("text/plain")};
}

std::optional<MarkdownDocument> MarkdownDocument::read(const QString &path, QString *error)
{
    const QFileInfo info(path);
    const QString name = info.fileName();
    if (!info.exists()) {
        setError(error, tr("The file “%1” does not exist.").arg(name));
        return std::nullopt;
    }
    if (info.isDir()) {
        setError(error, tr("“%1” is a folder, not a Markdown file.").arg(name));
        return std::nullopt;
    }
    if (!info.isFile()) {
        setError(error, tr("“%1” is not a regular file and cannot be opened.").arg(name));
        return std::nullopt;
    }

    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        setError(error, tr("The file “%1” could not be read: %2").arg(name, file.errorString()));
        return std::nullopt;
    }
    const QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        setError(error, tr("The file “%1” could not be read: %2").arg(name, file.errorString()));
        return std::nullopt;
    }
    auto decoded = TextEncoding::decode(bytes);
    return MarkdownDocument{std::move(decoded.text), decoded.encoding};
}

bool MarkdownDocument::write(const QString &path, QString *error) const
{
    const QFileInfo info(path);
    const QString target = info.isSymLink() ? info.symLinkTarget() : path;

    // Unbuffered, so that a full disk fails a write call itself, with its reason.
    QSaveFile file(target);
    const QByteArray bytes = data();
    bool written = file.open(QIODevice::WriteOnly | QIODevice::Unbuffered);
    // The replacement is a new file: give it the permissions of the one it replaces.
    if (written && QFileInfo::exists(target))
        written = file.setPermissions(QFile::permissions(target));
    // A short write says nothing of why; the next call fails with the reason.
    for (qint64 done = 0; written && done < bytes.size();) {
        const qint64 count = file.write(bytes.constData() + done, bytes.size() - done);
        written = count > 0;
        done += count;
    }
    const QString reason = file.errorString();
    if (!written || !file.commit()) {
        setError(error, tr("The file “%1” could not be saved: %2")
                            .arg(info.fileName(), written ? file.errorString() : reason));
        return false;
    }
    return true;
}

} // namespace Lumo::Document
