#pragma once

#include <optional>
#include <QJsonObject>
#include <QString>

// Builds a standalone HTML page from the reading page's export answer: the page's
// own stylesheets inlined, math fonts as data URLs, no scripts allowed, nothing
// fetched from the resource folder, so the file reads anywhere.
namespace Lumo::Document::HTMLExporter {

// A file of the page resource folder as UTF-8 text; empty when missing.
QString web(const QString &name);

// KaTeX's stylesheet with each font's sources replaced by its WOFF2 as a data URL.
QString katexCSS();

// answer: {htmlClass, bodyClass, html, hasMath} as the page gives them.
QString document(const QJsonObject &answer, const QString &title,
                 const std::optional<QString> &customCSS);

// "&", "<", ">" and quotes as character references.
QString escaped(const QString &text);

} // namespace Lumo::Document::HTMLExporter
