#include "TextFolding.h"

#include <bit>
#include <cstring>
#include <QChar>
#include <QList>
#include <QString>

namespace Lumo::Search::TextFolding {
namespace {

// Per code point of the Basic Multilingual Plane: the low byte is the folding's
// length in UTF-8 (0 to 3) and the other three bytes hold it; or the low byte is
// `pooled` and the rest is an offset into the pool, where a length byte precedes
// the bytes.
constexpr std::uint32_t pooled = 0xFF;
constexpr std::size_t longestFolding = 24;
// Output room kept beyond the input still to fold; more than any one folding needs.
constexpr std::size_t slack = 32;

struct Table
{
    std::vector<std::uint32_t> entries;
    std::string pool;
};

char *encodeUtf8(char32_t c, char *w)
{
    if (c < 0x80) {
        *w++ = char(c);
    } else if (c < 0x800) {
        *w++ = char(0xC0 | (c >> 6));
        *w++ = char(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        *w++ = char(0xE0 | (c >> 12));
        *w++ = char(0x80 | ((c >> 6) & 0x3F));
        *w++ = char(0x80 | (c & 0x3F));
    } else {
        *w++ = char(0xF0 | (c >> 18));
        *w++ = char(0x80 | ((c >> 12) & 0x3F));
        *w++ = char(0x80 | ((c >> 6) & 0x3F));
        *w++ = char(0x80 | (c & 0x3F));
    }
    return w;
}

void appendUtf8(std::string &out, char32_t c)
{
    char bytes[4];
    out.append(bytes, encodeUtf8(c, bytes));
}

// Full case folding: a letter whose capital is two letters ("ß" → "SS", "ﬁ" → "FI")
// folds to their small forms, so "strasse" finds "Straße".
std::u32string caseFolded(char32_t c)
{
    const QString upper = QString::fromUcs4(&c, 1).toUpper();
    if (upper.size() < 2 || upper.at(0).isHighSurrogate())
        return std::u32string(1, QChar::toCaseFolded(c));
    std::u32string text;
    for (const uint each : upper.toLower().toUcs4())
        text += char32_t(each);
    return text;
}

// Decomposes, drops nonspacing marks, case-folds; twice, since a case folding may
// itself decompose.
std::u32string foldCodePoint(char32_t c)
{
    std::u32string text(1, c);
    for (int pass = 0; pass < 2; ++pass) {
        std::u32string next;
        for (const char32_t each : text) {
            const QList<uint> parts =
                QChar::decompositionTag(each) == QChar::Canonical
                    ? QString::fromUcs4(&each, 1).normalized(QString::NormalizationForm_D).toUcs4()
                    : QList<uint>{uint(each)};
            for (const uint part : parts) {
                if (QChar::category(char32_t(part)) != QChar::Mark_NonSpacing)
                    next += caseFolded(char32_t(part));
            }
        }
        text = std::move(next);
    }
    return text;
}

Table buildTable()
{
    Table table;
    table.entries.resize(0x10000);
    for (char32_t c = 0; c < 0x10000; ++c) {
        std::string bytes;
        if (c >= 0xD800 && c <= 0xDFFF) {
            // Not characters; UTF-8 never decodes to them.
        } else if (c >= 0xAC00 && c <= 0xD7A3) {
            // Hangul syllables carry no marks or case; kept whole.
            appendUtf8(bytes, c);
        } else {
            for (const char32_t folded : foldCodePoint(c))
                appendUtf8(bytes, folded);
            if (bytes.size() > longestFolding) {
                bytes.clear();
                appendUtf8(bytes, c);
            }
        }
        std::uint32_t entry = 0;
        if (bytes.size() <= 3) {
            entry = std::uint32_t(bytes.size());
            for (std::size_t i = 0; i < bytes.size(); ++i)
                entry |= std::uint32_t(static_cast<unsigned char>(bytes[i])) << (8 * (i + 1));
        } else {
            entry = pooled | std::uint32_t(table.pool.size()) << 8;
            table.pool += char(bytes.size());
            table.pool += bytes;
        }
        table.entries[c] = entry;
    }
    return table;
}

const Table &table()
{
    static const Table built = buildTable();
    return built;
}

// Decodes one UTF-8 sequence starting with a byte >= 0x80; its length, 0 if invalid.
inline int decode(const unsigned char *s, std::size_t available, char32_t &c)
{
    const unsigned lead = s[0];
    const auto continuation = [&](std::size_t i) { return i < available && (s[i] & 0xC0) == 0x80; };
    if (lead < 0xC2)
        return 0;
    if (lead < 0xE0) {
        if (!continuation(1))
            return 0;
        c = char32_t((lead & 0x1F) << 6 | (s[1] & 0x3F));
        return 2;
    }
    if (lead < 0xF0) {
        if (!continuation(1) || !continuation(2) || (lead == 0xE0 && s[1] < 0xA0) ||
            (lead == 0xED && s[1] > 0x9F))
            return 0;
        c = char32_t((lead & 0x0F) << 12 | (s[1] & 0x3F) << 6 | (s[2] & 0x3F));
        return 3;
    }
    if (lead < 0xF5) {
        if (!continuation(1) || !continuation(2) || !continuation(3) ||
            (lead == 0xF0 && s[1] < 0x90) || (lead == 0xF4 && s[1] > 0x8F))
            return 0;
        c = char32_t((lead & 0x07) << 18 | (s[1] & 0x3F) << 12 | (s[2] & 0x3F) << 6 |
                     (s[3] & 0x3F));
        return 4;
    }
    return 0;
}

// Writes the folding of c at w; returns the end of what it wrote.
inline char *put(const Table &table, char32_t c, char *w)
{
    if (c >= 0x10000) {
        if (QChar::category(c) == QChar::Mark_NonSpacing)
            return w;
        return encodeUtf8(QChar::toCaseFolded(c), w);
    }
    const std::uint32_t entry = table.entries[c];
    const std::uint32_t size = entry & 0xFF;
    if (size != pooled) {
        for (std::uint32_t i = 0; i < size; ++i)
            *w++ = char(entry >> (8 * (i + 1)));
        return w;
    }
    const char *stored = table.pool.data() + (entry >> 8);
    const auto length = static_cast<unsigned char>(stored[0]);
    std::memcpy(w, stored + 1, length);
    return w + length;
}

inline char lowerAscii(unsigned char c)
{
    return char(c >= 'A' && c <= 'Z' ? c + 32 : c);
}

constexpr std::uint64_t ones = 0x0101010101010101ULL;

// Sets bit 5 of every byte from 'A' to 'Z' and leaves the other bytes alone.
inline std::uint64_t lowerAsciiWord(std::uint64_t word)
{
    const std::uint64_t low = word & (ones * 0x7F);
    const std::uint64_t fromA = low + ones * (0x80 - 'A');
    const std::uint64_t pastZ = low + ones * (0x80 - 'Z' - 1);
    return word | ((fromA ^ pastZ) & ~word & (ones * 0x80)) >> 2;
}

// How many bytes, in memory order, come before the first one with its high bit set.
inline std::size_t firstHighByte(std::uint64_t high)
{
    if constexpr (std::endian::native == std::endian::little)
        return std::size_t(std::countr_zero(high)) / 8;
    else
        return std::size_t(std::countl_zero(high)) / 8;
}

} // namespace

bool fold(std::string_view text, std::string &out, bool &unicodeBreaks)
{
    unicodeBreaks = false;
    const Table &folding = table();
    const auto *s = reinterpret_cast<const unsigned char *>(text.data());
    const std::size_t n = text.size();
    out.resize(n + slack);
    char *w = out.data();
    std::size_t i = 0;
    while (i < n) {
        if (i + 8 <= n) {
            // Eight bytes at a time: lower-case them all, keep those before the first
            // non-ASCII byte (there is room: ASCII never grows).
            std::uint64_t word;
            std::memcpy(&word, s + i, 8);
            const std::uint64_t high = word & (ones * 0x80);
            word = lowerAsciiWord(word);
            std::memcpy(w, &word, 8);
            if (high == 0) {
                w += 8;
                i += 8;
                continue;
            }
            const std::size_t ascii = firstHighByte(high);
            w += ascii;
            i += ascii;
        } else if (s[i] < 0x80) {
            *w++ = lowerAscii(s[i++]);
            continue;
        }
        char32_t c;
        const int length = decode(s + i, n - i, c);
        if (length == 0)
            return false;
        unicodeBreaks = unicodeBreaks || c == 0x85 || c == 0x2028 || c == 0x2029;
        w = put(folding, c, w);
        i += std::size_t(length);
        const std::size_t written = std::size_t(w - out.data());
        if (out.size() - written < n - i + slack) {
            out.resize(written + (n - i) * 2 + slack);
            w = out.data() + written;
        }
    }
    out.resize(std::size_t(w - out.data()));
    return true;
}

std::size_t sourceOffset(std::string_view text, std::size_t source, std::size_t folded,
                         std::size_t target)
{
    const Table &folding = table();
    const auto *s = reinterpret_cast<const unsigned char *>(text.data());
    const std::size_t n = text.size();
    char buffer[slack];
    while (folded < target && source < n) {
        if (source + 8 <= n && folded + 8 <= target) {
            std::uint64_t word;
            std::memcpy(&word, s + source, 8);
            const std::uint64_t high = word & (ones * 0x80);
            const std::size_t ascii = high == 0 ? 8 : firstHighByte(high);
            source += ascii;
            folded += ascii;
            if (ascii == 8)
                continue;
        }
        if (folded >= target || source >= n)
            break;
        if (s[source] < 0x80) {
            ++source;
            ++folded;
            continue;
        }
        char32_t c = 0xFFFD;
        const int length = decode(s + source, n - source, c);
        folded += std::size_t(put(folding, c, buffer) - buffer);
        source += std::size_t(length > 0 ? length : 1);
    }
    return source;
}

void foldMapped(std::string_view text, std::string &out, std::vector<std::uint32_t> &origin)
{
    const Table &folding = table();
    const auto *s = reinterpret_cast<const unsigned char *>(text.data());
    const std::size_t n = text.size();
    out.clear();
    origin.clear();
    char buffer[slack];
    for (std::size_t i = 0; i < n;) {
        if (s[i] < 0x80) {
            out += lowerAscii(s[i]);
            origin.push_back(std::uint32_t(i));
            ++i;
            continue;
        }
        char32_t c = 0xFFFD;
        const int length = decode(s + i, n - i, c);
        const char *end = put(folding, c, buffer);
        out.append(buffer, std::size_t(end - buffer));
        origin.insert(origin.end(), std::size_t(end - buffer), std::uint32_t(i));
        i += std::size_t(length > 0 ? length : 1);
    }
}

std::string folded(std::string_view text)
{
    std::string out;
    bool unicodeBreaks;
    if (!fold(text, out, unicodeBreaks))
        out.clear();
    return out;
}

} // namespace Lumo::Search::TextFolding
