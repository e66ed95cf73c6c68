#pragma once

#include "ProjectFiles.h"

#include <cstdint>
#include <QStringList>
#include <vector>

namespace Lumo::Search {

// The project's files with their paths lower-cased and cut into characters once, so
// that ranking them again on every keystroke allocates nothing per file.
//
// Build it off the main thread (it reads no files, but lower-cases every path);
// afterwards it is read-only and safe to share between threads.
class QuickOpenIndex
{
public:
    static constexpr qsizetype rowLimit = 60;

    QuickOpenIndex() = default;
    explicit QuickOpenIndex(QList<MarkdownFile> files);

    const QList<MarkdownFile> &files() const { return m_files; }

    // Score of files()[index] against query; no value when it does not match.
    std::optional<int> score(qsizetype index, const QString &query) const;

    // Positions in files() of the rows for query: the current document (compared
    // by standardised path) left out, best score first, newer first among equals,
    // list order among files equal in both; at most `limit`.
    QList<qsizetype> results(const QString &query, const QString &currentPath,
                             qsizetype limit = rowLimit) const;

private:
    struct Query;
    struct Entry
    {
        std::uint32_t offset = 0; // into m_text
        std::uint32_t length = 0; // UTF-16 units
        std::int32_t characters = 0;
        std::int32_t nameStart = 0; // in characters
        // Into m_bounds when some character is longer than one unit, else -1.
        std::int32_t bounds = -1;
        qint64 modified = 0;
    };

    static Query prepare(const QString &typed);
    std::optional<int> score(const Entry &entry, const Query &query) const;
    qsizetype excludedIndex(const QString &currentPath) const;

    QList<MarkdownFile> m_files;
    std::vector<Entry> m_entries;
    std::vector<char16_t> m_text;
    std::vector<std::uint32_t> m_bounds;
    QStringList m_keys; // standardised paths
};

} // namespace Lumo::Search
