#pragma once

#include <QByteArray>

class QPDF;

namespace Lumo::Document {

// The bytes of a document qpdf holds, as its writer makes them; compressed streams
// when asked. Throws what qpdf throws.
QByteArray pdfBytes(QPDF &document, bool compressStreams = false);

} // namespace Lumo::Document
