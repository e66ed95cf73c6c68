#pragma once

#include <QString>

class QMimeData;

// The clipboard form of a document copied as rich text: the page's inline-styled
// HTML (which office suites and mail clients paste with its formatting) beside its
// plain text (for everything else).
namespace Lumo::Document::RichText {

// html as the page's richHTML gives it; the caller owns the result.
QMimeData *mimeData(const QString &html);

// The text a reader sees in the HTML, paragraphs on lines of their own.
QString plainText(const QString &html);

} // namespace Lumo::Document::RichText
