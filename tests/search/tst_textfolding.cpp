// Folding for search: accents and case gone, line breaks kept, invalid UTF-8 refused,
// and the three ways of folding (whole text, mapped, walked) agreeing on the lines.
#include "search/TextFolding.h"

#include <QTest>

using namespace Lumo::Search;

class TestTextFolding : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void folds_data();
    void folds();
    void invalidUtf8IsRefused_data();
    void invalidUtf8IsRefused();
};

void TestTextFolding::folds_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("folding");
    QTest::addColumn<bool>("unicodeBreaks");

    QTest::newRow("empty") << QByteArray() << QByteArray() << false;
    QTest::newRow("ascii") << QByteArray("Hello, World!") << QByteArray("hello, world!") << false;
    QTest::newRow("accents") << QByteArray("R\u00e9sum\u00e9 \u00c5NGSTR\u00d6M")
                             << QByteArray("resume angstrom") << false;
    QTest::newRow("combining mark") << QByteArray("Cafe\u0301") << QByteArray("cafe") << false;
    // Past the eight-byte stride on both sides of a multi-byte character.
    QTest::newRow("long ascii around") << QByteArray("ABCDEFGHIJ Na\u00efve KLMNOPQRST")
                                       << QByteArray("abcdefghij naive klmnopqrst") << false;
    QTest::newRow("final sigma") << QByteArray("\u03a3\u03bf\u03c6\u03bf\u03c2")
                                 << QByteArray("\u03c3\u03bf\u03c6\u03bf\u03c3") << false;
    QTest::newRow("letters that fold to two") << QByteArray("Stra\u00dfe STRA\u1e9eE \ufb01le")
                                              << QByteArray("strasse strasse file") << false;
    QTest::newRow("beyond the plane")
        << QByteArray("\U00010400 \U0001F600") << QByteArray("\U00010428 \U0001F600") << false;
    QTest::newRow("line breaks kept")
        << QByteArray("A\r\nB\nC") << QByteArray("a\r\nb\nc") << false;
    QTest::newRow("lines after wide characters")
        << QByteArray("\u00c9t\u00e9\ne\u0301\u0301\n\u0301x\n\U0001F600\n\u00dcber")
        << QByteArray("ete\ne\nx\n\U0001F600\nuber") << false;
    QTest::newRow("unicode line breaks")
        << QByteArray("A\u2028B\u0085C") << QByteArray("a\u2028b\u0085c") << true;
}

void TestTextFolding::folds()
{
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, folding);
    QFETCH(bool, unicodeBreaks);

    std::string out = "left over";
    bool breaks = !unicodeBreaks;
    QVERIFY(TextFolding::fold(text.toStdString(), out, breaks));
    QCOMPARE(QByteArray::fromStdString(out), folding);
    QCOMPARE(breaks, unicodeBreaks);
    QCOMPARE(QByteArray::fromStdString(TextFolding::folded(text.toStdString())), folding);

    std::string mapped;
    std::vector<std::uint32_t> origin;
    TextFolding::foldMapped(text.toStdString(), mapped, origin);
    QCOMPARE(QByteArray::fromStdString(mapped), folding);
    QCOMPARE(origin.size(), mapped.size());
    // Each folded byte comes from a character at or before the one before it, and
    // walking the source to a folded line start finds that line's start.
    for (std::size_t i = 0; i < mapped.size(); ++i) {
        QVERIFY(origin[i] < std::size_t(text.size()));
        QVERIFY(i == 0 || origin[i] >= origin[i - 1]);
        if (i > 0 && mapped[i - 1] == '\n')
            QCOMPARE(TextFolding::sourceOffset(text.toStdString(), 0, 0, i),
                     std::size_t(text.indexOf('\n', origin[i - 1]) + 1));
    }
}

void TestTextFolding::invalidUtf8IsRefused_data()
{
    QTest::addColumn<QByteArray>("text");

    QTest::newRow("lone continuation") << QByteArray("abc\x80");
    QTest::newRow("cut short") << QByteArray("abcdefghij\xC3");
    QTest::newRow("overlong slash") << QByteArray("\xC0\xAF");
    QTest::newRow("overlong three bytes") << QByteArray("\xE0\x80\xAF");
    QTest::newRow("surrogate") << QByteArray("\xED\xA0\x80");
    QTest::newRow("beyond U+10FFFF") << QByteArray("\xF4\x90\x80\x80");
    QTest::newRow("after a long ascii run") << QByteArray("abcdefghijklmnop\xFF");
}

void TestTextFolding::invalidUtf8IsRefused()
{
    QFETCH(QByteArray, text);
    std::string out;
    bool breaks = false;
    QVERIFY(!TextFolding::fold(text.toStdString(), out, breaks));
    QVERIFY(TextFolding::folded(text.toStdString()).empty());
}

QTEST_APPLESS_MAIN(TestTextFolding)
#include "tst_textfolding.moc"
