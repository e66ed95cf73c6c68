#pragma once

#include <optional>
#include <QByteArray>
#include <QColor>
#include <QString>

// Paints a colour under every page of a printed PDF. The print engine draws the
// page's own background only inside the margins; a dark export needs the whole
// sheet dark. The colour goes in as a content stream placed before the page's own,
// so links, destinations and the outline stay exactly as they were.
//
// Pure functions, safe on any thread.
namespace Lumo::Document::PDFBackground {

// A colour from CSS colour text: "#rrggbb" (the page's --bg), "#rgb", a name, or
// "rgb(r, g, b)" as the engine resolves any other form.
std::optional<QColor> color(const QString &text);

// The PDF operators that fill a rectangle with the colour, state saved around them.
QByteArray fillOperators(const QColor &color, double x, double y, double width, double height);

// The PDF with each page drawn over a full-page rectangle of the colour; nullopt
// with an error when the bytes are not a PDF qpdf can read.
std::optional<QByteArray> fill(const QByteArray &pdf, const QColor &color, QString *error);

// Paints the file in place (atomically); false with an error, leaving it untouched.
bool fill(const QString &path, const QString &colorText, QString *error);

} // namespace Lumo::Document::PDFBackground
