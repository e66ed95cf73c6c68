#pragma once

#include "ProjectFiles.h"

#include <stop_token>

namespace Lumo::Search {

// One matching line of a project search. `line` counts from 0; the highlight is the
// match's place in `snippet`, in UTF-16 positions.
struct SearchHit
{
    MarkdownFile file;
    int line = 0;
    QString snippet;
    qsizetype highlightStart = 0;
    qsizetype highlightLength = 0;

    // The file's path, "#" and the line, e.g. "/home/a/notes/plan.md#12".
    QString id() const;
    bool operator==(const SearchHit &) const = default;
};

// Full-text search of a project's Markdown files, ignoring case and diacritics with
// no locale. Pure and reentrant; a call runs on the calling thread and one helper.
namespace ProjectSearch {

// The bounds the search panel passes.
inline constexpr int panelPerFile = 8;
inline constexpr int panelTotal = 400;
// The largest file searched, in bytes.
inline constexpr qint64 largestFile = 1'999'999;
// Queries shorter than this, in characters after trimming, find nothing.
inline constexpr int shortestQuery = 2;

// The query without leading and trailing spaces and tabs.
QString trimmed(const QString &query);
// Whether the trimmed query is long enough to search for.
bool isSearchable(const QString &query);

// The first match of every line, file by file in the order given (newest first as
// the scan lists them), at most perFile per file. The total is checked between
// files, so the last file searched may carry the list past it by perFile - 1.
// Files over largestFile, unreadable or not valid UTF-8 are skipped. A stop request
// ends the search before the next file.
QList<SearchHit> search(const QString &query, const QList<MarkdownFile> &files, int perFile,
                        int total, std::stop_token stop = {});

struct Snippet
{
    QString text;
    qsizetype highlightStart = 0;
    qsizetype highlightLength = 0;
};

// The text shown for a line whose match starts at matchStart (UTF-16 positions),
// counted in characters (grapheme clusters): the line's first 220 when the match
// starts within its first 50, else "…" and 220 characters from 40 before the match.
Snippet snippet(QStringView line, qsizetype matchStart, qsizetype matchLength);

} // namespace ProjectSearch

} // namespace Lumo::Search
