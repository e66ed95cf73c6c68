// The standalone HTML page around the reading page's export answer: which sheets
// go in and in what order, and what is escaped.
#include "document/HTMLExporter.h"

#include <QTest>

using namespace Lumo::Document;

using namespace Qt::StringLiterals;

class TestHTMLExporter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void layout_data();
    void layout();
};

void TestHTMLExporter::layout_data()
{
    QTest::addColumn<QString>("htmlClass");
    QTest::addColumn<bool>("hasMath");
    QTest::addColumn<QString>("customCSS");

    QTest::newRow("light, plain") << u"theme-lumo light"_s << false << QString();
    QTest::newRow("dark, math, own sheet")
        << u"theme-paper dark"_s << true << u"p { color: teal }"_s;
    QTest::newRow("darker is not dark") << u"darker \"x\""_s << false << QString();
}

void TestHTMLExporter::layout()
{
    QFETCH(QString, htmlClass);
    QFETCH(bool, hasMath);
    QFETCH(QString, customCSS);

    const QJsonObject answer{{u"htmlClass"_s, htmlClass},
                             {u"bodyClass"_s, u"a&b"_s},
                             {u"html"_s, u"<h1 id=\"x\">X</h1>"_s},
                             {u"hasMath"_s, hasMath}};
    const QString page = HTMLExporter::document(
        answer, u"R&D <1>"_s,
        customCSS.isNull() ? std::nullopt : std::optional<QString>(customCSS));

    const bool dark = htmlClass.split(u' ').contains(u"dark"_s);
    QString styles =
        HTMLExporter::web(u"themes.css"_s) + HTMLExporter::web(u"style.css"_s) +
        HTMLExporter::web(dark ? u"vendor/hljs-dark.css"_s : u"vendor/hljs-light.css"_s);
    QVERIFY(!HTMLExporter::web(u"vendor/hljs-dark.css"_s).isEmpty());
    if (hasMath)
        styles += HTMLExporter::katexCSS();
    styles += customCSS;

    const QString expected =
        u"<!doctype html>\n<html lang=\"en\" class=\""_s + HTMLExporter::escaped(htmlClass) +
        u"\">\n<head>\n<meta charset=\"utf-8\">\n<meta name=\"viewport\" content=\"width=device-"
        u"width, initial-scale=1\">\n<meta name=\"generator\" content=\"Lumo\">\n<meta "
        u"http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; img-src data: "
        u"https: http:; media-src https: http:; style-src 'unsafe-inline' https:; font-src data: "
        u"https:\">\n<title>R&amp;D &lt;1&gt;</title>\n<style>\n"_s +
        styles +
        u"\n</style>\n</head>\n<body class=\"a&amp;b\">\n<main class=\"markdown\">\n<h1 "
        u"id=\"x\">X</h1>\n</main>\n</body>\n</html>"_s;
    QCOMPARE(page, expected);
    QVERIFY(!page.contains(u"class=\"darker \"x\"\""_s));
    QCOMPARE(page.contains(u"url(data:font/woff2;base64,"_s), hasMath);
}

QTEST_GUILESS_MAIN(TestHTMLExporter)
#include "tst_htmlexporter.moc"
