// The reading page in a real (offscreen) web view, for generated 1 MB and 10 MB
// documents, each replaced by an empty one, a one-character edit of the 1 MB one and
// a line added to and removed from the 10 MB one (medians of both), beside plain
// markdown-it on the same text in node. Three times from the mv.render call:
//   first screen  the first blocks are on the page and its script is free again;
//   rendered      the "rendered" message: the whole document is on the page;
//   laid out      the whole document is also laid out (a layout forced right after):
//                 the final scrollbar, the outline, End and find work on the whole text;
//   longest task  the longest task of the page's main thread from the mv.render call
//                 until then (a 'longtask' observer in the page; the forced layout of
//                 the measurement itself left out), which stalls scrolling and input.
// Run: build/bench/bench_page [RUNS [FILE...]]   (medians of RUNS runs, 3 by default;
// prints figures, never fails on time). Given files, times those instead.
#include "BenchPage.h"
#include "document/PageScript.h"
#include "document/PreviewPage.h"

#include <algorithm>
#include <cstdio>
#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>
#include <QWebEngineView>
#include <vector>

using namespace Lumo::Document;

namespace {

const QString webSource = QStringLiteral(LUMO_WEB_SOURCE);

QString node(const QStringList &arguments)
{
    QProcess process;
    process.start(QStringLiteral("node"), arguments);
    process.waitForFinished(600000);
    return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
}

struct Timing
{
    double rendered = -1;   // ms to the "rendered" message
    double laidOut = -1;    // ms until a layout forced after it is done
    double firstBlock = -1; // ms until the first block is in the page
    double longest = -1;    // ms of the longest task of the page
};

// Collects the page's long tasks from now on, for longestTask().
const char *watchTasks =
    "window.lumoTasks = []; window.lumoForced = Infinity; window.lumoTaskObserver || "
    "(window.lumoTaskObserver = new PerformanceObserver((list) => "
    "window.lumoTasks.push(...list.getEntries())), "
    "window.lumoTaskObserver.observe({entryTypes: ['longtask']}))";
// The longest task since watchTasks (0 when none took over 50 ms), leaving out the
// one that forced the layout for the measurement.
const char *longestTask =
    "Math.max(0, ...window.lumoTasks.filter((t) => !(t.startTime <= window.lumoForced && "
    "window.lumoForced <= t.startTime + t.duration)).map((t) => t.duration))";

Timing timeRender(PreviewPage *page, const QString &text, qint64 revision)
{
    Timing timing;
    QElapsedTimer clock;
    bool done = false;
    auto connection =
        QObject::connect(page, &PreviewPage::messageReceived, [&](const QJsonObject &message) {
            if (message.value(QLatin1String("type")) == QLatin1String("rendered") &&
                message.value(QLatin1String("rev")).toInteger() == revision)
                done = true;
        });
    bool watching = false;
    page->runJavaScript(QString::fromLatin1(watchTasks),
                        [&](const QVariant &) { watching = true; });
    runUntil([&] { return watching; }, 10000);
    clock.start();
    page->call(PageScript::render(text, std::nullopt, false, revision));
    // The first screen: poll for the first rendered block while the render runs.
    QTimer poll;
    poll.setInterval(5);
    QObject::connect(&poll, &QTimer::timeout, [&] {
        if (timing.firstBlock >= 0)
            return;
        // Answered only when the page's script is free again, which is when a reader
        // could see and scroll the first blocks.
        page->runJavaScript(QStringLiteral("!!document.querySelector('main.markdown > *')"),
                            [&timing, &clock](const QVariant &value) {
                                if (value.toBool() && timing.firstBlock < 0)
                                    timing.firstBlock = clock.nsecsElapsed() / 1e6;
                            });
    });
    poll.start();
    runUntil([&] { return done; }, 600000);
    timing.rendered = clock.nsecsElapsed() / 1e6;
    page->runJavaScript(
        QStringLiteral("window.lumoForced = performance.now(), "
                       "document.querySelector('main.markdown').getBoundingClientRect().height"),
        [&timing, &clock](const QVariant &) { timing.laidOut = clock.nsecsElapsed() / 1e6; });
    runUntil([&] { return timing.laidOut >= 0; }, 600000);
    runUntil([&] { return timing.firstBlock >= 0; }, 5000);
    // Long tasks are reported a moment after they end.
    runUntil([] { return false; }, 300);
    page->runJavaScript(QString::fromLatin1(longestTask),
                        [&timing](const QVariant &value) { timing.longest = value.toDouble(); });
    runUntil([&] { return timing.longest >= 0; }, 10000);
    QObject::disconnect(connection);
    return timing;
}

// Each figure on its own: the run with the median first screen need not be the one
// with the median total.
Timing median(std::vector<Timing> timings)
{
    const auto middle = [&](double Timing::*field) {
        std::vector<double> values;
        for (const Timing &timing : timings)
            values.push_back(timing.*field);
        std::sort(values.begin(), values.end());
        return values[values.size() / 2];
    };
    return {middle(&Timing::rendered), middle(&Timing::laidOut), middle(&Timing::firstBlock),
            middle(&Timing::longest)};
}

} // namespace

int main(int argc, char *argv[])
{
    BenchPage::prepare();
    QApplication app(argc, argv);
    // Medians of this many runs: the figures of a single run vary a lot on a busy machine.
    const int runs = argc > 1 ? std::max(1, QString::fromLocal8Bit(argv[1]).toInt()) : 3;

    QTemporaryDir dir;
    BenchPage bench;
    if (!bench.load())
        return 1;
    PreviewPage *page = bench.page();

    std::printf("%-26s %16s %12s %12s %16s %10s %16s\n", "document", "first screen ms",
                "rendered ms", "laid out ms", "markdown-it ms", "laid out/", "longest task ms");
    qint64 revision = 0;
    const QStringList files = QCoreApplication::arguments().mid(2);
    for (const QString &file : files) {
        QFile input(file);
        if (!input.open(QIODevice::ReadOnly))
            return 1;
        const QString text = QString::fromUtf8(input.readAll());
        std::vector<Timing> timings;
        for (int run = 0; run < runs; ++run) {
            timeRender(page, QString(), ++revision);
            timings.push_back(timeRender(page, text, ++revision));
        }
        const Timing timing = median(timings);
        const QString plain =
            node({webSource + QStringLiteral("/bench/plain.mjs"), file, QStringLiteral("3")});
        std::printf("%-26s %16.1f %12.1f %12.1f %16s %9.1fx %16.1f\n",
                    qPrintable(QFileInfo(file).fileName()), timing.firstBlock, timing.rendered,
                    timing.laidOut, qPrintable(plain), timing.laidOut / plain.toDouble(),
                    timing.longest);
    }
    for (const int megabytes : files.isEmpty() ? std::vector<int>{1, 10} : std::vector<int>{}) {
        const QString file = dir.filePath(QStringLiteral("doc%1.md").arg(megabytes));
        node({webSource + QStringLiteral("/bench/generate.mjs"), file,
              QString::number(megabytes * 1000 * 1000)});
        QFile input(file);
        if (!input.open(QIODevice::ReadOnly))
            return 1;
        const QString text = QString::fromUtf8(input.readAll());
        const QString plain =
            node({webSource + QStringLiteral("/bench/plain.mjs"), file, QStringLiteral("3")});

        std::vector<Timing> firsts;
        std::vector<Timing> replaced; // the document of the run before replaced by an empty one
        for (int run = 0; run <= runs; ++run) {
            const Timing empty = timeRender(page, QString(), ++revision);
            if (run > 0)
                replaced.push_back(empty);
            if (run < runs)
                firsts.push_back(timeRender(page, text, ++revision));
        }
        const Timing first = median(firsts);
        std::printf("%-26s %16.1f %12.1f %12.1f %16s %9.1fx %16.1f\n",
                    qPrintable(QStringLiteral("%1 MB, first render").arg(megabytes)),
                    first.firstBlock, first.rendered, first.laidOut, qPrintable(plain),
                    first.laidOut / plain.toDouble(), first.longest);
        const Timing replace = median(replaced);
        std::printf("%-26s %16s %12.1f %12.1f %16s %10s %16.1f\n",
                    qPrintable(QStringLiteral("%1 MB, replaced by empty").arg(megabytes)), "",
                    replace.rendered, replace.laidOut, "", "", replace.longest);
        if (megabytes != 1) {
            // A blank line added after the first paragraph, then removed: every block
            // below moves a line.
            const qsizetype at = text.indexOf(QLatin1String("\n\n"), 100) + 1;
            QString added = text;
            added.insert(at, QLatin1Char('\n'));
            timeRender(page, text, ++revision);
            std::vector<Timing> moves;
            for (int run = 0; run < runs; ++run) {
                moves.push_back(timeRender(page, added, ++revision));
                moves.push_back(timeRender(page, text, ++revision));
            }
            const Timing move = median(moves);
            std::printf("%-26s %16s %12.1f %12.1f %16s %10s %16.1f\n",
                        qPrintable(QStringLiteral("%1 MB, adding a line").arg(megabytes)), "",
                        move.rendered, move.laidOut, "", "", move.longest);
            continue;
        }
        QString edited = text;
        edited.insert(edited.size() / 2, QLatin1Char('x'));
        std::vector<Timing> edits;
        for (int run = 0; run < runs; ++run) {
            timeRender(page, text, ++revision);
            edits.push_back(timeRender(page, edited, ++revision));
        }
        const Timing edit = median(edits);
        std::printf("%-26s %16s %12.1f %12.1f %16s %10s %16.1f\n", "1 MB, one-character edit", "",
                    edit.rendered, edit.laidOut, "", "", edit.longest);
    }
    return 0;
}
