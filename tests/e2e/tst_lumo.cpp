// End to end: the real lumo binary, offscreen, with a temporary home, driven through
// its command line and the diagnostic hooks exactly as a user's shell would.
#include "support/LumoDriver.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QProcess>
#include <QRegularExpression>
#include <QSettings>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

class TestLumo : public QObject, LumoDriver
{
    Q_OBJECT

public:
    TestLumo()
        : LumoDriver(offscreen())
    {}

private Q_SLOTS:
    void init();
    void cleanup();
    void exportsAStandalonePage();
    void laterLaunchesHandTheirFilesOver();
    void hooksOpenFiles();
    void hooksNeedTheirPreference();
    void opensFolders();
    void headlessExport_data();
    void headlessExport();
    void exportHooks();
    void headlessExportOfAHostileFolder();
    void launcherScriptReachesTheRunningLumo();
    void conventionsNeedNoDisplay_data();
    void conventionsNeedNoDisplay();
    void opensAtALineOrHeading();
    void tailHoldsAtTheBottomOfAGrowingFile();
    void followChangesShowsWhatChangedOffScreen();
    void aRewrittenFileKeepsTheReadersPlace();

private:
    static QProcessEnvironment offscreen()
    {
        QProcessEnvironment env;
        env.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
        return env;
    }
    void start(const QStringList &arguments, bool debugHooks = true,
               const QByteArray &settings = {})
    {
        startLumo(arguments,
                  "debugHooks=" + QByteArray(debugHooks ? "true" : "false") + "\n" + settings);
    }
    // Writes bytes to the end of a file, as another program would.
    static void append(const QString &path, const QByteArray &bytes);
};

void TestLumo::init()
{
    fresh();
}

void TestLumo::cleanup()
{
    stop();
}

void TestLumo::exportsAStandalonePage()
{
    QImage image(4, 4, QImage::Format_RGB32);
    image.fill(Qt::blue);
    QVERIFY(QDir().mkpath(m_home->filePath(u"docs"_s)));
    QVERIFY(image.save(m_home->filePath(u"docs/dot.png"_s)));
    const QString doc =
        fixture(u"docs/R&D <notes>.md"_s,
                "# Results\n\n| a | b |\n|---|--:|\n| 1 | 2 |\n\n$$e^{i\\pi}+1=0$$\n\n"
                "![dot](dot.png)\n");
    start({doc});
    const QString out = m_home->filePath(u"export.html"_s);
    QTRY_VERIFY_WITH_TIMEOUT(
        run({u"--post"_s, u"lumoapp.debug.exportHTML"_s, out}) == 0 && QFile::exists(out), 30000);
    QFile file(out);
    QTRY_VERIFY(file.size() > 0);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QString html = QString::fromUtf8(file.readAll());

    QVERIFY(html.startsWith(u"<!doctype html>\n<html lang=\"en\" class=\""_s));
    QVERIFY(html.contains(u"<title>R&amp;D &lt;notes&gt;</title>"_s));
    QVERIFY(html.contains(u"content=\"default-src 'none'; img-src data: https: http:;"_s));
    QVERIFY(html.contains(u"<table"_s));
    QVERIFY(html.contains(u"src=\"data:image/png;base64,"_s));
    QVERIFY(html.contains(u"url(data:font/woff2;base64,"_s));
    QVERIFY(!html.contains(u"url(fonts/KaTeX_Main-Regular.woff2)"_s));
    QVERIFY(!html.contains(u"<script"_s));
    QVERIFY(html.endsWith(u"\n</main>\n</body>\n</html>"_s));
}

void TestLumo::laterLaunchesHandTheirFilesOver()
{
    const QString first = fixture(u"first.md"_s, "# First\n");
    const QString second = fixture(u"second.md"_s, "# Second\n");
    start({first});
    QTRY_COMPARE_WITH_TIMEOUT(probe(u"document.querySelector('main h1').textContent"_s),
                              QStringList{u"First"_s}, 30000);

    QCOMPARE(run({second}), 0);
    QTRY_COMPARE_WITH_TIMEOUT(probe(u"document.querySelector('main h1').textContent"_s),
                              (QStringList{u"First"_s, u"Second"_s}), 30000);
    // Asking again raises the open tab instead of opening a second one.
    QCOMPARE(run({second}), 0);
    QTest::qWait(500);
    QCOMPARE(probe(u"document.querySelector('main h1').textContent"_s).size(), 2);
}

void TestLumo::hooksOpenFiles()
{
    start({fixture(u"first.md"_s, "# First\n")});
    QTRY_COMPARE_WITH_TIMEOUT(probe(u"document.querySelector('main h1').textContent"_s),
                              QStringList{u"First"_s}, 30000);
    // Console messages are printed as they are, placeholders and all.
    QCOMPARE(probe(u"'100%2 of %1'"_s), QStringList{u"100%2 of %1"_s});
    // In place of the current document...
    QCOMPARE(run({u"--post"_s, u"lumoapp.debug.openFile"_s, fixture(u"second.md"_s, "# Second\n")}),
             0);
    QTRY_COMPARE_WITH_TIMEOUT(probe(u"document.querySelector('main h1').textContent"_s),
                              QStringList{u"Second"_s}, 30000);
    // ...or beside it, saying how it went.
    const QString third = fixture(u"third.md"_s, "# Third\n");
    QCOMPARE(run({u"--post"_s, u"lumoapp.debug.openURL"_s, third}), 0);
    QTRY_VERIFY_WITH_TIMEOUT(m_output.contains("Lumo debug openURL: opened " + third.toUtf8()),
                             30000);
    QTRY_COMPARE_WITH_TIMEOUT(probe(u"document.querySelector('main h1').textContent"_s),
                              (QStringList{u"Second"_s, u"Third"_s}), 30000);
}

void TestLumo::hooksNeedTheirPreference()
{
    start({fixture(u"first.md"_s, "# First\n")}, false);
    const QString out = m_home->filePath(u"export.html"_s);
    QCOMPARE(run({u"--post"_s, u"lumoapp.debug.exportHTML"_s, out}), 0);
    QTest::qWait(2000);
    QVERIFY(!QFile::exists(out));
}

void TestLumo::opensFolders()
{
    // A folder opens its newest Markdown file, on the command line or as a lumo: URL.
    fixture(u"notes/old.md"_s, "# Old\n");
    QFile newest(fixture(u"notes/deep/new.md"_s, "# New\n"));
    QVERIFY(newest.open(QIODevice::ReadWrite));
    QVERIFY(newest.setFileTime(QDateTime::currentDateTime().addSecs(60),
                               QFileDevice::FileModificationTime));
    newest.close();
    start({m_home->filePath(u"notes"_s)});
    QTRY_COMPARE_WITH_TIMEOUT(probe(u"document.querySelector('main h1').textContent"_s),
                              QStringList{u"New"_s}, 30000);
    fixture(u"more notes/other.md"_s, "# Other\n");
    const QString url =
        u"LUMO://Folder?path="_s +
        QString::fromUtf8(QUrl::toPercentEncoding(m_home->filePath(u"more notes"_s)));
    QCOMPARE(run({url}), 0);
    QTRY_COMPARE_WITH_TIMEOUT(probe(u"document.querySelector('main h1').textContent"_s),
                              (QStringList{u"New"_s, u"Other"_s}), 30000);
    // The Open dialog takes folders too.
    QCOMPARE(run({u"--post"_s, u"lumoapp.debug.openPanelCheck"_s}), 0);
    QTRY_VERIFY_WITH_TIMEOUT(m_output.contains("panel=true folders=true"), 10000);
    QSettings settings(m_home->filePath(u"config/Lumo/Lumo.conf"_s), QSettings::IniFormat);
    QCOMPARE(settings.value(u"workspaceFolders"_s).toStringList(),
             (QStringList{m_home->filePath(u"more notes"_s), m_home->filePath(u"notes"_s)}));
}

void TestLumo::headlessExport_data()
{
    QTest::addColumn<QStringList>("arguments"); // IN and OUT stand for the two files
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("output"); // how the written file starts, or what stderr says

    QTest::newRow("pdf") << QStringList{u"pdf"_s, u"--dark"_s, u"IN"_s, u"OUT"_s} << 0
                         << QByteArray("%PDF-");
    QTest::newRow("html") << QStringList{u"html"_s, u"IN"_s, u"OUT"_s} << 0
                          << QByteArray("<!doctype html>");
    QTest::newRow("missing input")
        << QStringList{u"pdf"_s, u"MISSING"_s, u"OUT"_s} << 1 << QByteArray("lumo: cannot read ");
    QTest::newRow("unwritable output") << QStringList{u"html"_s, u"IN"_s, u"IN/out.html"_s} << 1
                                       << QByteArray("lumo: cannot write ");
    QTest::newRow("no output") << QStringList{u"pdf"_s, u"IN"_s} << 2 << QByteArray("usage: ");
    QTest::newRow("unknown format") << QStringList{u"rtf"_s, u"IN"_s, u"OUT"_s} << 2
                                    << QByteArray("lumo: unknown export format");
}

void TestLumo::headlessExport()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, status);
    QFETCH(QByteArray, output);

    const QString in = fixture(u"in.md"_s, "# Exported\n\nText.\n");
    const QString out = m_home->filePath(u"out.file"_s);
    QStringList command{u"--export"_s};
    for (QString argument : std::as_const(arguments))
        command.append(argument.replace(u"MISSING"_s, m_home->filePath(u"missing.md"_s))
                           .replace(u"IN"_s, in)
                           .replace(u"OUT"_s, out));
    // A running Lumo does not take the export over.
    if (status == 0)
        start({fixture(u"other.md"_s, "# Other\n")});
    QByteArray errors;
    QCOMPARE(run(command, {}, &errors), status);
    if (status != 0) {
        QVERIFY2(errors.contains(output), errors.constData());
        QVERIFY(!QFile::exists(out));
        return;
    }
    QFile file(out);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QVERIFY(file.readAll().startsWith(output));
}

void TestLumo::headlessExportOfAHostileFolder()
{
    // A cloned repository whose "images" point at secrets, devices and pipes.
    const QByteArray secret = "AWS_SECRET_ACCESS_KEY=hostile-corpus-secret\n";
    fixture(u"home/.ssh/id_rsa"_s, secret);
    fixture(u"repo/notes.png"_s, secret);
    QImage image(5, 4, QImage::Format_RGB32);
    image.fill(Qt::blue);
    QVERIFY(image.save(m_home->filePath(u"repo/good.png"_s)));
    QVERIFY(image.save(m_home->filePath(u"home/outside.png"_s)));
    const QString repo = m_home->filePath(u"repo/"_s);
    QVERIFY(QFile::link(u"../home/.ssh/id_rsa"_s, repo + u"key.jpg"_s));
    QVERIFY(QFile::link(u"/proc/self/environ"_s, repo + u"badge.png"_s));
    QVERIFY(QFile::link(u"/dev/zero"_s, repo + u"zero.png"_s));
    QVERIFY(QFile::link(m_home->filePath(u"home/outside.png"_s), repo + u"outside.png"_s));
    QCOMPARE(::mkfifo(QFile::encodeName(repo + u"pipe.png"_s).constData(), 0600), 0);
    const QStringList refused{u"key.jpg"_s,     u"badge.png"_s, u"zero.png"_s,
                              u"outside.png"_s, u"pipe.png"_s,  u"notes.png"_s};
    // Nobody sees a headless export: a web image is not fetched, nor written out.
    QTcpServer tracker;
    QVERIFY(tracker.listen(QHostAddress::LocalHost));
    const QByteArray pixel =
        "http://127.0.0.1:" + QByteArray::number(tracker.serverPort()) + "/p.png";
    QFile corpus(QFINDTESTDATA("hostile/page.md"));
    QVERIFY(corpus.open(QIODevice::ReadOnly));
    QByteArray markdown = corpus.readAll() + "\n![good](good.png) ![pixel](" + pixel + ")\n";
    for (const QString &name : refused)
        markdown += "![" + name.toUtf8() + "](" + name.toUtf8() + ")\n";
    const QString in = fixture(u"repo/README.md"_s, markdown);
    const QString out = m_home->filePath(u"out.html"_s);

    QByteArray errors;
    QCOMPARE(run({u"--export"_s, u"html"_s, in, out}, {}, &errors), 0);
    QFile file(out);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray html = file.readAll();
    QVERIFY(html.contains("<img src=\"data:image/png;base64,"));
    QVERIFY(!html.contains("hostile-corpus-secret"));
    QVERIFY(!html.contains(secret.toBase64()));
    QVERIFY(!html.contains(pixel));
    // The page's rules hold in the exported body too.
    QVERIFY(html.contains("Shown in the reader, so kept in exports."));
    // The page's drawn task box leaves as a form control other programs show.
    QVERIFY(
        html.contains(R"(<input type="checkbox" class="task-list-item-checkbox" disabled="">)"));
    const QString body = QString::fromUtf8(html.mid(html.indexOf("<main")));
    for (const char *leak :
         {R"(style="[^"]*(position|z-index|inset|display:\s*none))", R"(class="[^"]*lumo-)",
          R"(\sdata-(lumo|line))", "<foreignObject", "evil\\.invalid/pixel", R"(<span hidden)"})
        QVERIFY2(!body.contains(QRegularExpression(QString::fromLatin1(leak))), leak);
    QVERIFY(!tracker.waitForNewConnection(0));
    for (const QString &name : refused) {
        // Left as a plain link, and said so.
        QVERIFY2(html.contains(QUrl::fromLocalFile(repo + name).toEncoded()), qPrintable(name));
        QVERIFY2(errors.contains("not embedded: file://" + QFile::encodeName(repo + name)),
                 errors.constData());
    }
}

void TestLumo::exportHooks()
{
    start({fixture(u"first.md"_s, "# First\n")});
    // Path and appearance split at the first bar; anything but two pieces does nothing.
    const QString lonely = m_home->filePath(u"lonely.pdf"_s);
    QCOMPARE(run({u"--post"_s, u"lumoapp.debug.exportPDF"_s, lonely}), 0);
    QCOMPARE(run({u"--post"_s, u"lumoapp.debug.exportPDF"_s, lonely + u"|"_s}), 0);
    const QString out = m_home->filePath(u"out.pdf"_s);
    QTRY_VERIFY_WITH_TIMEOUT(run({u"--post"_s, u"lumoapp.debug.exportPDF"_s, out + u"|dark"_s}) ==
                                     0 &&
                                 QFileInfo(out).size() > 0,
                             30000);
    QVERIFY(!QFile::exists(lonely));
}

void TestLumo::launcherScriptReachesTheRunningLumo()
{
    const QString script =
        QFileInfo(QStringLiteral(LUMO_BINARY)).absolutePath() + u"/../share/lumo/bin/lumo"_s;
    QVERIFY(QFileInfo(script).isExecutable());
    start({fixture(u"first.md"_s, "# First\n")});

    QCOMPARE(run({fixture(u"second.md"_s, "# Second\n")}, {}, nullptr, script), 0);
    QCOMPARE(run({u"-"_s}, "# Piped\n", nullptr, script), 0);
    QTRY_COMPARE_WITH_TIMEOUT(probe(u"document.querySelector('main h1').textContent"_s),
                              (QStringList{u"First"_s, u"Piped"_s, u"Second"_s}), 30000);
}

void TestLumo::conventionsNeedNoDisplay_data()
{
    QTest::addColumn<QString>("program");
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("output");
    QTest::addColumn<QByteArray>("errors");

    const QString binary = QStringLiteral(LUMO_BINARY);
    const QString script = QFileInfo(binary).absolutePath() + u"/../share/lumo/bin/lumo"_s;
    for (const QString &program : {binary, script}) {
        const QByteArray name = program == binary ? "program " : "script ";
        QTest::newRow(name + "help") << program << QStringList{u"--help"_s} << 0
                                     << QByteArray("usage: lumo ") << QByteArray();
        QTest::newRow(name + "version") << program << QStringList{u"--version"_s} << 0
                                        << QByteArray("lumo " LUMO_VERSION "\n") << QByteArray();
        QTest::newRow(name + "unknown option")
            << program << QStringList{u"a.md"_s, u"--bogus"_s} << 2 << QByteArray()
            << QByteArray("lumo: unknown option --bogus (see lumo --help)\n");
    }
}

// Help, the version and a wrong option answer from a text console, with no
// display to connect to.
void TestLumo::conventionsNeedNoDisplay()
{
    QFETCH(QString, program);
    QFETCH(QStringList, arguments);
    QFETCH(int, status);
    QFETCH(QByteArray, output);
    QFETCH(QByteArray, errors);

    QProcess process;
    QProcessEnvironment env = environment();
    for (const QString &name : {u"QT_QPA_PLATFORM"_s, u"DISPLAY"_s, u"WAYLAND_DISPLAY"_s})
        env.remove(name);
    process.setProcessEnvironment(env);
    process.start(program, arguments);
    QVERIFY(process.waitForFinished(30000));
    QCOMPARE(process.exitCode(), status);
    QVERIFY2(process.readAllStandardOutput().startsWith(output), qPrintable(program));
    QCOMPARE(process.readAllStandardError(), errors);
}

void TestLumo::opensAtALineOrHeading()
{
    QByteArray body;
    for (int i = 1; i <= 300; ++i) {
        body += "Paragraph " + QByteArray::number(i) + ".\n\n";
        if (i == 200)
            body += "## Far Away\n\n";
    }
    // Line 203 is "Paragraph 101.": the title, a blank, then two lines a paragraph.
    const QString document = fixture(u"long.md"_s, "# Long\n\n" + body);
    const QString other = fixture(u"other.md"_s, "# Other\n\n" + body);
    // Each page's title and how far below the top of its view the element is.
    const auto tops = [this](const QString &selector) {
        return probe(
            u"document.querySelector('main h1').textContent + '=' + "
            "Math.round(document.querySelector('%1').getBoundingClientRect().top)"_s.arg(selector));
    };
    const auto atTop = [](const QStringList &found, const QString &title) {
        for (const QString &entry : found) {
            if (entry.startsWith(title + u'='))
                return qAbs(entry.section(u'=', 1).toInt()) < 80;
        }
        return false;
    };
    start({document + u":203"_s});
    QTRY_VERIFY_WITH_TIMEOUT(atTop(tops(u"[data-line=\"202\"]"_s), u"Long"_s), 30000);

    // A later launch opens another file at a heading, by its anchor.
    QCOMPARE(run({other + u"#far-away"_s}), 0);
    QTRY_VERIFY_WITH_TIMEOUT(atTop(tops(u"#far-away"_s), u"Other"_s), 30000);
}

void TestLumo::append(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::Append));
    QCOMPARE(file.write(bytes), bytes.size());
}

namespace {

// Paragraphs "Line 0." ... taller together than the window.
QByteArray paragraphs(int from, int count)
{
    QByteArray text;
    for (int i = from; i < from + count; ++i)
        text += "Line " + QByteArray::number(i) + ".\n\n";
    return text;
}

const QString paragraphCount = u"document.querySelectorAll('main > p').length"_s;
const QString atBottom =
    u"Math.abs(scrollY + innerHeight - document.documentElement.scrollHeight) <= 2"_s;

} // namespace

void TestLumo::tailHoldsAtTheBottomOfAGrowingFile()
{
    const QString log = fixture(u"log.md"_s, paragraphs(0, 150));
    start({log});
    QTRY_COMPARE_WITH_TIMEOUT(probe(paragraphCount), QStringList{u"150"_s}, 30000);
    run({u"--post"_s, u"lumoapp.debug.js"_s, u"scrollTo(0, document.body.scrollHeight)"_s});
    QTRY_COMPARE_WITH_TIMEOUT(probe(atBottom), QStringList{u"true"_s}, 10000);

    for (int i = 0; i < 50; ++i) {
        append(log, paragraphs(150 + i, 1));
        QTest::qWait(40);
    }
    QTRY_COMPARE_WITH_TIMEOUT(probe(paragraphCount), QStringList{u"200"_s}, 20000);
    QTRY_COMPARE_WITH_TIMEOUT(probe(atBottom), QStringList{u"true"_s}, 10000);

    // A reader who scrolled up is never moved.
    run({u"--post"_s, u"lumoapp.debug.js"_s, u"scrollTo(0, 400)"_s});
    QTRY_COMPARE_WITH_TIMEOUT(probe(u"scrollY"_s), QStringList{u"400"_s}, 10000);
    append(log, paragraphs(200, 5));
    QTRY_COMPARE_WITH_TIMEOUT(probe(paragraphCount), QStringList{u"205"_s}, 20000);
    QTest::qWait(500);
    QCOMPARE(probe(u"scrollY"_s), QStringList{u"400"_s});
}

void TestLumo::followChangesShowsWhatChangedOffScreen()
{
    const QString notes = fixture(u"notes.md"_s, paragraphs(0, 150));
    start({notes}, true, "followChanges=true\n");
    QTRY_COMPARE_WITH_TIMEOUT(probe(paragraphCount), QStringList{u"150"_s}, 30000);

    // A change on screen: the reader stays where they are.
    fixture(u"notes.md"_s, "Line 0, changed.\n\n" + paragraphs(1, 149));
    QTRY_COMPARE_WITH_TIMEOUT(probe(u"document.querySelector('main > p').textContent"_s),
                              QStringList{u"Line 0, changed."_s}, 20000);
    QTest::qWait(500);
    QCOMPARE(probe(u"scrollY"_s), QStringList{u"0"_s});

    // A change far below: brought into view.
    append(notes, "Fresh news.\n");
    QTRY_COMPARE_WITH_TIMEOUT(
        probe(u"(() => { const r = document.querySelector('main').lastElementChild"
              u".getBoundingClientRect(); return r.top >= 0 && r.bottom <= innerHeight; })()"_s),
        QStringList{u"true"_s}, 20000);
    QCOMPARE(probe(u"document.querySelector('main').lastElementChild.textContent"_s),
             QStringList{u"Fresh news."_s});
}

void TestLumo::aRewrittenFileKeepsTheReadersPlace()
{
    const QByteArray text = paragraphs(0, 150);
    const QString report = fixture(u"report.md"_s, text);
    start({report});
    QTRY_COMPARE_WITH_TIMEOUT(probe(paragraphCount), QStringList{u"150"_s}, 30000);
    run({u"--post"_s, u"lumoapp.debug.js"_s, u"mv.scrollToLine(100)"_s});
    QTRY_COMPARE_WITH_TIMEOUT(probe(u"Math.round(mv.topLine())"_s), QStringList{u"100"_s}, 10000);

    // Truncated and written again from the start, slowly enough to be seen half done.
    QFile file(report);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(text.left(text.indexOf("Line 20.")));
    file.close();
    QTRY_COMPARE_WITH_TIMEOUT(probe(paragraphCount), QStringList{u"20"_s}, 20000);
    append(report, text.mid(text.indexOf("Line 20.")) + paragraphs(150, 1));
    QTRY_COMPARE_WITH_TIMEOUT(probe(paragraphCount), QStringList{u"151"_s}, 20000);
    QTRY_COMPARE_WITH_TIMEOUT(probe(u"Math.round(mv.topLine())"_s), QStringList{u"100"_s}, 10000);

    // Emptied for a moment: the page never shows it empty, and stays put.
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.close();
    QTest::qWait(250); // past the watcher's quiet time, within the grace an emptied file gets
    append(report, text + paragraphs(150, 2));
    QTRY_COMPARE_WITH_TIMEOUT(probe(paragraphCount), QStringList{u"152"_s}, 20000);
    QCOMPARE(probe(u"Math.round(mv.topLine())"_s), QStringList{u"100"_s});

    // Asked for again, also through a link, it is the tab already open.
    QVERIFY(QFile::link(report, m_home->filePath(u"link.md"_s)));
    QCOMPARE(run({report}), 0);
    QCOMPARE(run({m_home->filePath(u"link.md"_s)}), 0);
    QTest::qWait(500);
    QCOMPARE(probe(u"1"_s), QStringList{u"1"_s});
}

QTEST_GUILESS_MAIN(TestLumo)
#include "tst_lumo.moc"
