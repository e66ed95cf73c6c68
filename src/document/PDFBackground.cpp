#include "PDFBackground.h"

#include "PDFBytes.h"

#include <exception>
#include <QFile>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>
#include <qpdf/QPDFPageObjectHelper.hh>
#include <QRegularExpression>
#include <QSaveFile>

namespace Lumo::Document::PDFBackground {

namespace {

QByteArray trimmed(double value)
{
    QByteArray text = QByteArray::number(value, 'f', 4);
    while (text.endsWith('0'))
        text.chop(1);
    if (text.endsWith('.'))
        text.chop(1);
    return text;
}

} // namespace

std::optional<QColor> color(const QString &text)
{
    const QColor parsed = QColor::fromString(text.trimmed());
    if (parsed.isValid())
        return parsed;
    static const QRegularExpression rgb(
        QStringLiteral(R"(^rgba?\(\s*(\d{1,3})[\s,]+(\d{1,3})[\s,]+(\d{1,3})\b)"));
    const QRegularExpressionMatch match = rgb.match(text.trimmed());
    if (!match.hasMatch())
        return std::nullopt;
    const QColor resolved(match.captured(1).toInt(), match.captured(2).toInt(),
                          match.captured(3).toInt());
    return resolved.isValid() ? std::optional<QColor>(resolved) : std::nullopt;
}

QByteArray fillOperators(const QColor &color, double x, double y, double width, double height)
{
    return "q " + trimmed(color.redF()) + ' ' + trimmed(color.greenF()) + ' ' +
           trimmed(color.blueF()) + " rg " + trimmed(x) + ' ' + trimmed(y) + ' ' + trimmed(width) +
           ' ' + trimmed(height) + " re f Q\n";
}

std::optional<QByteArray> fill(const QByteArray &pdf, const QColor &color, QString *error)
{
    try {
        QPDF document;
        document.setSuppressWarnings(true);
        document.processMemoryFile("export.pdf", pdf.constData(), static_cast<size_t>(pdf.size()));
        for (QPDFPageObjectHelper &page : QPDFPageDocumentHelper(document).getAllPages()) {
            // The media box is the whole sheet; it need not start at the origin.
            const QPDFObjectHandle::Rectangle box = page.getMediaBox().getArrayAsRectangle();
            const QByteArray operators =
                fillOperators(color, box.llx, box.lly, box.urx - box.llx, box.ury - box.lly);
            page.addPageContents(document.newStream(operators.toStdString()), true);
        }
        return pdfBytes(document, true);
    } catch (const std::exception &failure) {
        if (error)
            *error = QString::fromLocal8Bit(failure.what());
        return std::nullopt;
    }
}

bool fill(const QString &path, const QString &colorText, QString *error)
{
    const std::optional<QColor> background = color(colorText);
    if (!background) {
        if (error)
            *error = QStringLiteral("not a colour: %1").arg(colorText);
        return false;
    }
    QFile input(path);
    if (!input.open(QIODevice::ReadOnly)) {
        if (error)
            *error = input.errorString();
        return false;
    }
    const std::optional<QByteArray> painted = fill(input.readAll(), *background, error);
    input.close();
    if (!painted)
        return false;
    QSaveFile output(path);
    if (output.open(QIODevice::WriteOnly) && output.write(*painted) == painted->size() &&
        output.commit())
        return true;
    if (error)
        *error = output.errorString();
    return false;
}

} // namespace Lumo::Document::PDFBackground
