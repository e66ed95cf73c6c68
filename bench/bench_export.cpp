// Headless export, end to end: "lumo --export" on the welcome document and on a
// generated 1 MB document, to HTML and to PDF (light and dark), each the median of
// three runs of the real program; then the cost of painting a dark background under
// each page of the 1 MB document's PDF with qpdf, and of adding its bookmarks.
// Run: build/bench/bench_export   (prints figures; never fails on time)
#include "document/PDFBackground.h"
#include "document/PDFOutline.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <qpdf/QPDF.hh>
#include <QProcess>
#include <QTemporaryDir>

using namespace Lumo::Document;

namespace {

const QString program = QStringLiteral(LUMO_BINARY);

int sections = 0;

// About 1 MB of everyday Markdown: sections of prose, lists, code and tables.
QByteArray largeDocument()
{
    QByteArray text;
    for (int &section = sections; text.size() < 1024 * 1024; ++section) {
        text += "## Section " + QByteArray::number(section) + "\n\n";
        for (int p = 0; p < 3; ++p)
            text += "Reading *well-set* text is a pleasure; **bold** claims need `code` and "
                    "[links](https://example.com/" +
                    QByteArray::number(section) +
                    ") to back them up. Another sentence follows to make a paragraph.\n\n";
        text += "- first point\n- second point with `code`\n- [ ] a task\n\n";
        text += "```cpp\nint square(int x)\n{\n    return x * x;\n}\n```\n\n";
        text += "| name | value |\n|---|--:|\n| alpha | 1 |\n| beta | 22 |\n\n";
    }
    return text;
}

// Milliseconds for one run of the program, or -1 when it failed.
double timeRun(const QStringList &arguments, const QProcessEnvironment &environment)
{
    QProcess process;
    process.setProcessEnvironment(environment);
    QElapsedTimer clock;
    clock.start();
    process.start(program, arguments);
    if (!process.waitForFinished(600000) || process.exitCode() != 0) {
        std::fprintf(stderr, "failed: %s\n", process.readAllStandardError().constData());
        return -1;
    }
    return static_cast<double>(clock.nsecsElapsed()) / 1e6;
}

double median(QList<double> values)
{
    std::sort(values.begin(), values.end());
    return values.at(values.size() / 2);
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QTemporaryDir home;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home.filePath(QStringLiteral("config")));
    environment.insert(QStringLiteral("XDG_DATA_HOME"), home.filePath(QStringLiteral("data")));
    environment.remove(QStringLiteral("LUMO_DATA_DIR"));

    const QString large = home.filePath(QStringLiteral("large.md"));
    QFile file(large);
    if (!file.open(QIODevice::WriteOnly) || file.write(largeDocument()) < 0)
        return 1;
    file.close();
    const QList<std::pair<const char *, QString>> documents{
        {"welcome", QStringLiteral(LUMO_DATA_DIR "/Welcome.md")}, {"1 MB", large}};
    const QList<std::pair<const char *, QStringList>> formats{
        {"html", {QStringLiteral("html")}},
        {"pdf light", {QStringLiteral("pdf")}},
        {"pdf dark", {QStringLiteral("pdf"), QStringLiteral("--dark")}}};

    std::printf("lumo --export, median of 3 runs (start-up included)\n");
    const QString darkLarge = home.filePath(QStringLiteral("large-dark.pdf"));
    for (const auto &[name, input] : documents) {
        for (const auto &[format, options] : formats) {
            const QString output = std::strcmp(format, "pdf dark") == 0 && input == large
                                       ? darkLarge
                                       : home.filePath(QStringLiteral("out"));
            QList<double> runs;
            for (int i = 0; i < 3; ++i)
                runs.append(timeRun(QStringList{QStringLiteral("--export")} + options +
                                        QStringList{input, output},
                                    environment));
            std::printf("  %-8s %-10s %8.0f ms\n", name, format, median(runs));
        }
    }

    QFile dark(darkLarge);
    if (!dark.open(QIODevice::ReadOnly))
        return 1;
    const QByteArray pdf = dark.readAll();
    QPDF parsed;
    parsed.processMemoryFile("bench.pdf", pdf.constData(), static_cast<size_t>(pdf.size()));
    const auto pages = static_cast<double>(parsed.getAllPages().size());
    constexpr int rounds = 5;
    QElapsedTimer clock;
    clock.start();
    for (int i = 0; i < rounds; ++i)
        (void)PDFBackground::fill(pdf, QColor(0x17, 0x1b, 0x20), nullptr);
    const double perPage = static_cast<double>(clock.nsecsElapsed()) / 1e6 / rounds / pages;
    std::printf("qpdf repaint of the 1 MB document's PDF: %.0f pages, %.3f ms per page "
                "(%.0f ms per document)\n",
                pages, perPage, perPage * pages);

    // The bookmarks: one per section heading, all of which have destinations.
    QList<OutlineItem> headings;
    for (int section = 0; section < sections; ++section)
        headings.append({2, QStringLiteral("Section %1").arg(section),
                         QStringLiteral("section-%1").arg(section)});
    clock.restart();
    for (int i = 0; i < rounds; ++i)
        (void)PDFOutline::add(pdf, headings, nullptr);
    std::printf("bookmarks for its %lld headings: %.0f ms per document\n",
                static_cast<long long>(headings.size()),
                static_cast<double>(clock.nsecsElapsed()) / 1e6 / rounds);
    return 0;
}
