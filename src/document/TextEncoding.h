#pragma once

#include <optional>
#include <QByteArray>
#include <QString>

namespace Lumo::Document {

// How a file's bytes become text and back, so a file is saved in the encoding, and
// with the byte-order mark, it had when it was opened. Decoding never fails: every
// byte sequence becomes some text. Encoding never fails either: text the encoding
// cannot represent is written as UTF-8 rather than losing characters.
struct TextEncoding
{
    // A converter name Qt understands ("UTF-8", "UTF-16LE", "windows-1252", "SHIFT_JIS").
    QByteArray encoding = "UTF-8";
    // The file began with a byte-order mark, which is written back on save.
    bool bom = false;

    static TextEncoding utf8() { return {}; }

    struct Decoded;
    static Decoded decode(const QByteArray &data);
    QByteArray encode(const QString &text) const;

    // UTF-16 without a mark, judged by where the zero bytes fall in the first 4096
    // bytes: "UTF-16LE", "UTF-16BE", or nothing.
    static std::optional<QByteArray> utf16WithoutBOM(const QByteArray &data);

    bool operator==(const TextEncoding &other) const
    {
        return bom == other.bom && encoding.compare(other.encoding, Qt::CaseInsensitive) == 0;
    }
};

struct TextEncoding::Decoded
{
    QString text;
    TextEncoding encoding;
};

namespace Encodings {
inline constexpr char utf8[] = "UTF-8";
inline constexpr char utf16LE[] = "UTF-16LE";
inline constexpr char utf16BE[] = "UTF-16BE";
inline constexpr char utf32LE[] = "UTF-32LE";
inline constexpr char utf32BE[] = "UTF-32BE";
inline constexpr char windows1252[] = "windows-1252";
inline constexpr char latin1[] = "ISO-8859-1";
} // namespace Encodings

} // namespace Lumo::Document
