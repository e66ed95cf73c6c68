#include "QuickOpenIndex.h"

#include "Characters.h"
#include "ProjectFiles.h"

#include <algorithm>
#include <limits>
#include <QDir>

namespace Lumo::Search {

// Characters are extended grapheme clusters. Nearly every path is made of characters
// one UTF-16 unit long; those are compared unit by unit, the rest cluster by cluster.

struct QuickOpenIndex::Query
{
    QString text;                  // lower-cased, whitespace removed
    std::vector<qsizetype> bounds; // start of each character, then the end
    bool simple = true;            // every character is one unit
};

namespace {

bool isWordBreak(char16_t unit)
{
    return unit == u'/' || unit == u'-' || unit == u'_' || unit == u'.' || unit == u' ';
}

bool isWordBreak(QStringView character)
{
    return character.size() == 1 && isWordBreak(character[0].unicode());
}

// Adds up one matched position's worth of score.
struct Tally
{
    int sum = 0;
    qsizetype previous = -2;

    void add(qsizetype position, qsizetype nameStart, bool wordStart)
    {
        sum += position >= nameStart ? 4 : 1;
        if (position == previous + 1)
            sum += 4;
        if (wordStart)
            sum += 5;
        previous = position;
    }
};

} // namespace

QuickOpenIndex::QuickOpenIndex(QList<MarkdownFile> files)
    : m_files(std::move(files))
{
    m_entries.reserve(m_files.size());
    m_keys.reserve(m_files.size());
    for (const MarkdownFile &file : std::as_const(m_files)) {
        // Composed, so that é typed matches é stored as e and a combining accent.
        const QString lower = file.relativePath.toLower().normalized(QString::NormalizationForm_C);
        Entry entry;
        entry.offset = static_cast<std::uint32_t>(m_text.size());
        entry.length = static_cast<std::uint32_t>(lower.size());
        m_text.insert(m_text.end(), lower.utf16(), lower.utf16() + lower.size());
        entry.characters = static_cast<std::int32_t>(lower.size());
        if (!Characters::surelySingleUnits(lower)) {
            const std::vector<qsizetype> bounds = Characters::bounds(lower);
            entry.characters = static_cast<std::int32_t>(bounds.size() - 1);
            if (entry.characters != lower.size()) {
                entry.bounds = static_cast<std::int32_t>(m_bounds.size());
                m_bounds.insert(m_bounds.end(), bounds.begin(), bounds.end());
            }
        }
        entry.nameStart =
            entry.characters - static_cast<std::int32_t>(Characters::count(file.name()));
        entry.modified = file.modified.isValid() ? file.modified.toMSecsSinceEpoch()
                                                 : std::numeric_limits<qint64>::min();
        m_entries.push_back(entry);
        m_keys.append(QDir::cleanPath(file.path));
    }
}

QuickOpenIndex::Query QuickOpenIndex::prepare(const QString &typed)
{
    Query query;
    const QString lower = typed.toLower().normalized(QString::NormalizationForm_C);
    query.bounds.push_back(0);
    const std::vector<qsizetype> bounds = Characters::bounds(lower);
    for (std::size_t i = 0; i + 1 < bounds.size(); ++i) {
        const QStringView character = QStringView(lower).mid(bounds[i], bounds[i + 1] - bounds[i]);
        if (QChar::isSpace(character.toUcs4().value(0)))
            continue;
        query.text += character;
        query.simple = query.simple && character.size() == 1;
        query.bounds.push_back(query.text.size());
    }
    return query;
}

std::optional<int> QuickOpenIndex::score(const Entry &entry, const Query &query) const
{
    const qsizetype wanted = qsizetype(query.bounds.size()) - 1;
    if (wanted == 0)
        return 0;
    const char16_t *path = m_text.data() + entry.offset;
    Tally tally;
    if (entry.bounds < 0 && query.simple) {
        const char16_t *q = reinterpret_cast<const char16_t *>(query.text.utf16());
        qsizetype p = 0;
        for (qsizetype i = 0; i < wanted; ++i, ++p) {
            while (p < entry.length && path[p] != q[i])
                ++p;
            if (p == entry.length)
                return std::nullopt;
            tally.add(p, entry.nameStart, p == 0 || isWordBreak(path[p - 1]));
        }
    } else {
        const auto character = [&](qsizetype i) {
            if (entry.bounds < 0)
                return QStringView(path + i, 1);
            const std::uint32_t *bounds = m_bounds.data() + entry.bounds;
            return QStringView(path + bounds[i], bounds[i + 1] - bounds[i]);
        };
        qsizetype p = 0;
        for (qsizetype i = 0; i < wanted; ++i, ++p) {
            const QStringView wantedCharacter =
                QStringView(query.text).mid(query.bounds[i], query.bounds[i + 1] - query.bounds[i]);
            while (p < entry.characters && character(p) != wantedCharacter)
                ++p;
            if (p == entry.characters)
                return std::nullopt;
            tally.add(p, entry.nameStart, p == 0 || isWordBreak(character(p - 1)));
        }
    }
    return tally.sum * 100 - entry.characters;
}

std::optional<int> QuickOpenIndex::score(qsizetype index, const QString &query) const
{
    return score(m_entries[size_t(index)], prepare(query));
}

qsizetype QuickOpenIndex::excludedIndex(const QString &currentPath) const
{
    if (currentPath.isEmpty())
        return -1;
    return m_keys.indexOf(QDir::cleanPath(currentPath));
}

QList<qsizetype> QuickOpenIndex::results(const QString &query, const QString &currentPath,
                                         qsizetype limit) const
{
    const qsizetype excluded = excludedIndex(currentPath);
    QList<qsizetype> rows;
    if (query.isEmpty()) {
        for (qsizetype i = 0; i < m_files.size() && rows.size() < limit; ++i) {
            if (i != excluded)
                rows.append(i);
        }
        return rows;
    }

    struct Ranked
    {
        int score;
        qint64 modified;
        qsizetype index;
    };
    const Query prepared = prepare(query);
    std::vector<Ranked> ranked;
    ranked.reserve(m_entries.size());
    for (qsizetype i = 0; i < qsizetype(m_entries.size()); ++i) {
        if (i == excluded)
            continue;
        if (const std::optional<int> value = score(m_entries[size_t(i)], prepared))
            ranked.push_back({*value, m_entries[size_t(i)].modified, i});
    }
    const auto kept = std::min<qsizetype>(limit, qsizetype(ranked.size()));
    std::partial_sort(ranked.begin(), ranked.begin() + kept, ranked.end(),
                      [](const Ranked &a, const Ranked &b) {
                          if (a.score != b.score)
                              return a.score > b.score;
                          if (a.modified != b.modified)
                              return a.modified > b.modified;
                          return a.index < b.index;
                      });
    rows.reserve(kept);
    for (qsizetype i = 0; i < kept; ++i)
        rows.append(ranked[size_t(i)].index);
    return rows;
}

} // namespace Lumo::Search
