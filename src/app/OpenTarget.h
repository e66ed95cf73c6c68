#pragma once

#include "document/OutlineItem.h"

#include <functional>
#include <QJsonValue>
#include <QList>
#include <QString>

namespace Lumo::App {

// A file to open and where to show it: "notes.md:12" (what grep, compilers and
// editors print) opens at line 12, "notes.md#install" at the heading with that
// anchor. A file whose own name holds ':' or '#' opens as itself when it exists.
struct OpenTarget
{
    QString path;
    // The line to show, 0-based; -1 for none.
    int line = -1;
    // The heading to show, as an anchor id or its text; empty for none.
    QString heading;

    bool operator==(const OpenTarget &) const = default;

    // An absolute path as given on the command line; exists answers whether a
    // path names a file (QFileInfo::exists unless a test says otherwise).
    static OpenTarget fromArgument(const QString &absolutePath,
                                   const std::function<bool(const QString &)> &exists = {});
    // The form an open request carries: the bare path when there is no position.
    QJsonValue toJson() const;
    // Either form of toJson; an empty path for anything else.
    static OpenTarget fromJson(const QJsonValue &value);

    // The outline entry that `heading` names: its anchor id, else its text ignoring
    // case, else the anchor the name would get; -1 when none matches.
    static int headingIndex(const QList<Lumo::Document::OutlineItem> &outline,
                            const QString &heading);
};

} // namespace Lumo::App
