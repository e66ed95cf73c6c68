#include "PDFInfo.h"

#include "PDFBytes.h"

#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>

namespace Lumo::Document::PDFInfo {

std::optional<QByteArray> withTitle(const QByteArray &pdf, const QString &title, QString *error)
{
    try {
        QPDF document;
        document.setSuppressWarnings(true);
        document.processMemoryFile("export.pdf", pdf.constData(), static_cast<size_t>(pdf.size()));
        QPDFObjectHandle trailer = document.getTrailer();
        QPDFObjectHandle info = trailer.getKey("/Info");
        if (!info.isDictionary()) {
            info = document.makeIndirectObject(QPDFObjectHandle::newDictionary());
            trailer.replaceKey("/Info", info);
        }
        info.replaceKey("/Title", QPDFObjectHandle::newUnicodeString(title.toStdString()));
        return pdfBytes(document);
    } catch (const std::exception &failure) {
        if (error)
            *error = QString::fromLocal8Bit(failure.what());
        return std::nullopt;
    }
}

} // namespace Lumo::Document::PDFInfo
