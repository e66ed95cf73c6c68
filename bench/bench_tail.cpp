// A live viewer beside a program that writes: the real lumo shows a generated 1 MB
// document scrolled to its bottom while this process appends a paragraph of about
// 200 bytes every 100 ms for 20 s. Prints the lag from each write to the page
// showing it (the frame after the paragraph entered the page), median and worst,
// how many writes were shown and whether the page stayed at the bottom, and the
// CPU time of lumo and its web processes over the run as a share of one core.
// Run: build/bench/bench_tail [SECONDS [BYTES]]   (prints figures; never fails on time)
#include "EventLoop.h"

#include <algorithm>
#include <cstdio>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QHash>
#include <QProcess>
#include <QTemporaryDir>
#include <unistd.h>
#include <vector>

namespace {

const QString program = QStringLiteral(LUMO_BINARY);
const QString webSource = QStringLiteral(LUMO_WEB_SOURCE);

// utime + stime of a process and everything it started, in clock ticks; of the
// process alone in own.
qint64 treeTicks(qint64 root, qint64 *own = nullptr)
{
    QHash<qint64, qint64> parent;
    QHash<qint64, qint64> ticks;
    for (const QString &entry : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
        bool ok = false;
        const qint64 pid = entry.toLongLong(&ok);
        if (!ok)
            continue;
        QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
        if (!stat.open(QIODevice::ReadOnly))
            continue;
        const QByteArray line = stat.readAll();
        // Fields after the command name, which may hold spaces: state ppid ... utime stime.
        const QList<QByteArray> fields = line.mid(line.lastIndexOf(')') + 2).split(' ');
        if (fields.size() < 13)
            continue;
        parent.insert(pid, fields.at(1).toLongLong());
        ticks.insert(pid, fields.at(11).toLongLong() + fields.at(12).toLongLong());
    }
    if (own)
        *own = ticks.value(root);
    qint64 total = 0;
    for (auto it = ticks.cbegin(); it != ticks.cend(); ++it) {
        for (qint64 pid = it.key(); pid > 1; pid = parent.value(pid, 0)) {
            if (pid == root) {
                total += it.value();
                break;
            }
        }
    }
    return total;
}

double percentile(std::vector<double> values, double share)
{
    if (values.empty())
        return -1;
    std::sort(values.begin(), values.end());
    return values[std::min(values.size() - 1, static_cast<size_t>(share * values.size()))];
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const int seconds = argc > 1 ? std::max(1, QString::fromLocal8Bit(argv[1]).toInt()) : 20;
    const int bytes = argc > 2 ? std::max(1000, QString::fromLocal8Bit(argv[2]).toInt()) : 1000000;

    QTemporaryDir home;
    QDir(home.path()).mkpath(QStringLiteral("config/Lumo"));
    QDir(home.path()).mkpath(QStringLiteral("run"));
    QFile::setPermissions(home.filePath(QStringLiteral("run")),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    QFile conf(home.filePath(QStringLiteral("config/Lumo/Lumo.conf")));
    if (!conf.open(QIODevice::WriteOnly))
        return 1;
    conf.write("[General]\nlaunchedBefore=true\ndebugHooks=true\n");
    conf.close();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home.filePath(QStringLiteral("config")));
    environment.insert(QStringLiteral("XDG_DATA_HOME"), home.filePath(QStringLiteral("data")));
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), home.filePath(QStringLiteral("run")));
    if (environment.value(QStringLiteral("QT_QPA_PLATFORM")).isEmpty())
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    environment.remove(QStringLiteral("LUMO_DATA_DIR"));

    const QString document = home.filePath(QStringLiteral("log.md"));
    QProcess generate;
    generate.start(QStringLiteral("node"), {webSource + QStringLiteral("/bench/generate.mjs"),
                                            document, QString::number(bytes)});
    if (!generate.waitForFinished(60000) || generate.exitCode() != 0)
        return 1;
    // Without footnotes, whose section would stay below everything appended.
    QFile generated(document);
    if (!generated.open(QIODevice::ReadWrite))
        return 1;
    QByteArray text;
    for (const QByteArray &line : generated.readAll().split('\n'))
        if (!line.startsWith("[^"))
            text += line + '\n';
    generated.resize(0);
    generated.write(text);
    generated.close();

    QElapsedTimer clock;
    clock.start();
    QHash<int, double> shown; // write number -> ms when the page showed it
    bool ready = false;
    QByteArray bottom;
    QByteArray output;
    QProcess lumo;
    lumo.setProcessEnvironment(environment);
    QObject::connect(&lumo, &QProcess::readyReadStandardOutput, [&] {
        output += lumo.readAllStandardOutput();
        for (qsizetype end; (end = output.indexOf('\n')) >= 0; output.remove(0, end + 1)) {
            const QByteArray line = output.left(end);
            if (qEnvironmentVariableIsSet("LUMO_BENCH_VERBOSE"))
                std::fprintf(stderr, "%s\n", line.constData());
            if (line.contains("lumo-ready"))
                ready = true;
            if (const qsizetype at = line.indexOf("lumo-bottom:"); at >= 0)
                bottom = line.mid(at + 12, 4);
            const qsizetype mark = line.indexOf("lumo-tail:");
            if (mark < 0)
                continue;
            for (const QByteArray &n : line.mid(mark + 10).split(' ').first().split(','))
                if (!shown.contains(n.toInt()))
                    shown.insert(n.toInt(), clock.nsecsElapsed() / 1e6);
        }
    });
    lumo.start(program, {document});
    const auto post = [&](const QString &script) {
        QProcess hook;
        hook.setProcessEnvironment(environment);
        hook.start(program, {QStringLiteral("--post"), QStringLiteral("lumoapp.debug.js"), script});
        hook.waitForFinished(30000);
    };
    const QString socket = home.filePath(QStringLiteral("run/lumo-%1.socket").arg(::getuid()));
    if (!runUntil([&] { return QFile::exists(socket); }, 30000)) {
        std::fputs("lumo did not start\n", stderr);
        return 1;
    }
    // Once the whole document is on the page (its blocks stop growing in number), go
    // to its bottom and report each appended paragraph a frame after it arrives.
    // The page may not have loaded yet: ask again until it answers, once.
    const QString setup = QStringLiteral(
        "window.lumoTail || (window.lumoTail = 1, (() => { const main = "
        "document.querySelector('main.markdown'); let count = -1; "
        "const wait = () => { if (main.childElementCount < 2 || main.childElementCount !== "
        "count) { count = main.childElementCount; return setTimeout(wait, 500); } "
        "const bottom = (n) => { scrollTo(0, document.documentElement.scrollHeight); if (n > 0) "
        "requestAnimationFrame(() => bottom(n - 1)); }; bottom(30); new MutationObserver((records) "
        "=> { "
        "const marks = []; for (const r of records) for (const n of r.addedNodes) for (const x of "
        "(n.textContent || '').matchAll(/Tail mark (\\d+)\\./g)) marks.push(x[1]); if "
        "(marks.length) requestAnimationFrame(() => console.error('lumo-tail:' + "
        "marks.join(','))); }).observe(main, {childList: true, subtree: true}); "
        "console.error('lumo-ready'); }; wait(); })())");
    QElapsedTimer waited;
    waited.start();
    while (!ready && waited.elapsed() < 180000) {
        post(setup);
        runUntil([&] { return ready; }, 3000);
    }
    if (!ready) {
        std::fputs("the document did not render\n", stderr);
        return 1;
    }
    runUntil([] { return false; }, 1500); // let the page settle

    // The page colours code and sets math in idle time after a first render: wait
    // for that to end (a second with little work), then measure a quiet while.
    const auto share = [&](int milliseconds) {
        const qint64 before = treeTicks(lumo.processId());
        QElapsedTimer window;
        window.start();
        runUntil([] { return false; }, milliseconds);
        return 100.0 * (treeTicks(lumo.processId()) - before) / ::sysconf(_SC_CLK_TCK) * 1000.0 /
               window.elapsed();
    };
    QElapsedTimer settling;
    settling.start();
    while (share(1000) > 10 && settling.elapsed() < 120000) {
    }
    const double idleShare = share(3000);

    QFile log(document);
    if (!log.open(QIODevice::Append))
        return 1;
    std::vector<double> written;
    qint64 ownBefore = 0;
    const qint64 ticksBefore = treeTicks(lumo.processId(), &ownBefore);
    const double startedAt = clock.nsecsElapsed() / 1e6;
    const int writes = seconds * 10;
    for (int n = 1; n <= writes; ++n) {
        QByteArray paragraph = "Tail mark " + QByteArray::number(n) + ". ";
        while (paragraph.size() < 198)
            paragraph += "Streaming output keeps coming. ";
        paragraph.truncate(198);
        paragraph += "\n\n";
        written.push_back(clock.nsecsElapsed() / 1e6);
        log.write(paragraph);
        log.flush();
        const double next = startedAt + n * 100.0;
        runUntil([&] { return clock.nsecsElapsed() / 1e6 >= next; }, 1000);
    }
    runUntil([&] { return shown.contains(writes); }, 5000);
    const double wall = clock.nsecsElapsed() / 1e6 - startedAt;
    qint64 own = 0;
    const qint64 ticks = treeTicks(lumo.processId(), &own) - ticksBefore;
    own -= ownBefore;

    std::vector<double> lags;
    for (int n = 1; n <= writes; ++n)
        if (shown.contains(n))
            lags.push_back(shown.value(n) - written[n - 1]);
    post(QStringLiteral("console.error('lumo-bottom:' + (Math.abs(scrollY + innerHeight - "
                        "document.documentElement.scrollHeight) <= 2))"));
    runUntil([&] { return !bottom.isEmpty(); }, 5000);
    const bool atBottom = bottom.startsWith("true");

    std::printf("appends of ~200 bytes every 100 ms to a %d KB document, %d s\n", bytes / 1000,
                seconds);
    std::printf("%-34s %d of %d\n", "writes shown", static_cast<int>(lags.size()), writes);
    std::printf("%-34s %.0f ms\n", "lag, median", percentile(lags, 0.5));
    std::printf("%-34s %.0f ms\n", "lag, 90th percentile", percentile(lags, 0.9));
    std::printf("%-34s %.0f ms\n", "lag, worst", percentile(lags, 1.0));
    std::printf("%-34s %.1f %% of one core\n", "CPU, lumo and its web processes",
                100.0 * ticks / ::sysconf(_SC_CLK_TCK) * 1000.0 / wall);
    std::printf("%-34s %.1f %% of one core\n", "  of which lumo itself",
                100.0 * own / ::sysconf(_SC_CLK_TCK) * 1000.0 / wall);
    std::printf("%-34s %.1f %% of one core\n", "CPU before the writes, idle", idleShare);
    std::printf("%-34s %s\n", "page at the bottom after", atBottom ? "yes" : "no");
    lumo.kill();
    lumo.waitForFinished(5000);
    return 0;
}
