#pragma once

#include "base/Brand.h"

#include <functional>
#include <QPageLayout>
#include <QString>

class QPrinter;
class QWebEngineView;

namespace Lumo::Document {

class PreviewPage;

// Printing the reading page: to a PDF file in a chosen appearance, and to a printer.
// The page is switched to the appearance for the print and returned to its own
// afterwards, whether the print worked or not. A dark PDF gets its page colour
// painted under every sheet (margins included); every PDF gets bookmarks from the
// headings and the page's title as its own.
//
// Main thread only; the finished PDF is worked on and written on a pool thread, and
// done runs back on the main thread exactly once.
namespace PDFPrint {

using Done = std::function<void(bool ok, const QString &error)>;

// A4, or US Letter where the locale's paper is Letter, with 15 mm margins.
QPageLayout pageLayout();

// Prints the page to a PDF at path (written atomically).
void toFile(PreviewPage *page, const QString &path, Lumo::Base::Appearance appearance, Done done);

// Prints the view's page, light, on the printer (which must outlive the print).
void toPrinter(QWebEngineView *view, QPrinter *printer, Done done);

} // namespace PDFPrint

} // namespace Lumo::Document
