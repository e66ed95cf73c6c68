#include "app/CommandLineTool.h"
#include "app/DefaultApp.h"
#include "app/LaunchArguments.h"
#include "app/LegacyMigration.h"
#include "base/Preferences.h"
#include "document/CustomCSS.h"

#include <algorithm>
#include <QDesktopServices>
#include <QFile>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace Lumo::App;
using namespace Lumo::Base;
using namespace Lumo::Document;

using namespace Qt::StringLiterals;

// The application shell's logic: folder URLs, the predecessor's settings, the stylesheet file.
class TestCommandLine : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void folderUrls_data();
    void folderUrls();
    void arguments_data();
    void arguments();
    void positions_data();
    void positions();
    void headings_data();
    void headings();
    void installLink_data();
    void installLink();
    void defaultApp_data();
    void defaultApp();
    void migration_data();
    void migration();
    void migrationRunsOnce();
    void stylesheetMigration();
    void customStylesheet();
    void aLinkedStylesheetFollowsItsFile();
    void editingTheStylesheet();

public Q_SLOTS:
    void openedExternally(const QUrl &url) { m_opened.append(url); }

private:
    QList<QUrl> m_opened;
};

void TestCommandLine::folderUrls_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<QString>("folder");

    QTest::newRow("plain") << u"lumo://folder?path=/home/u/notes"_s << u"/home/u/notes"_s;
    QTest::newRow("encoded") << u"lumo://folder?path=/home/u/My%20Notes%26Co"_s
                             << u"/home/u/My Notes&Co"_s;
    QTest::newRow("first path wins") << u"lumo://folder?path=/a&path=/b"_s << u"/a"_s;
    QTest::newRow("other items ignored") << u"lumo://folder?x=1&path=/a/../b"_s << u"/b"_s;
    QTest::newRow("scheme case") << u"Lumo://folder?path=/a"_s << u"/a"_s;
    QTest::newRow("host case") << u"LUMO://FOLDER/?path=/a"_s << u"/a"_s;
    QTest::newRow("user") << u"lumo://u@folder?path=/a"_s << QString();
    QTest::newRow("port") << u"lumo://folder:1?path=/a"_s << QString();
    QTest::newRow("other host") << u"lumo://file?path=/a"_s << QString();
    QTest::newRow("longer host") << u"lumo://folders?path=/a"_s << QString();
    QTest::newRow("other scheme") << u"https://folder?path=/a"_s << QString();
    QTest::newRow("no query") << u"lumo://folder"_s << QString();
    QTest::newRow("empty path") << u"lumo://folder?path="_s << QString();
    QTest::newRow("path without value") << u"lumo://folder?path"_s << QString();
    QTest::newRow("empty first path") << u"lumo://folder?path=&path=/b"_s << QString();
}

void TestCommandLine::folderUrls()
{
    QFETCH(QString, url);
    QFETCH(QString, folder);
    QCOMPARE(CommandLineTool::folderToOpen(url).value_or(QString()), folder);
}

void TestCommandLine::arguments_data()
{
    using Action = LaunchArguments::Action;
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<Action>("action");
    QTest::addColumn<QStringList>("paths");
    QTest::addColumn<bool>("standardInput");

    QTest::newRow("nothing") << QStringList() << Action::Open << QStringList() << false;
    QTest::newRow("relative files") << QStringList{u"a.md"_s, u"../b.md"_s} << Action::Open
                                    << QStringList{u"/work/here/a.md"_s, u"/work/b.md"_s} << false;
    QTest::newRow("file URL") << QStringList{u"file:///x/a%20b.md"_s} << Action::Open
                              << QStringList{u"/x/a b.md"_s} << false;
    QTest::newRow("standard input") << QStringList{u"-"_s} << Action::Open << QStringList() << true;
    QTest::newRow("help anywhere")
        << QStringList{u"a.md"_s, u"--help"_s} << Action::Help << QStringList() << false;
    QTest::newRow("short help") << QStringList{u"-h"_s} << Action::Help << QStringList() << false;
    QTest::newRow("version") << QStringList{u"--version"_s} << Action::Version << QStringList()
                             << false;
    QTest::newRow("unknown long") << QStringList{u"--verbose"_s, u"a.md"_s} << Action::Invalid
                                  << QStringList() << false;
    QTest::newRow("unknown short")
        << QStringList{u"-x"_s} << Action::Invalid << QStringList() << false;
    QTest::newRow("names after --")
        << QStringList{u"--"_s, u"-x.md"_s, u"-"_s, u"--help"_s} << Action::Open
        << QStringList{u"/work/here/-x.md"_s, u"/work/here/-"_s, u"/work/here/--help"_s} << false;
    QTest::newRow("post") << QStringList{u"--post"_s, u"name"_s} << Action::Post << QStringList()
                          << false;
    QTest::newRow("post without name")
        << QStringList{u"--post"_s} << Action::Invalid << QStringList() << false;
    QTest::newRow("post with too much") << QStringList{u"--post"_s, u"a"_s, u"b"_s, u"c"_s}
                                        << Action::Invalid << QStringList() << false;
}

void TestCommandLine::arguments()
{
    QFETCH(QStringList, arguments);
    QFETCH(LaunchArguments::Action, action);
    QFETCH(QStringList, paths);
    QFETCH(bool, standardInput);

    const LaunchArguments parsed = LaunchArguments::parse(arguments, u"/work/here"_s);
    QCOMPARE(parsed.action, action);
    QStringList parsedPaths;
    for (const OpenTarget &target : parsed.targets)
        parsedPaths.append(target.path);
    QCOMPARE(parsedPaths, paths);
    QCOMPARE(parsed.readStandardInput, standardInput);
    // The error is one line, naming what was wrong.
    QCOMPARE(parsed.error.isEmpty(), action != LaunchArguments::Action::Invalid);
    QVERIFY(!parsed.error.contains(u'\n'));
}

void TestCommandLine::positions_data()
{
    QTest::addColumn<QString>("argument");
    QTest::addColumn<QStringList>("existing");
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("line");
    QTest::addColumn<QString>("heading");

    const QStringList notes{u"/d/notes.md"_s};
    QTest::newRow("plain") << u"/d/notes.md"_s << notes << u"/d/notes.md"_s << -1 << QString();
    QTest::newRow("line") << u"/d/notes.md:12"_s << notes << u"/d/notes.md"_s << 11 << QString();
    QTest::newRow("line and column")
        << u"/d/notes.md:3:7"_s << notes << u"/d/notes.md"_s << 2 << QString();
    QTest::newRow("line zero") << u"/d/notes.md:0"_s << notes << u"/d/notes.md"_s << -1
                               << QString();
    QTest::newRow("heading") << u"/d/notes.md#install-it"_s << notes << u"/d/notes.md"_s << -1
                             << u"install-it"_s;
    QTest::newRow("real name with colon")
        << u"/d/notes.md:12"_s << QStringList{u"/d/notes.md:12"_s, u"/d/notes.md"_s}
        << u"/d/notes.md:12"_s << -1 << QString();
    QTest::newRow("real name with colon, at a line")
        << u"/d/notes.md:3:7"_s << QStringList{u"/d/notes.md:3"_s} << u"/d/notes.md:3"_s << 6
        << QString();
    QTest::newRow("real name with hash")
        << u"/d/c#.md"_s << QStringList{u"/d/c#.md"_s} << u"/d/c#.md"_s << -1 << QString();
    QTest::newRow("hash in a real name, then a heading")
        << u"/d/c#.md#intro"_s << QStringList{u"/d/c#.md"_s} << u"/d/c#.md"_s << -1 << u"intro"_s;
    QTest::newRow("missing file keeps its name")
        << u"/d/gone.md:4"_s << notes << u"/d/gone.md:4"_s << -1 << QString();
    QTest::newRow("not a number") << u"/d/notes.md:x"_s << notes << u"/d/notes.md:x"_s << -1
                                  << QString();
}

void TestCommandLine::positions()
{
    QFETCH(QString, argument);
    QFETCH(QStringList, existing);
    QFETCH(QString, path);
    QFETCH(int, line);
    QFETCH(QString, heading);

    const OpenTarget target = OpenTarget::fromArgument(
        argument, [&existing](const QString &candidate) { return existing.contains(candidate); });
    QCOMPARE(target.path, path);
    QCOMPARE(target.line, line);
    QCOMPARE(target.heading, heading);
    // The running Lumo receives exactly what the launch found.
    QCOMPARE(OpenTarget::fromJson(target.toJson()), target);
}

void TestCommandLine::headings_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("index");

    QTest::newRow("anchor") << u"install-it"_s << 1;
    QTest::newRow("text, any case") << u"install IT!"_s << 1;
    QTest::newRow("anchor before text") << u"usage"_s << 2;
    QTest::newRow("anchor from text") << u"Install It"_s << 1;
    QTest::newRow("duplicate's anchor") << u"usage-1"_s << 3;
    QTest::newRow("no such heading") << u"uninstall"_s << -1;
    QTest::newRow("empty") << QString() << -1;
}

void TestCommandLine::headings()
{
    QFETCH(QString, name);
    QFETCH(int, index);
    const QList<OutlineItem> outline{{1, u"Lumo"_s, u"lumo"_s, 0},
                                     {2, u"Install it!"_s, u"install-it"_s, 4},
                                     {2, u"How to use"_s, u"usage"_s, 9},
                                     {2, u"Usage"_s, u"usage-1"_s, 12}};
    QCOMPARE(OpenTarget::headingIndex(outline, name), index);
}

void TestCommandLine::installLink_data()
{
    // Three candidate folders "first", "second", "home"; those listed exist (the
    // others are not writable, being absent); occupant is what "lumo" is beforehand.
    QTest::addColumn<QStringList>("existing");
    QTest::addColumn<QString>("occupant");
    QTest::addColumn<QString>("chosen");

    QTest::newRow("first writable wins")
        << QStringList{u"first"_s, u"second"_s} << QString() << u"first"_s;
    QTest::newRow("next writable")
        << QStringList{u"second"_s, u"home"_s} << QString() << u"second"_s;
    QTest::newRow("none writable: home created") << QStringList{} << QString() << u"home"_s;
    QTest::newRow("a file is replaced") << QStringList{u"second"_s} << u"file"_s << u"second"_s;
    QTest::newRow("an old link is replaced")
        << QStringList{u"first"_s} << u"dangling"_s << u"first"_s;
}

void TestCommandLine::installLink()
{
    QFETCH(QStringList, existing);
    QFETCH(QString, occupant);
    QFETCH(QString, chosen);

    QTemporaryDir dir;
    const QString script = dir.filePath(u"share/lumo/bin/lumo"_s);
    QVERIFY(QDir().mkpath(QFileInfo(script).absolutePath()));
    QFile(script).open(QIODevice::WriteOnly);
    const QStringList names{u"first"_s, u"second"_s, u"home"_s};
    QStringList candidates;
    for (const QString &name : names) {
        candidates.append(dir.filePath(name + u"/bin"_s));
        if (existing.contains(name))
            QVERIFY(QDir().mkpath(candidates.constLast()));
    }
    const QString expected = candidates.at(names.indexOf(chosen)) + u"/lumo"_s;
    if (occupant == u"file"_s) {
        QFile file(expected);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("an older lumo");
    } else if (occupant == u"dangling"_s) {
        QVERIFY(QFile::link(dir.filePath(u"gone"_s), expected));
    }

    const CommandLineTool::InstallResult result = CommandLineTool::installLink(script, candidates);
    QVERIFY2(result.installed, qPrintable(result.error));
    QCOMPARE(result.link, expected);
    QCOMPARE(QFileInfo(expected).symLinkTarget(), script);
    for (const QString &candidate : candidates) {
        if (candidate + u"/lumo"_s != expected)
            QVERIFY(!QFileInfo(candidate + u"/lumo"_s).exists());
    }

    // A fallback folder that cannot be made is reported, not silently skipped.
    const CommandLineTool::InstallResult failed =
        CommandLineTool::installLink(script, {dir.filePath(u"absent"_s), script + u"/bin"_s});
    QVERIFY(!failed.installed);
    QVERIFY(!failed.error.isEmpty());
}

void TestCommandLine::defaultApp_data()
{
    // What a stand-in xdg-mime answers to "query default text/markdown"; null when
    // there is no xdg-mime at all.
    QTest::addColumn<QString>("answer");
    QTest::addColumn<bool>("isDefault");

    QTest::newRow("ours") << u"lumo.desktop"_s << true;
    QTest::newRow("another") << u"org.gnome.TextEditor.desktop"_s << false;
    QTest::newRow("like ours") << u"lumo.desktop.old"_s << false;
    QTest::newRow("no xdg-mime") << QString() << false;
}

void TestCommandLine::defaultApp()
{
    QFETCH(QString, answer);
    QFETCH(bool, isDefault);

    QTemporaryDir dir;
    if (!answer.isNull()) {
        QFile tool(dir.filePath(u"xdg-mime"_s));
        QVERIFY(tool.open(QIODevice::WriteOnly));
        tool.write("#!/bin/sh\necho \"$*\" >> '" + dir.filePath(u"calls"_s).toUtf8() +
                   "'\n[ \"$1\" = query ] && echo " + answer.toUtf8() + "\nexit 0\n");
        tool.close();
        tool.setPermissions(tool.permissions() | QFile::ExeOwner);
    }
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", dir.path().toUtf8());

    std::optional<bool> answered;
    DefaultApp::isDefault([&answered](bool ours) { answered = ours; });
    bool made = false;
    DefaultApp::makeDefault([&made] { made = true; });
    QTRY_VERIFY(answered.has_value() && made);
    qputenv("PATH", path);
    QCOMPARE(*answered, isDefault);

    QFile calls(dir.filePath(u"calls"_s));
    if (!answer.isNull()) {
        QVERIFY(calls.open(QIODevice::ReadOnly));
        // The two ran side by side, in either order.
        QList<QByteArray> lines = calls.readAll().trimmed().split('\n');
        std::sort(lines.begin(), lines.end());
        QCOMPARE(lines, (QList<QByteArray>{"default lumo.desktop text/markdown text/x-markdown",
                                           "query default text/markdown"}));
    }
}

void TestCommandLine::migration_data()
{
    QTest::addColumn<QString>("old");
    QTest::addColumn<QString>("current");
    QTest::addColumn<QString>("theme");
    QTest::addColumn<double>("scale");
    QTest::addColumn<QString>("font");

    QTest::newRow("copied") << u"theme=paper\ntextScale=1.2\nreaderFont=serif"_s << QString()
                            << u"paper"_s << 1.2 << u"serif"_s;
    QTest::newRow("own theme skipped")
        << u"theme=scrivent\nreaderFont=mono"_s << QString() << u"lumo"_s << 1.0 << u"mono"_s;
    QTest::newRow("never overwrites") << u"theme=paper\nreaderFont=serif"_s << u"theme=github"_s
                                      << u"github"_s << 1.0 << u"serif"_s;
    QTest::newRow("no predecessor") << QString() << QString() << u"lumo"_s << 1.0 << u"sans"_s;
}

static void writeIni(const QString &path, const QString &body)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.write("[General]\n" + body.toUtf8() + "\n");
}

void TestCommandLine::migration()
{
    QFETCH(QString, old);
    QFETCH(QString, current);
    QFETCH(QString, theme);
    QFETCH(double, scale);
    QFETCH(QString, font);

    QTemporaryDir dir;
    const QString oldPath = dir.filePath(u"config/Scrivent/Scrivent.conf"_s);
    if (!old.isNull())
        writeIni(oldPath, old);
    if (!current.isNull())
        writeIni(dir.filePath(u"Lumo.conf"_s), current);

    Preferences prefs(dir.filePath(u"Lumo.conf"_s));
    LegacyMigration::run(prefs, oldPath, dir.filePath(u"data"_s));
    QCOMPARE(prefs.theme(), theme);
    QCOMPARE(prefs.textScale(), scale);
    QCOMPARE(prefs.readerFont(), font);
    QVERIFY(prefs.migratedFromScrivent());
    if (old.contains(u"scrivent"_s))
        QVERIFY(!prefs.contains(u"theme"_s));
}

void TestCommandLine::migrationRunsOnce()
{
    QTemporaryDir dir;
    const QString oldPath = dir.filePath(u"Scrivent.conf"_s);
    Preferences prefs(dir.filePath(u"Lumo.conf"_s));
    LegacyMigration::run(prefs, oldPath, dir.path());
    writeIni(oldPath, u"theme=paper"_s);
    LegacyMigration::run(prefs, oldPath, dir.path());
    QCOMPARE(prefs.theme(), u"lumo"_s);
}

void TestCommandLine::stylesheetMigration()
{
    QTemporaryDir dir;
    const QString oldCSS = dir.filePath(u"Scrivent/custom.css"_s);
    const QString newCSS = dir.filePath(u"Lumo/custom.css"_s);
    writeIni(oldCSS, u"old"_s);

    Preferences first(dir.filePath(u"a.conf"_s));
    LegacyMigration::run(first, dir.filePath(u"none.conf"_s), dir.path());
    QFile copied(newCSS);
    QVERIFY(copied.open(QIODevice::ReadOnly));
    QCOMPARE(copied.readAll(), "[General]\nold\n"_ba);
    copied.close();

    // An existing stylesheet is never overwritten.
    writeIni(newCSS, u"mine"_s);
    Preferences second(dir.filePath(u"b.conf"_s));
    LegacyMigration::run(second, dir.filePath(u"none.conf"_s), dir.path());
    QVERIFY(copied.open(QIODevice::ReadOnly));
    QCOMPARE(copied.readAll(), "[General]\nmine\n"_ba);
}

void TestCommandLine::customStylesheet()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(u"Lumo/custom.css"_s);
    CustomCSS css(path);
    QVERIFY(css.text().isEmpty());

    QSignalSpy changed(&css, &CustomCSS::changed);
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("main { color: red; }");
    file.close();
    css.reload();
    QCOMPARE(css.text(), u"main { color: red; }"_s);
    QTRY_COMPARE(changed.count(), 1);

    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("p { content: \"\xE9\"; }"); // Latin-1, not UTF-8
    file.close();
    css.reload();
    QVERIFY(css.text().isEmpty());
}

void TestCommandLine::aLinkedStylesheetFollowsItsFile()
{
    // As dotfile managers keep it: the stylesheet a link into a repository.
    QTemporaryDir dir;
    QVERIFY(QDir(dir.path()).mkpath(u"dotfiles"_s) && QDir(dir.path()).mkpath(u"Lumo"_s));
    const QString real = dir.filePath(u"dotfiles/lumo.css"_s);
    const auto put = [](const QString &path, const QByteArray &css) {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(css) == css.size());
    };
    put(real, "h1 { color: red; }");
    const QString path = dir.filePath(u"Lumo/custom.css"_s);
    QVERIFY(QFile::link(real, path));
    CustomCSS css(path);
    QCOMPARE(css.text(), u"h1 { color: red; }"_s);

    QSignalSpy changed(&css, &CustomCSS::changed);
    put(real, "h1 { color: blue; }");
    QTRY_COMPARE(changed.count(), 1);
    QCOMPARE(css.text(), u"h1 { color: blue; }"_s);
}

void TestCommandLine::editingTheStylesheet()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(u"share/Lumo/custom.css"_s);
    Preferences prefs(dir.filePath(u"Lumo.conf"_s));
    CustomCSS css(path);
    QDesktopServices::setUrlHandler(u"file"_s, this, "openedExternally");

    css.openForEditing(prefs);
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), CustomCSS::templateText());
    file.close();
    QVERIFY(prefs.useCustomCSS());
    QCOMPARE(m_opened, QList<QUrl>{QUrl::fromLocalFile(path)});

    // A second request leaves the user's rules alone.
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("main { color: teal; }");
    file.close();
    QTRY_COMPARE(css.text(), u"main { color: teal; }"_s);
    css.openForEditing(prefs);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), "main { color: teal; }"_ba);
    QCOMPARE(m_opened.size(), 2);

    // Deleting it empties the stylesheet.
    file.close();
    QVERIFY(QFile::remove(path));
    QTRY_VERIFY(css.text().isEmpty());
    QDesktopServices::unsetUrlHandler(u"file"_s);
}

QTEST_GUILESS_MAIN(TestCommandLine)
#include "tst_commandline.moc"
