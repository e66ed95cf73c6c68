// Folding and project search on any text: folding never fails on UTF-8, and every
// hit names a line of the file (counted in the original text, every kind of line
// break counting once) whose folding holds the folded query.
#include "Fuzz.h"
#include "search/ProjectFiles.h"
#include "search/ProjectSearch.h"
#include "search/TextFolding.h"

#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>

using namespace Lumo::Search;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static QTemporaryDir folder;
    if (size < 1 || !folder.isValid())
        return 0;
    const std::string_view text(reinterpret_cast<const char *>(data) + 1, size - 1);
    std::string folded;
    bool unicodeBreaks = false;
    const bool valid = TextFolding::fold(text, folded, unicodeBreaks);
    FUZZ_CHECK(valid == QByteArrayView(text.data(), qsizetype(text.size())).isValidUtf8());
    if (!valid)
        return 0;

    static const QStringList queries{QStringLiteral("ee"), QStringLiteral("word"),
                                     QStringLiteral("ÉE"), QStringLiteral("x-")};
    const QString query = queries.at(data[0] % queries.size());
    const QString path = folder.filePath(QStringLiteral("case.md"));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return 0;
    file.write(text.data(), qint64(text.size()));
    file.close();

    QString source = QString::fromUtf8(text.data(), qsizetype(text.size()));
    if (source.startsWith(QChar::ByteOrderMark))
        source.remove(0, 1);
    static const QRegularExpression breaks(QStringLiteral("\r\n|[\r\n\u2028\u2029\u0085]"));
    const QStringList lines = source.split(breaks);
    const std::string needle = TextFolding::folded(query.toStdString());
    for (const SearchHit &hit :
         ProjectSearch::search(query, {MarkdownFile{path, {}, {}}}, 50, 50)) {
        FUZZ_CHECK(hit.line >= 0 && hit.line < lines.size());
        const std::string line = TextFolding::folded(lines.at(hit.line).toStdString());
        FUZZ_CHECK(line.find(needle) != std::string::npos);
    }
    return 0;
}
