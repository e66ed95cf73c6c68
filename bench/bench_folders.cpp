// Folder scanning on a generated tree: 5000 Markdown files in nested folders, 20000
// files in node_modules and .git, beside `find` with the same prunes, `fd` (fd-find,
// skipped when absent) and a bare readdir-and-stat walk (the floor). Then the time from
// a file saved in the tree to its folder tree publishing it.
// Run: build/bench/bench_folders [runs]
#include "base/MarkdownNames.h"
#include "base/Preferences.h"
#include "EventLoop.h"
#include "search/DirectoryReader.h"
#include "search/ProjectFiles.h"
#include "workspace/FolderScanner.h"
#include "workspace/FolderTree.h"

#include <algorithm>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <functional>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <sys/stat.h>
#include <unistd.h>

using namespace Lumo::Base;
using namespace Lumo::Search;
using namespace Lumo::Workspace;

using namespace Qt::StringLiterals;

namespace {

void writeFile(const QString &path)
{
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.write("# Note\n\nSome text.\n");
}

// 50 topics x 10 sections x 10 notes, beside a package tree and a repository store.
void generate(const QString &root)
{
    for (int topic = 0; topic < 50; ++topic) {
        for (int section = 0; section < 10; ++section) {
            const QString folder = u"%1/topic %2/section-%3"_s.arg(root).arg(topic).arg(section);
            QDir().mkpath(folder);
            for (int note = 0; note < 10; ++note)
                writeFile(u"%1/note %2.md"_s.arg(folder).arg(note));
            writeFile(folder + u"/figure.png"_s);
        }
    }
    for (int package = 0; package < 500; ++package) {
        const QString folder = u"%1/node_modules/pkg%2/lib"_s.arg(root).arg(package);
        QDir().mkpath(folder);
        for (int file = 0; file < 20; ++file)
            writeFile(u"%1/%2.%3"_s.arg(folder).arg(file).arg(file % 4 ? u"js"_s : u"md"_s));
    }
    for (int bucket = 0; bucket < 100; ++bucket) {
        const QString folder = u"%1/.git/objects/%2"_s.arg(root).arg(bucket, 2, 16, QChar(u'0'));
        QDir().mkpath(folder);
        for (int object = 0; object < 100; ++object)
            writeFile(u"%1/%2"_s.arg(folder).arg(object, 38, 16, QChar(u'0')));
    }
}

// The least a walk can do: read every kept folder and stat every Markdown file.
int bareWalk(int parent, const char *name)
{
    const int fd = ::openat(parent, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW);
    if (fd < 0)
        return 0;
    DIR *dir = ::fdopendir(::dup(fd));
    int found = 0;
    while (const dirent *entry = dir ? ::readdir(dir) : nullptr) {
        const std::string_view entryName(entry->d_name);
        if (entryName == "." || entryName == "..")
            continue;
        if (entry->d_type == DT_DIR) {
            if (!MarkdownNames::isSkippedFolder(entryName))
                found += bareWalk(fd, entry->d_name);
        } else if (MarkdownNames::hasMarkdownExtension(entryName)) {
            struct stat info
            {
            };
            found += ::fstatat(fd, entry->d_name, &info, 0) == 0;
        }
    }
    if (dir)
        ::closedir(dir);
    ::close(fd);
    return found;
}

struct Figure
{
    double best = 1e9;
    double median = 0;
    int found = 0;
};

Figure measure(int runs, const std::function<int()> &work)
{
    work(); // warm the caches
    std::vector<double> times;
    Figure figure;
    for (int i = 0; i < runs; ++i) {
        QElapsedTimer timer;
        timer.start();
        figure.found = work();
        times.push_back(double(timer.nsecsElapsed()) / 1e6);
    }
    std::sort(times.begin(), times.end());
    figure.best = times.front();
    figure.median = times[times.size() / 2];
    return figure;
}

int runTool(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished(-1);
    return int(process.readAllStandardOutput().count('\n'));
}

QStringList findArguments(const QString &root)
{
    QStringList arguments{root, u"("_s};
    const QStringList skipped(MarkdownNames::skippedFolders().begin(),
                              MarkdownNames::skippedFolders().end());
    for (const QString &name : skipped)
        arguments << u"-name"_s << name << u"-o"_s;
    arguments.removeLast();
    arguments << u")"_s << u"-prune"_s << u"-o"_s << u"-type"_s << u"f"_s << u"("_s;
    const QStringList extensions(MarkdownNames::extensions().begin(),
                                 MarkdownNames::extensions().end());
    for (const QString &extension : extensions)
        arguments << u"-iname"_s << u"*."_s + extension << u"-o"_s;
    arguments.removeLast();
    // The date, as the scans read it.
    arguments << u")"_s << u"-printf"_s << u"%T@ %p\\n"_s;
    return arguments;
}

QStringList fdArguments(const QString &root)
{
    QStringList arguments{u"--no-ignore"_s, u"--hidden"_s, u"--type"_s, u"f"_s};
    for (const QString &name : MarkdownNames::skippedFolders())
        arguments << u"--exclude"_s << name;
    for (const QString &extension : MarkdownNames::extensions())
        arguments << u"-e"_s << extension;
    arguments << u"."_s << root;
    return arguments;
}

void report(const char *name, const Figure &figure, double floor)
{
    std::printf("%-34s %8.2f ms best %8.2f ms median %6d files  %5.2fx floor\n", name, figure.best,
                figure.median, figure.found, figure.best / floor);
}

// From a new file written in the tree to the tree publishing it, in milliseconds.
double saveToPublish(const std::shared_ptr<FolderTree> &tree, const QString &path)
{
    const int before = tree->fileCount();
    QElapsedTimer timer;
    timer.start();
    writeFile(path);
    runUntil([&] { return tree->fileCount() > before; }, 10000);
    return double(timer.nsecsElapsed()) / 1e6;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const int runs = argc > 1 ? std::max(1, atoi(argv[1])) : 9;
    QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(home.filePath(u"config"_s)));
    QTemporaryDir dir;
    const QString root = dir.filePath(u"tree"_s);
    generate(root);
    std::printf("Tree: 5000 Markdown files in 500 folders, 500 images, 10000 files in "
                "node_modules, 10000 in .git; %d runs each, warm cache\n\n",
                runs);

    const QByteArray rootBytes = QFile::encodeName(root);
    const Figure floor = measure(runs, [&] { return bareWalk(AT_FDCWD, rootBytes.constData()); });
    report("bare readdir + stat walk (floor)", floor, floor.best);
    report("FolderScanner::scan",
           measure(runs, [&] { return FolderScanner::scan(root).fileCount; }), floor.best);
    report("ProjectFiles::scan",
           measure(runs, [&] { return int(ProjectFiles::scan(root).size()); }), floor.best);
    report("find, same prunes, with dates",
           measure(runs, [&] { return runTool(u"find"_s, findArguments(root)); }), floor.best);
    const QString fd = QStandardPaths::findExecutable(u"fdfind"_s).isEmpty()
                           ? QStandardPaths::findExecutable(u"fd"_s)
                           : QStandardPaths::findExecutable(u"fdfind"_s);
    if (fd.isEmpty())
        std::printf("fd: not installed (apt-get install fd-find), skipped\n");
    else
        report("fd, same prunes", measure(runs, [&] { return runTool(fd, fdArguments(root)); }),
               floor.best);

    const std::shared_ptr<FolderTree> tree = FolderTree::shared(root);
    runUntil([&] { return tree->loaded() && tree->watcher().watchCount() >= 551; }, 30000);
    std::vector<double> latencies;
    for (int i = 0; i < 5; ++i) {
        latencies.push_back(
            saveToPublish(tree, u"%1/topic %2/section-3/saved %2.md"_s.arg(root).arg(i)));
    }
    std::sort(latencies.begin(), latencies.end());
    std::printf("\nFile saved -> FolderTree publishes it: %.0f ms best, %.0f ms median "
                "(of which %d ms is the watcher's batching)\n",
                latencies.front(), latencies[latencies.size() / 2],
                FolderWatcher::latencyMilliseconds);
    return 0;
}
