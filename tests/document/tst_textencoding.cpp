#include "document/TextEncoding.h"

#include <QStringEncoder>
#include <QTest>

using namespace Lumo::Document;

using namespace Qt::StringLiterals;

class TestTextEncoding : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void decode_data();
    void decode();
    void roundTrip_data();
    void roundTrip();
    void utf16WithoutMarkUsesAtMostTheSample();
    void eastAsianCodePages_data();
    void eastAsianCodePages();
    void unrepresentableCharactersFallBackToUtf8_data();
    void unrepresentableCharactersFallBackToUtf8();
};

static QByteArray bytes(std::initializer_list<int> values)
{
    QByteArray out;
    for (int v : values)
        out.append(static_cast<char>(v));
    return out;
}

void TestTextEncoding::decode_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("encoding");
    QTest::addColumn<bool>("bom");

    QTest::newRow("empty") << QByteArray() << QString() << QByteArray("UTF-8") << false;
    QTest::newRow("ascii") << "# Title\r\n"_ba << u"# Title\r\n"_s << QByteArray("UTF-8") << false;
    QTest::newRow("utf-8 with mark")
        << bytes({0xEF, 0xBB, 0xBF, 'h', 0xC3, 0xA9}) << u"hé"_s << QByteArray("UTF-8") << true;
    QTest::newRow("utf-8 mark twice keeps the second")
        << bytes({0xEF, 0xBB, 0xBF, 0xEF, 0xBB, 0xBF, 'a'}) << u"\uFEFFa"_s << QByteArray("UTF-8")
        << true;
    QTest::newRow("utf-32le mark is not utf-16le")
        << bytes({0xFF, 0xFE, 0, 0, 'a', 0, 0, 0, 0x00, 0xF6, 0x01, 0})
        << QString::fromUcs4(U"a\U0001F600") << QByteArray("UTF-32LE") << true;
    QTest::newRow("utf-32be mark")
        << bytes({0, 0, 0xFE, 0xFF, 0, 0, 0, 'z'}) << u"z"_s << QByteArray("UTF-32BE") << true;
    QTest::newRow("utf-16le mark")
        << bytes({0xFF, 0xFE, 'a', 0, 0xE9, 0}) << u"aé"_s << QByteArray("UTF-16LE") << true;
    QTest::newRow("utf-16be mark")
        << bytes({0xFE, 0xFF, 0, 'a', 0x20, 0xAC}) << u"a€"_s << QByteArray("UTF-16BE") << true;
    QTest::newRow("utf-16le mark with odd tail is not utf-16")
        << bytes({0xFF, 0xFE, 'a', 0, 'b'})
        << QString::fromLatin1("\xFF\xFE"
                               "a\0b",
                               5)
        << QByteArray("windows-1252") << false;
    QTest::newRow("unmarked utf-16le")
        << bytes({'a', 0}) << u"a"_s << QByteArray("UTF-16LE") << false;
    QTest::newRow("unmarked utf-16be")
        << bytes({0, 'a'}) << u"a"_s << QByteArray("UTF-16BE") << false;
    QTest::newRow("utf-32le mark with a code point out of range")
        << bytes({0xFF, 0xFE, 0, 0, 0, 0, 0x11, 0}) << QString::fromUtf16(u"\0\0\u0011", 3)
        << QByteArray("UTF-16LE") << true;
    QTest::newRow("odd short file is utf-8 with nulls")
        << bytes({'a', 0, 'b', 0, 'c'}) << QString::fromLatin1("a\0b\0c", 5) << QByteArray("UTF-8")
        << false;
    QTest::newRow("nulls on both sides are not utf-16")
        << bytes({'a', 0, 0, 'b'}) << QString::fromLatin1("a\0\0b", 4) << QByteArray("UTF-8")
        << false;
    QTest::newRow("too few nulls for utf-16")
        << "abcdefghijklmnopqrs"_ba + bytes({0}) << QString::fromLatin1("abcdefghijklmnopqrs\0", 20)
        << QByteArray("UTF-8") << false;
    QTest::newRow("windows-1252 curly quotes")
        << bytes({0x93, 'h', 'i', 0x94, ' ', 0x96, ' ', 0x80}) << u"\u201Chi\u201D \u2013 €"_s
        << QByteArray("windows-1252") << false;
    QTest::newRow("utf-8 holding a genuine replacement character")
        << "a\xEF\xBF\xBD"_ba << u"a\uFFFD"_s << QByteArray("UTF-8") << false;
    QTest::newRow("utf-8-encoded surrogate is not utf-8")
        << "\xED\xA0\x80"_ba << u"\u00ED\u00A0\u20AC"_s << QByteArray("windows-1252") << false;
    QTest::newRow("line endings untouched")
        << "a\r\nb\rc\n"_ba << u"a\r\nb\rc\n"_s << QByteArray("UTF-8") << false;
}

void TestTextEncoding::decode()
{
    QFETCH(QByteArray, data);
    QFETCH(QString, text);
    QFETCH(QByteArray, encoding);
    QFETCH(bool, bom);

    const auto decoded = TextEncoding::decode(data);
    QCOMPARE(decoded.text, text);
    QCOMPARE(decoded.encoding.encoding.toLower(), encoding.toLower());
    QCOMPARE(decoded.encoding.bom, bom);
}

// Whatever a file holds, saving it unchanged writes the same bytes back.
void TestTextEncoding::roundTrip_data()
{
    QTest::addColumn<QByteArray>("data");

    QTest::newRow("utf-8 with mark") << bytes({0xEF, 0xBB, 0xBF, '#', ' ', 0xE2, 0x9C, 0x93});
    QTest::newRow("utf-8 without mark") << "# caf\xC3\xA9\n"_ba;
    QTest::newRow("utf-32le with mark") << bytes({0xFF, 0xFE, 0, 0, 'a', 0, 0, 0});
    QTest::newRow("utf-32be with mark") << bytes({0, 0, 0xFE, 0xFF, 0, 0, 0, 'a'});
    QTest::newRow("utf-16le with mark") << bytes({0xFF, 0xFE, 'a', 0, '\n', 0});
    QTest::newRow("utf-16be with mark") << bytes({0xFE, 0xFF, 0, 'a', 0, '\n'});
    QTest::newRow("unmarked utf-16le") << bytes({'#', 0, ' ', 0, 0x3D, 0xD8, 0x00, 0xDE});
    QTest::newRow("unmarked utf-16be") << bytes({0, '#', 0, ' ', 0x4E, 0x2D});
    QTest::newRow("windows-1252") << bytes({0x93, 'q', 0x94, 0x85, 0x99});
    QTest::newRow("latin-1 controls") << bytes({'a', 0x81, 0x8D, 0xFF});
    QTest::newRow("invalid utf-8") << bytes({'a', 0xC3, 0x28, 0xF0});
}

void TestTextEncoding::roundTrip()
{
    QFETCH(QByteArray, data);
    const auto decoded = TextEncoding::decode(data);
    QCOMPARE(decoded.encoding.encode(decoded.text), data);
}

void TestTextEncoding::utf16WithoutMarkUsesAtMostTheSample()
{
    // Past the first 4096 bytes, zeros no longer count: a UTF-16 head with a
    // plain tail still passes the test, then fails the round trip.
    QByteArray head;
    for (int i = 0; i < 2048; ++i)
        head.append("a\0", 2);
    QCOMPARE(TextEncoding::utf16WithoutBOM(head + "odd"_ba), QByteArray("UTF-16LE"));
    QCOMPARE(TextEncoding::decode(head + "odd"_ba).encoding.encoding, QByteArray("UTF-8"));
    QCOMPARE(TextEncoding::decode(head + "bc"_ba).encoding.encoding, QByteArray("UTF-16LE"));
    QCOMPARE(TextEncoding::utf16WithoutBOM("a"_ba), std::nullopt);
}

void TestTextEncoding::eastAsianCodePages_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("encoding");
    QTest::addColumn<QByteArray>("detected");

    QTest::newRow("shift-jis")
        << u"# 日本語の文書\n\nこれはシフトJISで保存された、ごく普通のマークダウン文書です。"
           u"漢字と仮名が混ざった文章を、正しく読み込めることを確かめます。\n"_s
        << "Shift_JIS"_ba
        << "SHIFT_JIS"_ba;
    // The detector calls this "UHC", a name the converters do not know.
    QTest::newRow("euc-kr") << u"# 안녕하세요\n\n한국어 문서입니다. 이 파일은 완성형 한글 "
                               u"인코딩으로 저장되었고, 제대로 읽혀야 합니다.\n"_s
                            << "EUC-KR"_ba
                            << "WINDOWS-949"_ba;
}

void TestTextEncoding::eastAsianCodePages()
{
    QFETCH(QString, text);
    QFETCH(QByteArray, encoding);
    QFETCH(QByteArray, detected);
    QStringEncoder encoder(encoding.constData());
    QVERIFY(encoder.isValid());
    const QByteArray data = encoder.encode(text);

    const auto decoded = TextEncoding::decode(data);
    QCOMPARE(decoded.text, text);
    QCOMPARE(decoded.encoding.encoding.toUpper(), detected);
    QCOMPARE(decoded.encoding.encode(decoded.text), data);
}

void TestTextEncoding::unrepresentableCharactersFallBackToUtf8_data()
{
    QTest::addColumn<QByteArray>("original");

    QTest::newRow("latin-1") << bytes({'c', 'a', 'f', 0xE9, 0x81});
    QTest::newRow("windows-1252") << bytes({0x93, 'x', 0x94});
}

void TestTextEncoding::unrepresentableCharactersFallBackToUtf8()
{
    QFETCH(QByteArray, original);
    const auto decoded = TextEncoding::decode(original);
    QVERIFY(decoded.encoding.encoding != "UTF-8");

    const QString edited = decoded.text + u" ✓ 日本"_s;
    const QByteArray saved = decoded.encoding.encode(edited);
    QCOMPARE(saved, edited.toUtf8());
    QCOMPARE(TextEncoding::decode(saved).text, edited);
}

QTEST_APPLESS_MAIN(TestTextEncoding)
#include "tst_textencoding.moc"
