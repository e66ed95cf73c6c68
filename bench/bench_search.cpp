// Project search and quick open on a generated project: 5000 Markdown files (about
// 40 MB in 780 folders, prose with accents) beside skipped folders full of noise.
// Searches run beside `rg -i` and `grep -ri` over the same files in the same run;
// a peer that is not installed is left out. Prints figures; never fails.
// Run: build/bench/bench_search [--corpus DIR]   (DIR is made once and then reused)
#include "search/ProjectFiles.h"
#include "search/ProjectSearch.h"
#include "search/QuickOpenIndex.h"

#include <algorithm>
#include <cstdio>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <random>

using namespace Lumo::Search;

namespace {

constexpr int fileCount = 5000;
constexpr int areas = 30;
constexpr int topicsPerArea = 25; // 30 + 750 = 780 folders
constexpr int runs = 5;
const char *const corpusVersion = "lumo-search-corpus 1";

const QStringList &words()
{
    static const QStringList list = [] {
        QStringList w =
            QStringLiteral("the of and to in is that for it with as on was by this be are "
                           "from at or an have not which but all were when we there can "
                           "café résumé naïve déjà façade élan crème brûlée fiancée über "
                           "Straße smörgåsbord piñata señor jalapeño coöperate Zürich "
                           "project release notes design review budget meeting plan draft "
                           "reading writing markdown folder quick search index table link")
                .split(u' ');
        std::mt19937 random(7);
        const QString syllables = QStringLiteral("ba be bi bo bu ka ke ki ko ku la le li lo lu "
                                                 "ma me mi mo mu na ne ni no nu ra re ri ro ru "
                                                 "sa se si so su ta te ti to tu vé lé né ré çe");
        const QStringList parts = syllables.split(u' ');
        while (w.size() < 3000) {
            QString word;
            const int length = 2 + int(random() % 3);
            for (int i = 0; i < length; ++i)
                word += parts[qsizetype(random() % parts.size())];
            w << word;
        }
        return w;
    }();
    return list;
}

// Zipf-like: the first words of the list are by far the most common.
QString sentence(std::mt19937 &random)
{
    const QStringList &w = words();
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    QString text;
    const int length = 8 + int(random() % 12);
    for (int i = 0; i < length; ++i) {
        const auto index = qsizetype(std::pow(unit(random), 3.0) * double(w.size()));
        text += (i ? QStringLiteral(" ") : QString()) + w[std::min(index, w.size() - 1)];
    }
    text[0] = text[0].toUpper();
    return text + u'.';
}

bool write(const QString &path, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

void makeCorpus(const QString &root)
{
    std::mt19937 random(42);
    for (int i = 0; i < fileCount; ++i) {
        const int folder = i % (areas * topicsPerArea + areas);
        const QString area = QStringLiteral("area-%1").arg(folder % areas, 2, 10, QLatin1Char('0'));
        const QString place =
            folder < areas
                ? area
                : area + QStringLiteral("/topic-%1").arg(folder / areas, 2, 10, QLatin1Char('0'));
        QString text = QStringLiteral("# Note %1\n\n").arg(i);
        while (text.size() < 7600) {
            if (random() % 6 == 0)
                text += QStringLiteral("## ") + sentence(random) + QStringLiteral("\n\n");
            else if (random() % 5 == 0)
                text += QStringLiteral("- ") + sentence(random) + QStringLiteral("\n- ") +
                        sentence(random) + QStringLiteral("\n\n");
            else
                text += sentence(random) + u' ' + sentence(random) + u'\n' + sentence(random) +
                        QStringLiteral("\n\n");
        }
        if (i % 1700 == 3)
            text += QStringLiteral("The Zanzibar archive turned up at last.\n");
        write(root + QStringLiteral("/%1/note-%2.md").arg(place).arg(i), text.toUtf8());
    }
    // Noise that the walk must skip.
    QByteArray blob(16384, '\0');
    for (int i = 0; i < 300; ++i) {
        for (char &c : blob)
            c = char(random());
        write(root + QStringLiteral("/.git/objects/%1/%2").arg(i % 40).arg(i), blob);
        write(root + QStringLiteral("/node_modules/pkg-%1/README.md").arg(i),
              "# A package\n\nproject Zanzibar project\n");
        write(root + QStringLiteral("/node_modules/pkg-%1/index.js").arg(i),
              "module.exports = 1;\n");
        write(root + QStringLiteral("/build/out-%1.md").arg(i), "project Zanzibar\n");
    }
    write(root + QStringLiteral("/.corpus"), corpusVersion);
}

double median(QList<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

template <typename Work> double medianMilliseconds(Work work, int count = runs)
{
    work();
    QList<double> times;
    for (int i = 0; i < count; ++i) {
        QElapsedTimer timer;
        timer.start();
        work();
        times << double(timer.nsecsElapsed()) / 1e6;
    }
    return median(times);
}

// Wall time of a peer over the files, output discarded; negative when it is absent.
double peerMilliseconds(const QString &program, const QStringList &options,
                        const QStringList &paths)
{
    const QString found = QStandardPaths::findExecutable(program);
    if (found.isEmpty())
        return -1;
    return medianMilliseconds([&] {
        QProcess process;
        process.setStandardOutputFile(QProcess::nullDevice());
        process.setStandardErrorFile(QProcess::nullDevice());
        process.start(found, options + paths);
        process.waitForFinished(-1);
    });
}

QString figure(double milliseconds)
{
    return milliseconds < 0 ? QStringLiteral("(absent)")
                            : QStringLiteral("%1 ms").arg(milliseconds, 0, 'f', 1);
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QString root = QDir::tempPath() + QStringLiteral("/lumo-search-corpus");
    const QStringList arguments = app.arguments();
    if (const qsizetype at = arguments.indexOf(QStringLiteral("--corpus"));
        at > 0 && at + 1 < arguments.size())
        root = arguments[at + 1];
    QFile marker(root + QStringLiteral("/.corpus"));
    if (!marker.open(QIODevice::ReadOnly) || marker.readAll() != corpusVersion) {
        std::printf("Generating the corpus in %s ...\n", qPrintable(root));
        QDir(root).removeRecursively();
        makeCorpus(root);
    }

    QList<MarkdownFile> files;
    const double scan = medianMilliseconds([&] { files = ProjectFiles::scan(root); }, 3);
    qint64 bytes = 0;
    QStringList paths;
    for (const MarkdownFile &file : std::as_const(files)) {
        bytes += QFileInfo(file.path).size();
        paths << file.path;
    }
    std::printf("corpus: %lld Markdown files, %.1f MB, in %s\n", qlonglong(files.size()),
                double(bytes) / 1e6, qPrintable(root));
    std::printf("scan (ProjectFiles::scan, 5000 limit): %s\n\n", qPrintable(figure(scan)));

    std::printf("%-28s %12s %12s %12s %12s %12s\n", "search (median of 5)", "Lumo 8/400",
                "Lumo all", "rg -i -j2", "rg -i", "grep -ri");
    const QStringList queries{QStringLiteral("zanzibar"), QStringLiteral("project")};
    for (const QString &query : queries) {
        qsizetype panelHits = 0;
        qsizetype allHits = 0;
        const double panel = medianMilliseconds([&] {
            panelHits = ProjectSearch::search(query, files, ProjectSearch::panelPerFile,
                                              ProjectSearch::panelTotal)
                            .size();
        });
        const double all = medianMilliseconds(
            [&] { allHits = ProjectSearch::search(query, files, INT_MAX, INT_MAX).size(); });
        const QStringList rgOptions{QStringLiteral("-i"), QStringLiteral("-F"),
                                    QStringLiteral("--no-config"), QStringLiteral("--"), query};
        const double rg2 = peerMilliseconds(QStringLiteral("rg"),
                                            QStringList{QStringLiteral("-j2")} + rgOptions, paths);
        const double rg = peerMilliseconds(QStringLiteral("rg"), rgOptions, paths);
        const double grep = peerMilliseconds(
            QStringLiteral("grep"),
            {QStringLiteral("-ri"), QStringLiteral("-F"), QStringLiteral("--"), query}, paths);
        std::printf(
            "%-28s %12s %12s %12s %12s %12s\n",
            qPrintable(
                QStringLiteral("\"%1\" (%2 / %3 hits)").arg(query).arg(panelHits).arg(allHits)),
            qPrintable(figure(panel)), qPrintable(figure(all)), qPrintable(figure(rg2)),
            qPrintable(figure(rg)), qPrintable(figure(grep)));
    }

    std::printf("\nquick open over %lld paths\n", qlonglong(files.size()));
    QuickOpenIndex index;
    const double build = medianMilliseconds([&] { index = QuickOpenIndex(files); }, 3);
    std::printf("  index (lower-cased paths, built once per panel): %s\n",
                qPrintable(figure(build)));
    const QString typed = QStringLiteral("area07topic12note");
    const auto perKeystroke = [&](auto rank) {
        return medianMilliseconds(
                   [&] {
                       for (qsizetype n = 1; n <= typed.size(); ++n)
                           rank(typed.left(n));
                   },
                   21) /
               double(typed.size());
    };
    const double cached = perKeystroke([&](const QString &query) { index.results(query, {}); });
    const double uncached =
        perKeystroke([&](const QString &query) { QuickOpenIndex(files).results(query, {}); });
    std::printf("  per keystroke, cached paths:      %.3f ms\n", cached);
    std::printf("  per keystroke, lower-cased anew:  %.3f ms\n", uncached);
    return 0;
}
