#include "ProjectSearch.h"

#include "Characters.h"
#include "TextFolding.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <QFile>
#include <thread>

#ifdef Q_OS_UNIX
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace Lumo::Search {

// Each file is folded whole into a second buffer and searched there with memmem.
// Only a line that holds a match is found again in the source (by walking on from
// the last one found) and folded anew with a byte-by-byte map back to its source,
// to place the match exactly. Folding keeps line breaks as they are, so lines are
// found in the folded text, and counted in the source between the lines found.

namespace {

constexpr int searchThreads = 2;

// Buffers reused from file to file by one thread.
struct Scratch
{
    std::string bytes;
    std::string folded;
    std::string lineFolded;
    std::vector<std::uint32_t> origin;
};

// The whole file, when it is a regular file of at most largestFile bytes.
bool readFile(const QString &path, std::string &bytes)
{
#ifdef Q_OS_UNIX
    // Non-blocking, so that a pipe that happens to carry a Markdown name cannot hang us.
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0)
        return false;
    struct stat status;
    if (::fstat(fd, &status) != 0 || !S_ISREG(status.st_mode) ||
        status.st_size > ProjectSearch::largestFile) {
        ::close(fd);
        return false;
    }
    bytes.resize(std::size_t(status.st_size));
    std::size_t got = 0;
    while (got < bytes.size()) {
        const ssize_t n = ::read(fd, bytes.data() + got, bytes.size() - got);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;
        got += std::size_t(n);
    }
    ::close(fd);
    bytes.resize(got);
    return true;
#else
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.isSequential() ||
        file.size() > ProjectSearch::largestFile)
        return false;
    bytes.resize(std::size_t(file.size()));
    const qint64 got = file.read(bytes.data(), qint64(bytes.size()));
    bytes.resize(std::size_t(std::max<qint64>(got, 0)));
    return got >= 0;
#endif
}

// Length of the line break at i (CR LF counts as one), or 0.
inline std::size_t breakAt(std::string_view text, std::size_t i)
{
    const auto c = static_cast<unsigned char>(text[i]);
    if (c == '\n')
        return 1;
    if (c == '\r')
        return i + 1 < text.size() && text[i + 1] == '\n' ? 2 : 1;
    if (c == 0xC2)
        return i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) == 0x85 ? 2 : 0;
    if (c == 0xE2 && i + 2 < text.size() && static_cast<unsigned char>(text[i + 1]) == 0x80) {
        const auto last = static_cast<unsigned char>(text[i + 2]);
        return last == 0xA8 || last == 0xA9 ? 3 : 0;
    }
    return 0;
}

inline bool mayBreak(unsigned char c)
{
    return c == '\n' || c == '\r' || c == 0xC2 || c == 0xE2;
}

// Where the line holding `from` ends (its break, or the end of text).
std::size_t lineEnd(std::string_view text, std::size_t from)
{
    for (std::size_t i = from; i < text.size(); ++i) {
        if (mayBreak(static_cast<unsigned char>(text[i])) && breakAt(text, i))
            return i;
    }
    return text.size();
}

std::size_t findIn(std::string_view haystack, std::string_view needle, std::size_t from)
{
    if (from > haystack.size())
        return std::string_view::npos;
    const void *at =
        ::memmem(haystack.data() + from, haystack.size() - from, needle.data(), needle.size());
    return at ? std::size_t(static_cast<const char *>(at) - haystack.data())
              : std::string_view::npos;
}

// UTF-16 length of the first `bytes` bytes of valid UTF-8.
qsizetype utf16Length(std::string_view text, std::size_t bytes)
{
    qsizetype units = 0;
    for (std::size_t i = 0; i < bytes; ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if ((c & 0xC0) != 0x80)
            units += c >= 0xF0 ? 2 : 1;
    }
    return units;
}

struct Match
{
    std::size_t start;
    std::size_t end;
};

// The first match in a line, in source bytes, that begins and ends on characters.
std::optional<Match> firstMatch(std::string_view line, std::string_view needle, Scratch &scratch)
{
    TextFolding::foldMapped(line, scratch.lineFolded, scratch.origin);
    const std::string_view folded = scratch.lineFolded;
    const std::vector<std::uint32_t> &origin = scratch.origin;
    for (std::size_t at = findIn(folded, needle, 0); at != std::string_view::npos;
         at = findIn(folded, needle, at + 1)) {
        const std::size_t end = at + needle.size();
        const bool startsOnCharacter = at == 0 || origin[at] != origin[at - 1];
        const bool endsOnCharacter = end == folded.size() || origin[end] != origin[end - 1];
        if (startsOnCharacter && endsOnCharacter)
            // Running to the next character that folds to something takes in the
            // marks that folding dropped.
            return Match{origin[at], end == folded.size() ? line.size() : origin[end]};
    }
    return std::nullopt;
}

void searchFile(const MarkdownFile &file, std::string_view needle, int perFile, Scratch &scratch,
                QList<SearchHit> &hits)
{
    if (!readFile(file.path, scratch.bytes))
        return;
    std::string_view text = scratch.bytes;
    if (text.starts_with("\xEF\xBB\xBF"))
        text.remove_prefix(3);
    bool unicodeBreaks;
    if (!TextFolding::fold(text, scratch.folded, unicodeBreaks))
        return;
    const std::string_view folded = scratch.folded;
    std::optional<bool> lineFeedsOnly; // looked at once something matches
    // The next line break at or after `from`, or the end of text.
    const auto nextBreak = [&](std::string_view in, std::size_t from) {
        if (!lineFeedsOnly)
            lineFeedsOnly = !unicodeBreaks && !std::memchr(text.data(), '\r', text.size());
        if (!*lineFeedsOnly)
            return lineEnd(in, from);
        const void *feed = std::memchr(in.data() + from, '\n', in.size() - from);
        return feed ? std::size_t(static_cast<const char *>(feed) - in.data()) : in.size();
    };

    std::size_t lineStart = 0;
    int lineIndex = 0;
    // A line start already found in the source, to walk on from.
    std::size_t knownSource = 0;
    std::size_t knownFolded = 0;
    int found = 0;
    for (std::size_t at = findIn(folded, needle, 0); at != std::string_view::npos;
         at = findIn(folded, needle, lineStart)) {
        for (std::size_t brk = nextBreak(folded, lineStart); brk < at;
             brk = nextBreak(folded, lineStart))
            lineStart = brk + breakAt(folded, brk);
        const std::size_t sourceStart =
            TextFolding::sourceOffset(text, knownSource, knownFolded, lineStart);
        // Counted in the source: folding may drop a mark between CR and LF and join
        // two breaks into one.
        for (std::size_t brk = nextBreak(text, knownSource); brk < sourceStart;
             brk = nextBreak(text, brk + breakAt(text, brk)))
            ++lineIndex;
        knownSource = sourceStart;
        knownFolded = lineStart;
        const std::string_view line =
            text.substr(sourceStart, nextBreak(text, sourceStart) - sourceStart);
        if (const std::optional<Match> match = firstMatch(line, needle, scratch)) {
            const QString lineText = QString::fromUtf8(line.data(), qsizetype(line.size()));
            const qsizetype start = utf16Length(line, match->start);
            const ProjectSearch::Snippet shown =
                ProjectSearch::snippet(lineText, start, utf16Length(line, match->end) - start);
            hits.append({file, lineIndex, shown.text, shown.highlightStart, shown.highlightLength});
            if (++found >= perFile)
                return;
        }
        const std::size_t end = nextBreak(folded, at + needle.size());
        if (end == folded.size())
            return;
        lineStart = end + breakAt(folded, end);
    }
}

bool holdsLineBreak(std::string_view text)
{
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (breakAt(text, i))
            return true;
    }
    return false;
}

} // namespace

QString SearchHit::id() const
{
    return file.path + u'#' + QString::number(line);
}

namespace ProjectSearch {

QString trimmed(const QString &query)
{
    qsizetype start = 0;
    qsizetype end = query.size();
    const auto blank = [&](qsizetype i) { return query[i] == u' ' || query[i] == u'\t'; };
    while (start < end && blank(start))
        ++start;
    while (end > start && blank(end - 1))
        --end;
    return query.mid(start, end - start);
}

bool isSearchable(const QString &query)
{
    return Characters::count(trimmed(query)) >= shortestQuery;
}

QList<SearchHit> search(const QString &query, const QList<MarkdownFile> &files, int perFile,
                        int total, std::stop_token stop)
{
    if (!isSearchable(query))
        return {};
    const std::string needle = TextFolding::folded(trimmed(query).toStdString());
    // A line never holds a line break, and every text holds the empty string.
    if (needle.empty() || holdsLineBreak(needle))
        return {};

    const auto count = std::size_t(files.size());
    std::vector<QList<SearchHit>> found(count);
    std::vector<char> done(count, 0);
    std::atomic<std::size_t> next = 0;
    std::atomic<bool> enough = false;
    std::mutex progress;     // guards done, settled, settledHits
    std::size_t settled = 0; // files [0, settled) are all done
    qsizetype settledHits = 0;

    const auto work = [&] {
        Scratch scratch;
        while (!stop.stop_requested() && !enough) {
            const std::size_t i = next++;
            if (i >= count)
                return;
            searchFile(files[qsizetype(i)], needle, perFile, scratch, found[i]);
            const std::lock_guard lock(progress);
            done[i] = 1;
            while (settled < count && done[settled])
                settledHits += found[settled++].size();
            if (settledHits >= total)
                enough = true;
        }
    };
    if (count > 1) {
        std::vector<std::thread> helpers;
        for (int i = 1; i < searchThreads; ++i)
            helpers.emplace_back(work);
        work();
        for (std::thread &helper : helpers)
            helper.join();
    } else {
        work();
    }

    QList<SearchHit> hits;
    for (std::size_t i = 0; i < count && done[i] && hits.size() < total; ++i)
        hits += found[i];
    return hits;
}

Snippet snippet(QStringView line, qsizetype matchStart, qsizetype matchLength)
{
    constexpr qsizetype shown = 220;
    constexpr qsizetype leadWithin = 50;
    constexpr qsizetype context = 40;

    const std::vector<qsizetype> bounds = Characters::bounds(line);
    const auto characters = qsizetype(bounds.size()) - 1;
    const auto characterAt = [&](qsizetype position) {
        return qsizetype(std::upper_bound(bounds.begin(), bounds.end(), position) -
                         bounds.begin()) -
               1;
    };
    const qsizetype before = std::clamp<qsizetype>(characterAt(matchStart), 0, characters);
    const qsizetype matchEnd = std::min(
        qsizetype(std::lower_bound(bounds.begin(), bounds.end(), matchStart + matchLength) -
                  bounds.begin()),
        characters);

    const qsizetype from = before <= leadWithin ? 0 : before - context;
    const qsizetype to = std::min(from + shown, characters);
    Snippet result;
    if (from > 0)
        result.text = QStringLiteral("…");
    const qsizetype lead = result.text.size();
    result.text += line.mid(bounds[size_t(from)], bounds[size_t(to)] - bounds[size_t(from)]);
    const qsizetype highlightEnd = std::clamp(matchEnd, before, to);
    result.highlightStart = lead + bounds[size_t(std::min(before, to))] - bounds[size_t(from)];
    result.highlightLength = bounds[size_t(highlightEnd)] - bounds[size_t(std::min(before, to))];
    return result;
}

} // namespace ProjectSearch

} // namespace Lumo::Search
