#include "ProjectFiles.h"
#include "QuickOpenIndex.h"

#include <algorithm>
#include <limits>
#include <QDir>
#include <QTextBoundaryFinder>

// Characters are extended grapheme clusters. Nearly every path is made of characters
// one UTF-16 unit long; those are compared unit by unit, the rest cluster by cluster.

struct QuickOpenIndex::Query
{
    QString text;                  // lower-cased, whitespace removed
    std::vector<qsizetype> bounds; // start of each character, then the end
    bool simple = true;            // every character is one unit
};

namespace {

// Below U+0300 there are no combining marks, and only CR LF joins two units.
bool obviouslySimple(QStringView text)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i].unicode();
        if (unit >= 0x300 || (unit == u'\r' && i + 1 < text.size() && text[i + 1] == u'\n'))
            return false;
    }
    return true;
}

template <typename Visit> void forEachCharacter(const QString &text, Visit visit)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype start = 0;
    for (qsizetype end = finder.toNextBoundary(); end > 0; end = finder.toNextBoundary()) {
        visit(start, end);
        start = end;
    }
}

qsizetype characterCount(const QString &text)
{
    if (obviouslySimple(text))
        return text.size();
    qsizetype count = 0;
    forEachCharacter(text, [&](qsizetype, qsizetype) { ++count; });
    return count;
}

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
        if (obviouslySimple(lower)) {
            entry.characters = static_cast<std::int32_t>(lower.size());
        } else {
            const auto first = m_bounds.size();
            forEachCharacter(lower, [&](qsizetype start, qsizetype) {
                m_bounds.push_back(static_cast<std::uint32_t>(start));
            });
            entry.characters = static_cast<std::int32_t>(m_bounds.size() - first);
            if (entry.characters == lower.size()) {
                m_bounds.resize(first);
            } else {
                m_bounds.push_back(entry.length);
                entry.bounds = static_cast<std::int32_t>(first);
            }
        }
        entry.nameStart = entry.characters - static_cast<std::int32_t>(characterCount(file.name()));
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
    forEachCharacter(lower, [&](qsizetype start, qsizetype end) {
        const char32_t first = QStringView(lower).mid(start, end - start).toUcs4().value(0);
        if (QChar::isSpace(first))
            return;
        query.text += QStringView(lower).mid(start, end - start);
        query.simple = query.simple && end - start == 1;
        query.bounds.push_back(query.text.size());
    });
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

std::optional<int> ProjectFiles::score(const MarkdownFile &file, const QString &query)
{
    return QuickOpenIndex({file}).score(0, query);
}

QList<MarkdownFile> ProjectFiles::results(const QList<MarkdownFile> &files, const QString &query,
                                          const QString &currentPath)
{
    const QuickOpenIndex index(files);
    QList<MarkdownFile> rows;
    for (const qsizetype row : index.results(query, currentPath))
        rows.append(files[row]);
    return rows;
}
