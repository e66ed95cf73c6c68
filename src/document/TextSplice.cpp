#include "TextSplice.h"

#include <algorithm>

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
    qsizetype tail = 0;
    while (tail < room && a[before.size() - 1 - tail] == b[after.size() - 1 - tail])
        ++tail;
    if (tail > 0 && a[before.size() - tail].isLowSurrogate())
        --tail;
    return {head, before.size() - tail, after.mid(head, after.size() - tail - head)};
}
