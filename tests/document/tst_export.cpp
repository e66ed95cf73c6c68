// PDF export and rich copy through a real page: what the files and the clipboard
// hold afterwards, read back with qpdf, and that the page keeps its own appearance.
#include "document/DocumentController.h"
#include "document/DocumentExport.h"
#include "document/PageScript.h"
#include "document/PDFBackground.h"
#include "document/PDFPrint.h"
#include "document/PreviewView.h"
#include "support/WebTest.h"

#include <QClipboard>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QMimeData>
#include <QPalette>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>
#include <qpdf/QPDFPageObjectHelper.hh>
#include <QPrinter>

using namespace Lumo::Base;
using namespace Lumo::Document;

using namespace Qt::StringLiterals;

namespace {

// What a reader of the PDF would find, per page and in the catalog.
struct PdfFacts
{
    int pages = 0;
    QList<QByteArray> firstContents; // each page's first content stream
    QList<QPDFObjectHandle::Rectangle> boxes;
    int webLinks = 0;
    int documentLinks = 0;
    QStringList bookmarks; // top-level outline titles
    QString title;
    int images = 0; // image XObjects on the pages
};

PdfFacts readPdf(const QString &path)
{
    PdfFacts facts;
    QPDF pdf;
    pdf.processFile(path.toLocal8Bit().constData());
    for (QPDFPageObjectHelper &page : QPDFPageDocumentHelper(pdf).getAllPages()) {
        ++facts.pages;
        const std::shared_ptr<Buffer> data =
            page.getPageContents().at(0).getStreamData(qpdf_dl_generalized);
        facts.firstContents.append(QByteArray(reinterpret_cast<const char *>(data->getBuffer()),
                                              static_cast<qsizetype>(data->getSize())));
        facts.boxes.append(page.getMediaBox().getArrayAsRectangle());
        facts.images += static_cast<int>(page.getImages().size());
        for (QPDFAnnotationObjectHelper &link : page.getAnnotations("/Link")) {
            QPDFObjectHandle annotation = link.getObjectHandle();
            if (annotation.getKeyIfDict("/A").getKeyIfDict("/URI").isString())
                ++facts.webLinks;
            else if (annotation.hasKey("/Dest"))
                ++facts.documentLinks;
        }
    }
    for (QPDFObjectHandle item = pdf.getRoot().getKeyIfDict("/Outlines").getKeyIfDict("/First");
         item.isDictionary(); item = item.getKeyIfDict("/Next"))
        facts.bookmarks.append(QString::fromStdString(item.getKey("/Title").getUTF8Value()));
    QPDFObjectHandle title = pdf.getTrailer().getKeyIfDict("/Info").getKeyIfDict("/Title");
    if (title.isString())
        facts.title = QString::fromStdString(title.getUTF8Value());
    return facts;
}

} // namespace

class TestExport : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void pdfAppearance_data();
    void pdfAppearance();
    void aFailedExportLeavesThePageAsItWas();
    void printingUsesTheLightPage();
    void richCopyIsLightAndSelfContained();

private:
    DocumentController *open(const QByteArray &markdown);
    void setDesktopDark(bool dark);
    bool pageIsDark()
    {
        return WebTest::evaluate(m_view->page(),
                                 u"document.documentElement.classList.contains('dark')"_s)
            .toBool();
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<PreviewView> m_view;
    std::unique_ptr<DocumentController> m_controller;
    QPalette m_lightPalette;
};

void TestExport::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_lightPalette = QApplication::palette();
}

void TestExport::cleanup()
{
    m_controller.reset();
    m_view.reset();
    QApplication::setPalette(m_lightPalette);
}

void TestExport::setDesktopDark(bool dark)
{
    QPalette palette = m_lightPalette;
    if (dark) {
        palette.setColor(QPalette::Window, QColor(0x20, 0x20, 0x20));
        palette.setColor(QPalette::WindowText, Qt::white);
    }
    QApplication::setPalette(palette);
}

DocumentController *TestExport::open(const QByteArray &markdown)
{
    const QString path = m_dir->filePath(u"doc.md"_s);
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.write(markdown);
    file.close();
    OpenDocument *document = OpenDocument::open(path, nullptr);
    if (!document)
        return nullptr;
    m_view = std::make_unique<PreviewView>();
    m_controller = std::make_unique<DocumentController>(document, m_view->connection(), false);
    document->setParent(m_controller.get());
    m_view->attach(m_controller.get());
    m_view->resize(800, 600);
    m_view->show();
    QSignalSpy rendered(m_controller.get(), &DocumentController::renderCompleted);
    if (!rendered.wait(20000))
        return nullptr;
    return m_controller.get();
}

void TestExport::pdfAppearance_data()
{
    QTest::addColumn<bool>("desktopDark");
    QTest::addColumn<bool>("keepDark");
    QTest::addColumn<QString>("userSheet");

    QTest::newRow("dark export, light desktop") << false << true << QString();
    QTest::newRow("light export, dark desktop") << true << false << QString();
    QTest::newRow("dark export, own colour")
        << false << true << u"html.dark { --bg: rgb(10 20 30) }"_s;
}

void TestExport::pdfAppearance()
{
    QFETCH(bool, desktopDark);
    QFETCH(bool, keepDark);
    QFETCH(QString, userSheet);
    // Two pages at least, so the paint is checked beyond the first.
    QByteArray markdown = "# Report\n\nSee [the site](https://example.com/) and "
                          "[the end](#the-end).\n\n";
    for (int i = 0; i < 60; ++i)
        markdown += "Paragraph " + QByteArray::number(i) + " of some length to fill a page.\n\n";
    markdown += "## The end\n\nDone. \xF0\x9F\x8E\x89\n"; // an emoji, in colour only
    DocumentController *controller = open(markdown);
    QVERIFY(controller);
    setDesktopDark(desktopDark);
    QTRY_COMPARE(pageIsDark(), desktopDark);
    if (!userSheet.isEmpty())
        m_view->previewPage()->call(u"mv.setCustomCSS(%1)"_s.arg(PageScript::json(userSheet)));
    const std::optional<QColor> darkBackground = PDFBackground::color(
        WebTest::evaluate(m_view->page(),
                          u"(() => { mv.setAppearance('dark'); const bg = getComputedStyle("
                          u"document.documentElement).getPropertyValue('--bg').trim(); "
                          u"mv.setAppearance(null); return bg; })()"_s)
            .toString());
    QVERIFY(darkBackground);

    const QString path = m_dir->filePath(u"out.pdf"_s);
    std::optional<bool> succeeded;
    DocumentExport::writePDF(controller, m_view->previewPage(), path,
                             keepDark ? Appearance::Dark : Appearance::Light,
                             [&succeeded](bool ok, const QString &) { succeeded = ok; });
    QTRY_VERIFY_WITH_TIMEOUT(succeeded.has_value(), 30000);
    QVERIFY(*succeeded);

    const PdfFacts pdf = readPdf(path);
    QVERIFY(pdf.pages >= 2);
    for (int page = 0; page < pdf.pages; ++page) {
        const QPDFObjectHandle::Rectangle box = pdf.boxes.at(page);
        const QByteArray fill = PDFBackground::fillOperators(*darkBackground, box.llx, box.lly,
                                                             box.urx - box.llx, box.ury - box.lly);
        QCOMPARE(pdf.firstContents.at(page).startsWith(fill), keepDark);
    }
    QCOMPARE(pdf.webLinks, 1);
    QCOMPARE(pdf.documentLinks, 1);
    QCOMPARE(pdf.bookmarks, QStringList{u"Report"_s});
    QCOMPARE(pdf.title, u"doc"_s);
    // The colour emoji went to paper as a picture, and came back as text.
    QCOMPARE(pdf.images, 1);
    QTRY_COMPARE(WebTest::evaluate(m_view->page(),
                                   u"document.querySelector('main').lastElementChild.textContent"_s)
                     .toString(),
                 u"Done. \U0001F389"_s);
    // The page is back in the desktop's appearance.
    QTRY_COMPARE(pageIsDark(), desktopDark);
}

void TestExport::aFailedExportLeavesThePageAsItWas()
{
    DocumentController *controller = open("# Title\n");
    QVERIFY(controller);
    std::optional<QString> error;
    DocumentExport::writePDF(
        controller, m_view->previewPage(), m_dir->filePath(u"missing/folder/out.pdf"_s),
        Appearance::Dark,
        [&error](bool ok, const QString &message) { error = ok ? QString() : message; });
    QTRY_VERIFY_WITH_TIMEOUT(error.has_value(), 30000);
    QVERIFY(!error->isEmpty());
    QTRY_VERIFY(!pageIsDark());
    QCOMPARE(WebTest::evaluate(m_view->page(),
                               u"document.getElementById('lumo-print-targets') === null"_s),
             QVariant(true));
}

void TestExport::printingUsesTheLightPage()
{
    DocumentController *controller = open("# Printed\n\nOn paper.\n");
    QVERIFY(controller);
    setDesktopDark(true);
    QTRY_VERIFY(pageIsDark());
    QPrinter printer(QPrinter::HighResolution);
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(m_dir->filePath(u"printed.pdf"_s));

    std::optional<bool> printed;
    PDFPrint::toPrinter(m_view.get(), &printer,
                        [&printed](bool ok, const QString &) { printed = ok; });
    QTRY_VERIFY_WITH_TIMEOUT(printed.has_value(), 30000);
    QVERIFY(*printed);
    QVERIFY(QFileInfo(printer.outputFileName()).size() > 0);
    QTRY_VERIFY(pageIsDark());
}

void TestExport::richCopyIsLightAndSelfContained()
{
    QImage image(3, 3, QImage::Format_RGB32);
    image.fill(Qt::red);
    QVERIFY(image.save(m_dir->filePath(u"dot.png"_s)));
    DocumentController *controller =
        open("# Notes\n\nSome **bold** text.\n\n![dot](dot.png)\n\n```js\nlet x = 1;\n```\n");
    QVERIFY(controller);
    setDesktopDark(true);
    QTRY_VERIFY(pageIsDark());
    QGuiApplication::clipboard()->clear();

    std::optional<bool> copied;
    DocumentExport::copyRichText(controller, [&copied](bool ok, const QString &) { copied = ok; });
    QTRY_VERIFY_WITH_TIMEOUT(copied.has_value(), 20000);
    QVERIFY(*copied);

    const QMimeData *data = QGuiApplication::clipboard()->mimeData();
    QVERIFY(data && data->hasHtml() && data->hasText());
    const QString html = data->html();
    QVERIFY(html.startsWith(u"<meta charset=\"utf-8\">"_s));
    QVERIFY(html.contains(u"src=\"data:image/png;base64,"_s));
    QVERIFY(html.contains(u"background:#ffffff"_s));
    QVERIFY(!html.contains(u"class="_s));
    QVERIFY(!html.contains(u"mv-asset:"_s));
    const QString text = data->text();
    QVERIFY2(text.startsWith(u"Notes\n"_s), qPrintable(text));
    QVERIFY(text.contains(u"Some bold text."_s));
    QVERIFY(text.contains(u"let x = 1;"_s));
    QVERIFY(!text.contains(QChar::ObjectReplacementCharacter));
}

LUMO_WEB_TEST_MAIN(TestExport)
#include "tst_export.moc"
