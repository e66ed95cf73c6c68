#pragma once

#include <QByteArray>
#include <QString>

class QWidget;

// What the reading page asks of the desktop: clipboard copies and saving a diagram.
namespace Lumo::Document::PageActions {

// The file name proposed for a saved diagram: the document's name without its
// extension ("Untitled" without a file), "-", the diagram's name reduced to letters,
// digits and "-_." ("diagram" when nothing is left), ".svg".
QString svgFileName(const QString &documentPath, const QString &diagramName);
// The file as written: an XML declaration, then the SVG text, in UTF-8.
QByteArray svgFileContents(const QString &svg);
// The PNG inside a "data:image/png;base64," URL; empty for anything else.
QByteArray pngFromDataUrl(const QString &dataUrl);

void copyText(const QString &text);
void copyImage(const QString &dataUrl);
// Asks where to save, beside the document, and writes the file atomically.
void saveSVG(const QString &svg, const QString &diagramName, const QString &documentPath,
             QWidget *window);

} // namespace Lumo::Document::PageActions
