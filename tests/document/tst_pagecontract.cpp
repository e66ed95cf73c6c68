// The native side of the page contract that needs no page: script quoting, link
// routing and the names of saved diagrams.
#include "base/DesktopIntegration.h"
#include "document/LinkPolicy.h"
#include "document/PageActions.h"
#include "document/PageScript.h"
#include "document/TextSplice.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <sys/stat.h>

using namespace Lumo::Base;
using namespace Lumo::Document;

using namespace Qt::StringLiterals;

class TestPageContract : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void json_data();
    void json();
    void scripts();
    void splices_data();
    void splices();
    void linkRouting_data();
    void linkRouting();
    void filesOnDisk_data();
    void filesOnDisk();
    void specialFiles();
    void svgNames_data();
    void svgNames();
    void pngFromDataUrl();
};

void TestPageContract::json_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("literal");

    QTest::newRow("plain") << u"abc"_s << u"\"abc\""_s;
    QTest::newRow("quotes and backslashes") << u"a\"b\\c"_s << u"\"a\\\"b\\\\c\""_s;
    QTest::newRow("line breaks") << u"a\nb\r\tc"_s << u"\"a\\nb\\r\\tc\""_s;
    QTest::newRow("script end tag stays inert text") << u"</script>"_s << u"\"</script>\""_s;
    QTest::newRow("unicode") << u"é ✓ 😀"_s << u"\"é ✓ 😀\""_s;
    QTest::newRow("control character") << u"\u0001"_s << u"\"\\u0001\""_s;
    QTest::newRow("empty") << QString() << u"\"\""_s;
    QTest::newRow("lone surrogates escaped, pairs kept")
        << u"a"_s + QChar(0xd800) + u"b"_s + QChar(0xdc00) + u"😀"_s << u"\"a\\ud800b\\udc00😀\""_s;
}

void TestPageContract::json()
{
    QFETCH(QString, text);
    QFETCH(QString, literal);
    QCOMPARE(PageScript::json(text), literal);
}

void TestPageContract::splices_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("after");
    QTest::addColumn<QString>("inserted");

    const QString smile = u"\U0001F600"_s; // a surrogate pair
    const QString grin = u"\U0001F601"_s;  // the same high surrogate, another low one
    QTest::newRow("append") << u"# Log\n\none\n"_s << u"# Log\n\none\ntwo\n"_s << u"two\n"_s;
    QTest::newRow("prepend") << u"b"_s << u"ab"_s << u"a"_s;
    QTest::newRow("one character in the middle") << u"abcdef"_s << u"abXdef"_s << u"X"_s;
    QTest::newRow("deletion") << u"abcdef"_s << u"abef"_s << QString();
    QTest::newRow("same text") << u"same"_s << u"same"_s << QString();
    QTest::newRow("emptied") << u"all of it"_s << QString() << QString();
    QTest::newRow("a run that repeats") << u"aaa"_s << u"aaaa"_s << u"a"_s;
    QTest::newRow("pairs differing in the low half")
        << u"a"_s + smile + u"b"_s << u"a"_s + grin + u"b"_s << grin;
    QTest::newRow("pairs differing in the high half")
        << smile + u"b"_s << u"\U0010FC00b"_s << u"\U0010FC00"_s;
    QTest::newRow("a pair appended after a pair") << smile << smile + smile << smile;
}

// Applied to the old text, a splice gives the new one, and no side of it holds half
// a surrogate pair, which would not survive the trip to the page.
void TestPageContract::splices()
{
    QFETCH(QString, before);
    QFETCH(QString, after);
    QFETCH(QString, inserted);

    const TextSplice splice = TextSplice::between(before, after);
    QCOMPARE(splice.inserted, inserted);
    QVERIFY(0 <= splice.start && splice.start <= splice.end && splice.end <= before.size());
    QCOMPARE(before.left(splice.start) + splice.inserted + before.mid(splice.end), after);
    const auto whole = [](QStringView text) {
        return text.isEmpty() || (!text.front().isLowSurrogate() && !text.back().isHighSurrogate());
    };
    QVERIFY(whole(QStringView(before).left(splice.start)));
    QVERIFY(whole(splice.inserted));
    QVERIFY(whole(QStringView(before).mid(splice.end)));
}

// The scrolling and awaited-call scripts are run, and their effect checked, by
// tst_previewpage (scrolling, awaitedCalls).
void TestPageContract::scripts()
{
    QCOMPARE(PageScript::render(u"# A"_s, u"file:///d/"_s, true, 7),
             QStringList{u"mv.render(\"# A\", \"file:///d/\", {diff: true, rev: 7})"_s});
    QCOMPARE(PageScript::render(u"%1 %2"_s, std::nullopt, false, 1),
             QStringList{u"mv.render(\"%1 %2\", null, {diff: false, rev: 1})"_s});
    QCOMPARE(
        PageScript::render(u"abcdefg"_s, std::nullopt, false, 2, 3),
        (QStringList{u"mv.stageText(0, \"abc\")"_s, u"mv.stageText(1, \"def\")"_s,
                     u"mv.render(\"g\", null, {diff: false, rev: 2, staged: true, length: 7})"_s}));
    QCOMPARE(PageScript::setPrefs(1.0, u"sans"_s, u"wide"_s, u"paper"_s),
             u"mv.setPrefs({scale: 1, font: \"sans\", width: \"wide\", theme: \"paper\"})"_s);
    QCOMPARE(PageScript::setPrefs(1.3, u"x\"y"_s, u"w"_s, u"t"_s),
             u"mv.setPrefs({scale: 1.3, font: \"x\\\"y\", width: \"w\", theme: \"t\"})"_s);
}

void TestPageContract::linkRouting_data()
{
    QTest::addColumn<QUrl>("url");
    QTest::addColumn<LinkPolicy::Action>("action");

    using A = LinkPolicy::Action;
    QTest::newRow("https") << QUrl(u"https://example.org/a"_s) << A::OpenExternally;
    QTest::newRow("http") << QUrl(u"http://example.org"_s) << A::OpenExternally;
    QTest::newRow("mailto") << QUrl(u"mailto:a@b.c"_s) << A::OpenExternally;
    QTest::newRow("custom scheme asks") << QUrl(u"zoommtg://join?x=1"_s) << A::Confirm;
    QTest::newRow("javascript asks") << QUrl(u"javascript:alert(1)"_s) << A::Confirm;
    QTest::newRow("no scheme asks") << QUrl(u"relative/thing"_s) << A::Confirm;
    QTest::newRow("missing markdown opens to say so")
        << QUrl(u"file:///notes/README.MD"_s) << A::OpenDocument;
    QTest::newRow("missing picture revealed") << QUrl(u"file:///n/photo.png"_s) << A::Reveal;
}

void TestPageContract::linkRouting()
{
    QFETCH(QUrl, url);
    QFETCH(LinkPolicy::Action, action);
    QCOMPARE(LinkPolicy::decide(url), action);
}

void TestPageContract::filesOnDisk_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<LinkPolicy::Action>("action");

    using A = LinkPolicy::Action;
    const QByteArray text = "plain words\n";
    QTest::newRow("markdown in capitals") << u"README.MD"_s << text << A::OpenDocument;
    QTest::newRow("markdown long extension") << u"a.markdown"_s << text << A::OpenDocument;
    QTest::newRow("png opens") << u"photo.png"_s << "\x89PNG\r\n\x1a\n"_ba << A::OpenWithDefaultApp;
    QTest::newRow("pdf opens") << u"paper.pdf"_s << "%PDF-1.4\n"_ba << A::OpenWithDefaultApp;
    QTest::newRow("csv opens") << u"data.csv"_s << "a,b\n1,2\n"_ba << A::OpenWithDefaultApp;
    QTest::newRow("shell script revealed") << u"install.sh"_s << text << A::Reveal;
    QTest::newRow("python revealed") << u"tool.py"_s << text << A::Reveal;
    QTest::newRow("html revealed") << u"page.html"_s << text << A::Reveal;
    QTest::newRow("launcher revealed") << u"app.desktop"_s << text << A::Reveal;
    QTest::newRow("windows program revealed") << u"setup.exe"_s << text << A::Reveal;
    QTest::newRow("appimage revealed") << u"App.AppImage"_s << text << A::Reveal;
    QTest::newRow("jar revealed") << u"tool.jar"_s << text << A::Reveal;
    QTest::newRow("unknown type revealed") << u"blob.zzqx"_s << text << A::Reveal;
    QTest::newRow("archive revealed") << u"src.tar.gz"_s << text << A::Reveal;
    QTest::newRow("script named as text")
        << u"notes.txt"_s << "#!/bin/sh\nrm -rf ~\n"_ba << A::Reveal;
    // Below a file: nothing is there, and its name says nothing.
    QTest::newRow("path through a jar") << u"tool.jar/x"_s << QByteArray() << A::Reveal;
    QTest::newRow("path through a launcher") << u"evil.desktop/x"_s << QByteArray() << A::Reveal;
    QTest::newRow("path through a page") << u"page.html/x.png"_s << QByteArray() << A::Reveal;
    QTest::newRow("folder named as markdown") << u"notes.md/"_s << QByteArray() << A::Reveal;
}

void TestPageContract::filesOnDisk()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, content);
    QFETCH(LinkPolicy::Action, action);

    QTemporaryDir dir;
    const QString path = dir.filePath(name.endsWith(u'/') ? name.chopped(1) : name);
    if (name.endsWith(u'/')) {
        QVERIFY(QDir().mkpath(path));
    } else {
        // "a/x": a is the file, x is what the link names below it.
        const QString file = dir.filePath(name.section(u'/', 0, 0));
        QFile out(file);
        QVERIFY(out.open(QIODevice::WriteOnly));
        out.write(content.isEmpty() ? "data"_ba : content);
    }
    QCOMPARE(LinkPolicy::decide(QUrl::fromLocalFile(path)), action);
    // Nothing but a real folder is opened when no file manager shows the link.
    QCOMPARE(DesktopIntegration::folderToShow(path), QDir(dir.path()).canonicalPath());
}

void TestPageContract::specialFiles()
{
    QTemporaryDir dir;
    const QString picture = dir.filePath(u"picture.png"_s);
    QFile file(picture);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("\x89PNG\r\n\x1a\n");
    file.close();
    QCOMPARE(LinkPolicy::decideForFile(picture), LinkPolicy::Action::OpenWithDefaultApp);

    // A symbolic link, a file marked executable, a FIFO or a device is never opened,
    // whatever its name.
    const QString link = dir.filePath(u"link.png"_s);
    QVERIFY(QFile::link(picture, link));
    QCOMPARE(LinkPolicy::decideForFile(link), LinkPolicy::Action::Reveal);
    QVERIFY(file.setPermissions(file.permissions() | QFile::ExeOwner));
    QCOMPARE(LinkPolicy::decideForFile(picture), LinkPolicy::Action::Reveal);
    QCOMPARE(LinkPolicy::decideForFile(dir.path()), LinkPolicy::Action::Reveal);
    const QString fifo = dir.filePath(u"notes.md"_s);
    QCOMPARE(::mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
    QCOMPARE(LinkPolicy::decideForFile(fifo), LinkPolicy::Action::Reveal);
    QCOMPARE(LinkPolicy::decideForFile(u"/dev/zero"_s), LinkPolicy::Action::Reveal);
}

void TestPageContract::svgNames_data()
{
    QTest::addColumn<QString>("document");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("file");

    QTest::newRow("named") << u"/n/notes.md"_s << u"flow"_s << u"notes-flow.svg"_s;
    QTest::newRow("untitled") << QString() << u"flow"_s << u"Untitled-flow.svg"_s;
    QTest::newRow("sanitised") << u"/n/a.b.md"_s << u"my flow/../x?*.v2"_s
                               << u"a.b-myflow..x.v2.svg"_s;
    QTest::newRow("nothing left") << u"/n/plan.md"_s << u"//?"_s << u"plan-diagram.svg"_s;
}

void TestPageContract::svgNames()
{
    QFETCH(QString, document);
    QFETCH(QString, name);
    QFETCH(QString, file);
    QCOMPARE(PageActions::svgFileName(document, name), file);
    QCOMPARE(PageActions::svgFileContents(u"<svg/>"_s),
             "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg/>"_ba);
}

void TestPageContract::pngFromDataUrl()
{
    QCOMPARE(PageActions::pngFromDataUrl(u"data:image/png;base64,iVBORw=="_s),
             QByteArray::fromBase64("iVBORw=="));
    QVERIFY(PageActions::pngFromDataUrl(u"data:image/jpeg;base64,AAAA"_s).isEmpty());
    QVERIFY(PageActions::pngFromDataUrl(u"https://x/y.png"_s).isEmpty());
}

QTEST_MAIN(TestPageContract)
#include "tst_pagecontract.moc"
