#pragma once

#include <QString>

// Line endings of a text that may use line feeds, carriage returns followed by line
// feeds, or lone carriage returns, mixed or not. The editor sees only line feeds; these
// functions carry its edits back into the text without touching the endings of lines
// the edit did not reach.
namespace Lumo::Document::LineEndings {

enum class Style { LineFeed, CarriageReturnLineFeed, CarriageReturn };

// The most frequent ending in text; line feeds when it has none, and on a tie the
// one that comes first in the enum.
Style dominant(QStringView text);

QString sequence(Style style);

// Every ending as one line feed.
QString toLineFeeds(const QString &text);

// The text whose line-feed form is edited: the span that differs from text's own
// line-feed form is replaced, its line feeds written in text's dominant style, and
// everything before and after it kept byte for byte.
QString applyEdit(const QString &text, const QString &edited);

} // namespace Lumo::Document::LineEndings
