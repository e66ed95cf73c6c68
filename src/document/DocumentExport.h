#pragma once

#include "base/Brand.h"

#include <functional>
#include <QJsonObject>
#include <QString>

namespace Lumo::Document {

class DocumentController;
class PreviewPage;

// Sending a rendered document out: a standalone HTML page, a PDF in a chosen
// appearance, rich text on the clipboard. Each works on what the controller's page
// shows, and reports once through done (never when the controller is gone first).
//
// Main thread only; images are read and files written off it.
namespace DocumentExport {

using Done = std::function<void(bool ok, const QString &error)>;

// The page's local images as data URLs, keyed by their source in the page.
void embeddedImages(DocumentController *controller,
                    std::function<void(const QJsonObject &images)> done);
// Writes the document as a standalone HTML page, atomically.
void writeHTML(DocumentController *controller, const QString &path, Done done = {});
// Prints the page to a PDF in the appearance (dark pages painted edge to edge), with
// bookmarks from the outline; the page returns to its own appearance after.
void writePDF(DocumentController *controller, PreviewPage *page, const QString &path,
              Lumo::Base::Appearance appearance, Done done = {});
// Puts the document on the clipboard as light, inline-styled HTML and plain text.
void copyRichText(DocumentController *controller, Done done = {});

} // namespace DocumentExport

} // namespace Lumo::Document
