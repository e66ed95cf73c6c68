#include "CommandLineTool.h"

#include "base/ResourcePaths.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUrl>
#include <QUrlQuery>

namespace Lumo::App {

namespace ResourcePaths = Lumo::Base::ResourcePaths;

namespace CommandLineTool {

QString script()
{
    const QString path = ResourcePaths::file(QStringLiteral("bin/lumo"));
    return QFileInfo::exists(path) ? path : QString();
}

QStringList candidates()
{
    return {QStringLiteral("/opt/homebrew/bin"), QStringLiteral("/usr/local/bin"),
            QDir::homePath() + QStringLiteral("/.local/bin")};
}

InstallResult installLink(const QString &script, const QStringList &candidates)
{
    const QString program = QFileInfo(QCoreApplication::applicationFilePath()).canonicalFilePath();
    const auto isProgram = [&program](const QString &path) {
        return !program.isEmpty() && QFileInfo(path).canonicalFilePath() == program;
    };
    QString folder = candidates.value(candidates.size() - 1);
    for (const QString &candidate : candidates) {
        const QFileInfo info(candidate);
        if (info.isDir() && info.isWritable() && !isProgram(candidate + QStringLiteral("/lumo"))) {
            folder = candidate;
            break;
        }
    }
    InstallResult result;
    result.link = QDir(folder).filePath(QStringLiteral("lumo"));
    if (!QDir().mkpath(folder)) {
        result.error = QCoreApplication::translate("CommandLineTool", "The folder %1 could not be "
                                                                      "created.")
                           .arg(folder);
        return result;
    }
    if (!isProgram(result.link))
        QFile::remove(result.link);
    QFile target(script);
    if (!target.link(result.link)) {
        result.error = target.errorString();
        return result;
    }
    result.installed = true;
    return result;
}

QString usage()
{
    return QStringLiteral("\n\nlumo FILE.md    open a file\n"
                          "lumo [FOLDER]   browse a folder's Markdown in the sidebar\n"
                          "tool | lumo -   open piped Markdown");
}

std::optional<QString> folderToOpen(const QString &urlText)
{
    const QUrl url(urlText, QUrl::StrictMode);
    // Scheme and host ignore letter case, as in any URL: LUMO://Folder is the same.
    if (!url.isValid() || url.scheme().compare(QLatin1String("lumo"), Qt::CaseInsensitive) != 0 ||
        url.host().compare(QLatin1String("folder"), Qt::CaseInsensitive) != 0 ||
        !url.userInfo().isEmpty() || url.port() != -1 || !url.hasQuery())
        return std::nullopt;
    const QUrlQuery query(url);
    const QList<std::pair<QString, QString>> items = query.queryItems(QUrl::FullyDecoded);
    for (const auto &[name, value] : items) {
        if (name != QLatin1String("path"))
            continue;
        if (value.isEmpty())
            return std::nullopt;
        return QDir::cleanPath(value);
    }
    return std::nullopt;
}

} // namespace CommandLineTool

} // namespace Lumo::App
