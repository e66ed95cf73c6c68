// Decoding and line endings: any bytes read are written back byte for byte, and an
// edit made where lines end in line feeds comes back as that edit.
#include "document/LineEndings.h"
#include "document/TextEncoding.h"
#include "Fuzz.h"

#include <algorithm>

using namespace Lumo::Document;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const TextEncoding::Decoded decoded = TextEncoding::decode(bytes);
    FUZZ_CHECK(decoded.encoding.encode(decoded.text) == bytes);

    const QString &text = decoded.text;
    const QString lineFeeds = LineEndings::toLineFeeds(text);
    FUZZ_CHECK(LineEndings::applyEdit(text, lineFeeds) == text);
    const qsizetype at = size > 0 ? data[0] % (lineFeeds.size() + 1) : 0;
    const qsizetype cut = size > 1 ? std::min<qsizetype>(data[1] % 8, lineFeeds.size() - at) : 0;
    QString edited = lineFeeds;
    edited.replace(at, cut,
                   size > 2 && data[2] % 2 ? QStringLiteral("\n") : QStringLiteral("a\nb"));
    const QString result = LineEndings::applyEdit(text, edited);
    FUZZ_CHECK(LineEndings::toLineFeeds(result) == edited);
    return 0;
}
