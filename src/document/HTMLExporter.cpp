#include "HTMLExporter.h"

#include "base/ResourcePaths.h"

#include <QFile>
#include <QRegularExpression>

namespace Lumo::Document {

namespace ResourcePaths = Lumo::Base::ResourcePaths;

namespace HTMLExporter {

QString web(const QString &name)
{
    QFile file(ResourcePaths::file(QStringLiteral("Web/") + name));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll());
}

QString katexCSS()
{
    static const QRegularExpression fontSources(QStringLiteral(
        R"(url\(fonts/(KaTeX_[\w-]+)\.woff2\) format\("woff2"\)(?:,url\(fonts/[^)]+\) format\("[^"]+"\))*)"));
    const QString css = web(QStringLiteral("vendor/katex.min.css"));
    QString result;
    result.reserve(css.size() * 4);
    qsizetype copied = 0;
    for (auto it = fontSources.globalMatch(css); it.hasNext();) {
        const QRegularExpressionMatch match = it.next();
        QFile font(ResourcePaths::file(QStringLiteral("Web/vendor/fonts/") + match.captured(1) +
                                       QStringLiteral(".woff2")));
        if (!font.open(QIODevice::ReadOnly))
            continue;
        result += QStringView(css).sliced(copied, match.capturedStart() - copied);
        result += QStringLiteral("url(data:font/woff2;base64,") +
                  QString::fromLatin1(font.readAll().toBase64()) +
                  QStringLiteral(R"() format("woff2"))");
        copied = match.capturedEnd();
    }
    result += QStringView(css).sliced(copied);
    return result;
}

QString escaped(const QString &text)
{
    return text.toHtmlEscaped().replace(QLatin1Char('\''), QStringLiteral("&#39;"));
}

QString document(const QJsonObject &answer, const QString &title,
                 const std::optional<QString> &customCSS)
{
    const QString htmlClass = answer.value(QLatin1String("htmlClass")).toString();
    const QString bodyClass = answer.value(QLatin1String("bodyClass")).toString();
    const bool dark =
        htmlClass.split(QLatin1Char(' '), Qt::SkipEmptyParts).contains(QLatin1String("dark"));

    QString styles = web(QStringLiteral("themes.css")) + web(QStringLiteral("style.css")) +
                     web(dark ? QStringLiteral("vendor/hljs-dark.css")
                              : QStringLiteral("vendor/hljs-light.css"));
    if (answer.value(QLatin1String("hasMath")).toBool())
        styles += katexCSS();
    if (customCSS)
        styles += *customCSS;

    return QStringLiteral("<!doctype html>\n<html lang=\"en\" class=\"") + escaped(htmlClass) +
           QStringLiteral(
               "\">\n<head>\n<meta charset=\"utf-8\">\n<meta name=\"viewport\" "
               "content=\"width=device-width, initial-scale=1\">\n<meta name=\"generator\" "
               "content=\"Lumo\">\n<meta http-equiv=\"Content-Security-Policy\" "
               "content=\"default-src 'none'; img-src data: https: http:; media-src https: http:; "
               "style-src 'unsafe-inline' https:; font-src data: https:\">\n<title>") +
           escaped(title) + QStringLiteral("</title>\n<style>\n") + styles +
           QStringLiteral("\n</style>\n</head>\n<body class=\"") + escaped(bodyClass) +
           QStringLiteral("\">\n<main class=\"markdown\">\n") +
           answer.value(QLatin1String("html")).toString() +
           QStringLiteral("\n</main>\n</body>\n</html>");
}

} // namespace HTMLExporter

} // namespace Lumo::Document
