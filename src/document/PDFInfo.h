#pragma once

#include <optional>
#include <QByteArray>
#include <QString>

// The document information of an exported PDF.
namespace Lumo::Document::PDFInfo {

// The PDF with its /Info /Title set; nothing, with a message in error, when the bytes
// are not a PDF qpdf can read.
std::optional<QByteArray> withTitle(const QByteArray &pdf, const QString &title, QString *error);

} // namespace Lumo::Document::PDFInfo
