#pragma once

#include <QString>

namespace Lumo::Document {

// The one run of text that differs between two versions: old[start, end) was
// replaced by inserted. Found from both ends, so an append or a one-character
// edit of a long text is a short splice. It never cuts a surrogate pair, so
// each side of it stays valid UTF-16 on its own.
struct TextSplice
{
    qsizetype start = 0;
    qsizetype end = 0;
    QString inserted;

    static TextSplice between(const QString &before, const QString &after);
};

} // namespace Lumo::Document
