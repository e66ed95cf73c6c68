#include "TextSplice.h"

#include <algorithm>
#include <iterator>

namespace Lumo::Document {

TextSplice TextSplice::between(const QString &before, const QString &after)
{
    const QChar *a = before.constData();
    const QChar *b = after.constData();
    const qsizetype shorter = std::min(before.size(), after.size());
    qsizetype head = std::mismatch(a, a + shorter, b).first - a;
    if (head > 0 && a[head - 1].isHighSurrogate())
        --head;
    // The common end may not reach into the common start.
    const qsizetype room = shorter - head;
    const auto beforeEnd = std::make_reverse_iterator(a + before.size());
    const qsizetype tail =
        std::mismatch(beforeEnd, beforeEnd + room, std::make_reverse_iterator(b + after.size()))
            .first -
        beforeEnd;
    const qsizetype kept = tail > 0 && a[before.size() - tail].isLowSurrogate() ? tail - 1 : tail;
    return {head, before.size() - kept, after.mid(head, after.size() - kept - head)};
}

} // namespace Lumo::Document
