// Start-up and memory of the real application code: each run is a fresh process that
// opens documents the way "lumo FILE" does and reports the time from process start to
// the first "rendered" message, then the proportional set size of itself and its web
// engine processes with 1 and with 5 tabs open.
// Run: build/bench/bench_startup   (prints figures; never fails on time)
#include "app/Application.h"
#include "base/Preferences.h"
#include "document/DocumentController.h"
#include "document/WebEngineSetup.h"
#include "EventLoop.h"

#include <algorithm>
#include <cstdio>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QProcess>
#include <QTemporaryDir>
#include <unistd.h>

using namespace Lumo::App;
using namespace Lumo::Document;

namespace {

// Milliseconds since this process started, from the kernel's own record.
double sinceProcessStart()
{
    QFile stat(QStringLiteral("/proc/self/stat"));
    QFile uptime(QStringLiteral("/proc/uptime"));
    if (!stat.open(QIODevice::ReadOnly) || !uptime.open(QIODevice::ReadOnly))
        return -1;
    const QByteArray line = stat.readAll();
    const QList<QByteArray> fields = line.mid(line.lastIndexOf(')') + 2).split(' ');
    const double startTicks = fields.value(19).toDouble(); // field 22 of the whole line
    const double now = uptime.readAll().split(' ').value(0).toDouble();
    return (now - startTicks / double(::sysconf(_SC_CLK_TCK))) * 1000.0;
}

double pssMegabytes(qint64 pid)
{
    QFile rollup(QStringLiteral("/proc/%1/smaps_rollup").arg(pid));
    if (!rollup.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray &line : rollup.readAll().split('\n')) {
        if (line.startsWith("Pss:"))
            return line.mid(4).trimmed().split(' ').value(0).toDouble() / 1024.0;
    }
    return 0;
}

// This process and every process descending from it (the web engine's helpers).
double familyPss()
{
    QMultiHash<qint64, qint64> children;
    for (const QString &entry : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
        bool isPid = false;
        const qint64 pid = entry.toLongLong(&isPid);
        QFile stat(QStringLiteral("/proc/%1/stat").arg(entry));
        if (!isPid || !stat.open(QIODevice::ReadOnly))
            continue;
        const QByteArray line = stat.readAll();
        children.insert(line.mid(line.lastIndexOf(')') + 2).split(' ').value(1).toLongLong(), pid);
    }
    double total = 0;
    QList<qint64> pending{::getpid()};
    while (!pending.isEmpty()) {
        const qint64 pid = pending.takeLast();
        total += pssMegabytes(pid);
        pending += children.values(pid);
    }
    return total;
}

// One fresh process: open the files, wait for every first render, report.
int child(const QStringList &files)
{
    Application lumo;
    int rendered = 0;
    double firstRender = -1;
    QJsonArray paths;
    for (const QString &file : files)
        paths.append(file);
    lumo.handleRequest(
        {{QStringLiteral("kind"), QStringLiteral("open")}, {QStringLiteral("paths"), paths}});
    // No polling timers here: they would compete with the web engine's own scheduling.
    for (DocumentController *controller : DocumentController::registry()) {
        QObject::connect(controller, &DocumentController::renderCompleted, [&] {
            if (firstRender < 0)
                firstRender = sinceProcessStart();
            ++rendered;
        });
    }
    if (!runUntil([&] { return rendered >= files.size(); }, 120000))
        return 1;
    runUntil([] { return false; }, 1500); // let the renderers settle before measuring memory
    std::printf("%.1f %.1f\n", firstRender, familyPss());
    std::fflush(stdout);
    return 0;
}

QList<double> runChild(const QStringList &files)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::SeparateChannels);
    process.start(QCoreApplication::applicationFilePath(),
                  QStringList{QStringLiteral("--child")} + files);
    process.waitForFinished(300000);
    // The last line: the page may print its own messages before it.
    const QList<QByteArray> figures =
        process.readAllStandardOutput().trimmed().split('\n').constLast().split(' ');
    return {figures.value(0).toDouble(), figures.value(1).toDouble()};
}

double median(QList<double> values)
{
    std::sort(values.begin(), values.end());
    return values.isEmpty() ? -1 : values.at(values.size() / 2);
}

} // namespace

int main(int argc, char *argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const bool isChild = argc > 1 && qstrcmp(argv[1], "--child") == 0;
    static QTemporaryDir home;
    if (!isChild) {
        qputenv("XDG_CONFIG_HOME", home.filePath(QStringLiteral("config")).toUtf8());
        qputenv("XDG_DATA_HOME", home.filePath(QStringLiteral("data")).toUtf8());
    }
    WebEngineSetup::prepare();
    QApplication app(argc, argv);
    if (isChild)
        return child(QApplication::arguments().mid(2));

    const QString welcome = QStringLiteral(LUMO_DATA_DIR "/Welcome.md");
    const QString large = home.filePath(QStringLiteral("large.md"));
    QProcess::execute(
        QStringLiteral("node"),
        {QStringLiteral(LUMO_WEB_SOURCE "/bench/generate.mjs"), large, QStringLiteral("1000000")});
    QStringList five;
    for (int i = 0; i < 5; ++i) {
        const QString copy = home.filePath(QStringLiteral("tab%1.md").arg(i));
        QFile::copy(welcome, copy);
        five.append(copy);
    }

    std::printf("%-32s %18s %12s\n", "case (median of 5 runs)", "start to render ms", "PSS MB");
    const auto report = [](const char *name, const QStringList &files) {
        QList<double> times, memory;
        runChild(files); // the first run warms the disk cache
        for (int run = 0; run < 5; ++run) {
            const QList<double> figures = runChild(files);
            times.append(figures.at(0));
            memory.append(figures.at(1));
        }
        std::printf("%-32s %18.0f %12.0f\n", name, median(times), median(memory));
        return median(memory);
    };
    const double one = report("welcome document, 1 tab", {welcome});
    report("1 MB document, 1 tab", {large});
    const double many = report("welcome document, 5 tabs", five);
    std::printf("each extra tab: %.0f MB\n", (many - one) / 4);
    return 0;
}
