#include "CommandLineTool.h"

#include <QDir>
#include <QUrl>
#include <QUrlQuery>

namespace CommandLineTool {

std::optional<QString> folderToOpen(const QString &urlText)
{
    static const QLatin1String prefix("lumo://folder");
    if (!urlText.startsWith(prefix))
        return std::nullopt;
    const QChar next = urlText.size() > prefix.size() ? urlText.at(prefix.size()) : QChar();
    if (!next.isNull() && next != QLatin1Char('?') && next != QLatin1Char('/') &&
        next != QLatin1Char('#'))
        return std::nullopt;
    const QUrl url(urlText, QUrl::StrictMode);
    if (!url.isValid() || !url.hasQuery())
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
