#include "TextEncoding.h"

#include <array>
#include <memory>
#include <QList>
#include <QStringDecoder>
#include <QStringEncoder>
#include <QtEndian>
#include <uchardet/uchardet.h>

namespace Lumo::Document {

namespace {

struct Mark
{
    QByteArrayView bytes;
    const char *encoding;
};

// Order matters: the UTF-32 little-endian mark begins with the UTF-16 one.
const std::array<Mark, 5> marks{{
    {QByteArrayView("\xEF\xBB\xBF", 3), Encodings::utf8},
    {QByteArrayView("\xFF\xFE\x00\x00", 4), Encodings::utf32LE},
    {QByteArrayView("\x00\x00\xFE\xFF", 4), Encodings::utf32BE},
    {QByteArrayView("\xFF\xFE", 2), Encodings::utf16LE},
    {QByteArrayView("\xFE\xFF", 2), Encodings::utf16BE},
}};

constexpr qsizetype utf16SampleSize = 4096;
// Enough for the detector to make up its mind without reading a huge file twice.
constexpr qsizetype detectorSampleSize = 1 << 20;

constexpr auto strict = QStringConverter::Flag::Stateless;

bool isUnicode(QByteArrayView name)
{
    return name.startsWith("UTF-") || name.startsWith("utf-");
}

// Bytes per code unit: Qt's UTF-16 and UTF-32 decoders pad a cut-off last unit
// with a replacement character instead of reporting it.
qsizetype unitSize(QByteArrayView name)
{
    if (name.startsWith("UTF-16") || name.startsWith("utf-16"))
        return 2;
    if (name.startsWith("UTF-32") || name.startsWith("utf-32"))
        return 4;
    return 1;
}

// Qt's UTF-32 decoder turns code points past U+10FFFF and surrogates into garbage
// without reporting them.
bool validUtf32(QByteArrayView data, bool bigEndian)
{
    for (qsizetype i = 0; i + 3 < data.size(); i += 4) {
        const auto *unit = reinterpret_cast<const uchar *>(data.data() + i);
        const char32_t code =
            bigEndian ? qFromBigEndian<quint32>(unit) : qFromLittleEndian<quint32>(unit);
        if (code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF))
            return false;
    }
    return true;
}

std::optional<QString> decodeExactly(QByteArrayView data, const QByteArray &encoding)
{
    const qsizetype unit = unitSize(encoding);
    if (data.size() % unit != 0)
        return std::nullopt;
    if (unit == 4 && !validUtf32(data, encoding.endsWith("BE") || encoding.endsWith("be")))
        return std::nullopt;
    QStringDecoder decoder(encoding.constData(),
                           strict | QStringConverter::Flag::ConvertInitialBom);
    if (!decoder.isValid())
        return std::nullopt;
    QString text = decoder.decode(data);
    if (decoder.hasError())
        return std::nullopt;
    return text;
}

// Bytes of text in the encoding, or nothing when a character would be lost. Code
// pages converted through ICU substitute silently, so those are checked by decoding
// the result again.
std::optional<QByteArray> encodeExactly(const QString &text, const QByteArray &encoding)
{
    QStringEncoder encoder(encoding.constData(), strict);
    if (!encoder.isValid())
        return std::nullopt;
    QByteArray bytes = encoder.encode(text);
    if (encoder.hasError())
        return std::nullopt;
    if (!isUnicode(encoding) && decodeExactly(bytes, encoding) != text)
        return std::nullopt;
    return bytes;
}

// Text only when decoding and encoding back give the very same bytes.
std::optional<QString> roundTrip(const QByteArray &data, const QByteArray &encoding)
{
    std::optional<QString> text = decodeExactly(data, encoding);
    if (!text)
        return std::nullopt;
    if (encodeExactly(*text, encoding) != data)
        return std::nullopt;
    return text;
}

// Qt's fastest UTF-8 path replaces bad sequences with U+FFFD instead of reporting
// them, so only text holding that character needs the slower validation.
std::optional<QString> decodeUtf8(const QByteArray &data)
{
    QString text = QString::fromUtf8(data);
    if (text.contains(QChar::ReplacementCharacter) && !QByteArrayView(data).isValidUtf8())
        return std::nullopt;
    return text;
}

QByteArray detectorGuess(const QByteArray &data)
{
    std::unique_ptr<uchardet, decltype(&uchardet_delete)> detector(uchardet_new(),
                                                                   &uchardet_delete);
    if (!detector)
        return {};
    const qsizetype length = std::min(data.size(), detectorSampleSize);
    if (uchardet_handle_data(detector.get(), data.constData(), static_cast<size_t>(length)) != 0)
        return {};
    uchardet_data_end(detector.get());
    QByteArray name(uchardet_get_charset(detector.get()));
    // The detector's one name for a code page that the converters know by another.
    // The others they lack (JOHAB, ISO-8859-16, VISCII, the Georgian ones) fail the
    // round trip, as any wrong guess does.
    if (name.compare("UHC", Qt::CaseInsensitive) == 0)
        return QByteArrayLiteral("windows-949");
    // Text labelled Latin-1 or ASCII in the wild is almost always Windows-1252, whose
    // printable 0x80-0x9F (curly quotes, dashes) Latin-1 would turn into controls.
    if (name.compare("ISO-8859-1", Qt::CaseInsensitive) == 0 ||
        name.compare("ASCII", Qt::CaseInsensitive) == 0)
        return Encodings::windows1252;
    return name;
}

} // namespace

std::optional<QByteArray> TextEncoding::utf16WithoutBOM(const QByteArray &data)
{
    const qsizetype length = std::min(data.size(), utf16SampleSize);
    if (length < 2)
        return std::nullopt;
    if (length % 2 != 0 && length == data.size())
        return std::nullopt;

    qsizetype evenZeros = 0;
    qsizetype oddZeros = 0;
    for (qsizetype i = 0; i < length; ++i) {
        if (data.at(i) == 0)
            ++(i % 2 == 0 ? evenZeros : oddZeros);
    }
    const qsizetype pairs = length / 2;
    if (oddZeros * 10 >= pairs * 3 && evenZeros == 0)
        return QByteArray(Encodings::utf16LE);
    if (evenZeros * 10 >= pairs * 3 && oddZeros == 0)
        return QByteArray(Encodings::utf16BE);
    return std::nullopt;
}

TextEncoding::Decoded TextEncoding::decode(const QByteArray &data)
{
    for (const Mark &mark : marks) {
        if (!data.startsWith(mark.bytes))
            continue;
        const QByteArray encoding(mark.encoding);
        if (auto text = decodeExactly(QByteArrayView(data).sliced(mark.bytes.size()), encoding))
            return {*text, {encoding, true}};
    }

    if (const auto encoding = utf16WithoutBOM(data)) {
        if (auto text = roundTrip(data, *encoding))
            return {*text, {*encoding, false}};
    }

    if (auto text = decodeUtf8(data))
        return {*text, utf8()};

    // The detector's guess, then the usual Western code page, each only if it gives
    // the file back byte for byte. Latin-1 always does, so it is the last resort.
    QList<QByteArray> candidates;
    const QByteArray guess = detectorGuess(data);
    if (!guess.isEmpty() && !isUnicode(guess))
        candidates.append(guess);
    if (guess.compare(Encodings::windows1252, Qt::CaseInsensitive) != 0)
        candidates.append(Encodings::windows1252);
    for (const QByteArray &encoding : std::as_const(candidates)) {
        if (auto text = roundTrip(data, encoding))
            return {*text, {encoding, false}};
    }
    return {QString::fromLatin1(data), {Encodings::latin1, false}};
}

QByteArray TextEncoding::encode(const QString &text) const
{
    std::optional<QByteArray> bytes = encodeExactly(text, encoding);
    if (!bytes)
        return text.toUtf8();
    if (bom) {
        for (const Mark &mark : marks) {
            if (encoding.compare(mark.encoding, Qt::CaseInsensitive) == 0) {
                bytes->prepend(mark.bytes.data(), mark.bytes.size());
                break;
            }
        }
    }
    return *bytes;
}

} // namespace Lumo::Document
