// Find in the reading page, in a real (offscreen) web view, for the generated 1 MB and
// 10 MB documents just rendered (as a reader would search right after opening them):
//   hit           ms from the mv.find call until its match is selected and the page
//                 scrolled to it (the page's selectionchange);
//   count         ms until the answer with the match count;
//   longest task  the longest task of the page's main thread meanwhile (a 'longtask'
//                 observer; 0 when none took over 50 ms);
//   in view       whether the match stands inside the window once the chunks around
//                 it have taken their real height;
//   renderer MB   the resident size of the page's process afterwards (and before any
//                 find, once the document is rendered).
// Three searches: a word with a match near the top, the next match, and a text found
// only in the footnotes at the very end. Beside them, the engine's own find
// (QWebEnginePage::findText) on the 1 MB document; at 10 MB it takes minutes and
// gigabytes, so it runs only with --engine-10mb.
// Run: build/bench/bench_find [RUNS] [--engine-10mb]   (medians of RUNS runs, 3 by
// default; prints figures, never fails on time).
#include "BenchPage.h"
#include "document/PageScript.h"
#include "document/PreviewPage.h"

#include <algorithm>
#include <cstdio>
#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QWebEngineFindTextResult>
#include <QWebEngineView>
#include <vector>

using namespace Lumo::Document;

namespace {

const QString webSource = QStringLiteral(LUMO_WEB_SOURCE);

QVariant evaluate(QWebEnginePage *page, const QString &script)
{
    QVariant result;
    bool done = false;
    page->runJavaScript(script, [&](const QVariant &value) {
        result = value;
        done = true;
    });
    runUntil([&] { return done; }, 600000);
    return result;
}

// Long tasks from now on; the longest so far, 0 when none took over 50 ms.
const char *watchTasks =
    "window.lumoTasks = []; window.lumoTaskObserver || (window.lumoTaskObserver = new "
    "PerformanceObserver((list) => window.lumoTasks.push(...list.getEntries())), "
    "window.lumoTaskObserver.observe({entryTypes: ['longtask']}))";
const char *longestTask = "Math.max(0, ...window.lumoTasks.map((t) => t.duration))";

void render(PreviewPage *page, const QString &text, qint64 revision)
{
    bool done = false;
    auto connection =
        QObject::connect(page, &PreviewPage::messageReceived, [&](const QJsonObject &message) {
            if (message.value(QLatin1String("type")) == QLatin1String("rendered") &&
                message.value(QLatin1String("rev")).toInteger() == revision)
                done = true;
        });
    page->call(PageScript::render(text, std::nullopt, false, revision));
    runUntil([&] { return done; }, 600000);
    QObject::disconnect(connection);
    // The reader at the top, nothing selected, and the page done with its own work
    // (highlighting and math in idle time): its long tasks are not find's.
    evaluate(page, QStringLiteral("getSelection().removeAllRanges(), scrollTo(0, 0)"));
    for (int second = 0; second < 60; ++second) {
        evaluate(page, QString::fromLatin1(watchTasks));
        runUntil([] { return false; }, 1000);
        if (evaluate(page, QString::fromLatin1(longestTask)).toDouble() == 0)
            break;
    }
}

double renderMegabytes(QWebEnginePage *page)
{
    QFile status(QStringLiteral("/proc/%1/status").arg(page->renderProcessPid()));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n'))
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').value(0).toDouble() / 1024;
    return -1;
}

struct Timing
{
    double hit = -1;
    double count = -1;
    double longest = -1;
    int matches = 0;
    bool inView = false;
};

Timing timePageFind(PreviewPage *page, const QString &query)
{
    evaluate(page, QString::fromLatin1(watchTasks) +
                       QStringLiteral("; window.lumoHit = -1; window.lumoCount = -1; "
                                      "window.lumoWatchesHits || (window.lumoWatchesHits = true, "
                                      "document.addEventListener('selectionchange', () => { if "
                                      "(window.lumoHit < 0) window.lumoHit = performance.now() - "
                                      "window.lumoStart; }))"));
    evaluate(page, QStringLiteral("window.lumoStart = performance.now(); mv.find(%1).then((r) => "
                                  "{ window.lumoFound = r; window.lumoCount = performance.now() - "
                                  "window.lumoStart; }), 0")
                       .arg(PageScript::json(query)));
    Timing timing;
    runUntil(
        [&] {
            timing.count = evaluate(page, QStringLiteral("window.lumoCount")).toDouble();
            return timing.count >= 0;
        },
        600000);
    // The match followed while the chunks around it settle; long tasks reported late.
    runUntil([] { return false; }, 1200);
    timing.hit = evaluate(page, QStringLiteral("window.lumoHit")).toDouble();
    timing.longest = evaluate(page, QString::fromLatin1(longestTask)).toDouble();
    timing.matches = evaluate(page, QStringLiteral("window.lumoFound.matches")).toInt();
    timing.inView =
        evaluate(page, QStringLiteral("(() => { const r = "
                                      "getSelection().getRangeAt(0).getBoundingClientRect();"
                                      " return r.top >= 0 && r.bottom <= innerHeight; })()"))
            .toBool();
    return timing;
}

Timing timeEngineFind(PreviewPage *page, const QString &query)
{
    evaluate(page, QString::fromLatin1(watchTasks));
    Timing timing;
    QElapsedTimer clock;
    clock.start();
    page->findText(query, {}, [&](const QWebEngineFindTextResult &result) {
        timing.count = clock.nsecsElapsed() / 1e6;
        timing.matches = result.numberOfMatches();
    });
    runUntil([&] { return timing.count >= 0; }, 600000);
    timing.hit = timing.count; // the engine answers once it has found them all
    runUntil([] { return false; }, 300);
    timing.longest = evaluate(page, QString::fromLatin1(longestTask)).toDouble();
    page->findText(QString());
    return timing;
}

double medianOf(std::vector<Timing> timings, double Timing::*field)
{
    std::vector<double> values;
    for (const Timing &timing : timings)
        values.push_back(timing.*field);
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void print(const QString &label, const std::vector<Timing> &timings, double megabytes)
{
    const bool allInView = std::all_of(timings.begin(), timings.end(),
                                       [](const Timing &timing) { return timing.inView; });
    std::printf("%-34s %10.1f %10.1f %16.1f %8d %8s %12.0f\n", qPrintable(label),
                medianOf(timings, &Timing::hit), medianOf(timings, &Timing::count),
                medianOf(timings, &Timing::longest), timings.front().matches,
                allInView ? "yes" : "no", megabytes);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char *argv[])
{
    BenchPage::prepare();
    QApplication app(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const int runs = argc > 1 ? std::max(1, arguments.at(1).toInt()) : 3;
    const bool engineAtTen = arguments.contains(QStringLiteral("--engine-10mb"));

    QTemporaryDir dir;
    BenchPage bench;
    if (!bench.load())
        return 1;
    PreviewPage *page = bench.page();

    std::printf("%-34s %10s %10s %16s %8s %8s %12s\n", "search", "hit ms", "count ms",
                "longest task ms", "matches", "in view", "renderer MB");
    qint64 revision = 0;
    for (const int megabytes : {1, 10}) {
        const QString file = dir.filePath(QStringLiteral("doc%1.md").arg(megabytes));
        QProcess generate;
        generate.start(QStringLiteral("node"), {webSource + QStringLiteral("/bench/generate.mjs"),
                                                file, QString::number(megabytes * 1000 * 1000)});
        generate.waitForFinished(600000);
        QFile input(file);
        if (!input.open(QIODevice::ReadOnly))
            return 1;
        const QString text = QString::fromUtf8(input.readAll());

        std::vector<Timing> near, next, far;
        double megabytesBefore = 0;
        double megabytesAfter = 0;
        for (int run = 0; run < runs; ++run) {
            render(page, QString(), ++revision);
            render(page, text, ++revision);
            megabytesBefore = std::max(megabytesBefore, renderMegabytes(page));
            near.push_back(timePageFind(page, QStringLiteral("alpha")));
            next.push_back(timePageFind(page, QStringLiteral("alpha")));
            far.push_back(timePageFind(page, QStringLiteral("Footnote 1.")));
            megabytesAfter = std::max(megabytesAfter, renderMegabytes(page));
        }
        const QString size = QStringLiteral("%1 MB").arg(megabytes);
        std::printf("%-34s %67.0f\n", qPrintable(size + QStringLiteral(", rendered, before find")),
                    megabytesBefore);
        print(size + QStringLiteral(", page: first match"), near, megabytesAfter);
        print(size + QStringLiteral(", page: next match"), next, megabytesAfter);
        print(size + QStringLiteral(", page: match at the end"), far, megabytesAfter);

        if (megabytes == 10 && !engineAtTen)
            continue;
        std::vector<Timing> engine;
        for (int run = 0; run < runs; ++run) {
            render(page, QString(), ++revision);
            render(page, text, ++revision);
            engine.push_back(timeEngineFind(page, QStringLiteral("alpha")));
            engine.back().inView = true; // the engine scrolls its own match into view
        }
        print(size + QStringLiteral(", engine findText"), engine, renderMegabytes(page));
    }
    return 0;
}
