#include "PDFBytes.h"

#include <memory>
#include <qpdf/Buffer.hh>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFWriter.hh>

namespace Lumo::Document {

QByteArray pdfBytes(QPDF &document, bool compressStreams)
{
    QPDFWriter writer(document);
    writer.setOutputMemory();
    if (compressStreams)
        writer.setStreamDataMode(qpdf_s_compress);
    writer.write();
    const std::unique_ptr<Buffer> buffer(writer.getBuffer());
    return QByteArray(reinterpret_cast<const char *>(buffer->getBuffer()),
                      static_cast<qsizetype>(buffer->getSize()));
}

} // namespace Lumo::Document
