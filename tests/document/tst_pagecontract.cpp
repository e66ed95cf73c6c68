// The native side of the page contract that needs no page: script quoting, link
// routing, asset access and the names of saved diagrams.
#include "document/LinkPolicy.h"
#include "document/LocalAssetHandler.h"
#include "document/PageActions.h"
#include "document/PageScript.h"
#include "document/TextSplice.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

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
    void filesOnDisk();
    void assetAccess_data();
    void assetAccess();
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
    QTest::newRow("pairs differing in the low half") << u"a"_s + smile + u"b"_s
                                                     << u"a"_s + grin + u"b"_s << grin;
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

void TestPageContract::scripts()
{
    QCOMPARE(PageScript::render(u"# A"_s, u"file:///d/"_s, true, 7),
             u"mv.render(\"# A\", \"file:///d/\", {diff: true, rev: 7})"_s);
    QCOMPARE(PageScript::render(u"%1 %2"_s, std::nullopt, false, 1),
             u"mv.render(\"%1 %2\", null, {diff: false, rev: 1})"_s);
    QCOMPARE(PageScript::setPrefs(1.0, u"sans"_s, u"wide"_s, u"paper"_s),
             u"mv.setPrefs({scale: 1, font: \"sans\", width: \"wide\", theme: \"paper\"})"_s);
    QCOMPARE(PageScript::setPrefs(1.3, u"x\"y"_s, u"w"_s, u"t"_s),
             u"mv.setPrefs({scale: 1.3, font: \"x\\\"y\", width: \"w\", theme: \"t\"})"_s);
    QCOMPARE(PageScript::scrollToLine(12.25), u"mv.scrollToLine(12.25)"_s);
    QCOMPARE(PageScript::scrollToId(u"intro-1"_s), u"mv.scrollToId(\"intro-1\")"_s);
    QCOMPARE(PageScript::awaitedCall(3, u"localImages"_s, QString()),
             u"mv.call(3, \"localImages\")"_s);
    QCOMPARE(PageScript::awaitedCall(4, u"exportHTML"_s, u"{}"_s),
             u"mv.call(4, \"exportHTML\", {})"_s);
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
    QTest::newRow("markdown in capitals") << QUrl(u"file:///notes/README.MD"_s) << A::OpenDocument;
    QTest::newRow("markdown long extension") << QUrl(u"file:///n/a.markdown"_s) << A::OpenDocument;
    QTest::newRow("png opens") << QUrl(u"file:///n/photo.png"_s) << A::OpenWithDefaultApp;
    QTest::newRow("pdf opens") << QUrl(u"file:///n/paper.pdf"_s) << A::OpenWithDefaultApp;
    QTest::newRow("csv opens") << QUrl(u"file:///n/data.csv"_s) << A::OpenWithDefaultApp;
    QTest::newRow("video opens") << QUrl(u"file:///n/clip.mp4"_s) << A::OpenWithDefaultApp;
    QTest::newRow("shell script revealed") << QUrl(u"file:///n/install.sh"_s) << A::Reveal;
    QTest::newRow("python revealed") << QUrl(u"file:///n/tool.py"_s) << A::Reveal;
    QTest::newRow("html revealed") << QUrl(u"file:///n/page.html"_s) << A::Reveal;
    QTest::newRow("launcher revealed") << QUrl(u"file:///n/app.desktop"_s) << A::Reveal;
    QTest::newRow("windows program revealed") << QUrl(u"file:///n/setup.exe"_s) << A::Reveal;
    QTest::newRow("appimage revealed") << QUrl(u"file:///n/App.AppImage"_s) << A::Reveal;
    QTest::newRow("jar revealed") << QUrl(u"file:///n/tool.jar"_s) << A::Reveal;
    QTest::newRow("unknown type revealed") << QUrl(u"file:///n/blob.zzqx"_s) << A::Reveal;
    QTest::newRow("archive revealed") << QUrl(u"file:///n/src.tar.gz"_s) << A::Reveal;
}

void TestPageContract::linkRouting()
{
    QFETCH(QUrl, url);
    QFETCH(LinkPolicy::Action, action);
    QCOMPARE(LinkPolicy::decide(url), action);
}

void TestPageContract::filesOnDisk()
{
    QTemporaryDir dir;
    const QString picture = dir.filePath(u"picture.png"_s);
    QFile file(picture);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    QCOMPARE(LinkPolicy::decideForFile(picture), LinkPolicy::Action::OpenWithDefaultApp);

    // A symbolic link or a file marked executable is never opened, whatever its name.
    const QString link = dir.filePath(u"link.png"_s);
    QVERIFY(QFile::link(picture, link));
    QCOMPARE(LinkPolicy::decideForFile(link), LinkPolicy::Action::Reveal);
    QVERIFY(file.setPermissions(file.permissions() | QFile::ExeOwner));
    QCOMPARE(LinkPolicy::decideForFile(picture), LinkPolicy::Action::Reveal);
    QCOMPARE(LinkPolicy::decideForFile(dir.path()), LinkPolicy::Action::Reveal);
}

void TestPageContract::assetAccess_data()
{
    QTest::addColumn<QUrl>("url");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QByteArray>("mime");

    QTest::newRow("image") << QUrl(u"mv-asset:///home/u/doc/img.png"_s) << u"/home/u/doc/img.png"_s
                           << QByteArray("image/png");
    QTest::newRow("standardised") << QUrl(u"mv-asset:///home/u/doc/../pic/a.JPG"_s)
                                  << u"/home/u/pic/a.JPG"_s << QByteArray("image/jpeg");
    QTest::newRow("encoded spaces") << QUrl(u"mv-asset:///a%20b/c%23d.svg"_s) << u"/a b/c#d.svg"_s
                                    << QByteArray("image/svg+xml");
    QTest::newRow("file scheme") << QUrl(u"file:///x/y.gif"_s) << u"/x/y.gif"_s
                                 << QByteArray("image/gif");
    QTest::newRow("audio") << QUrl(u"mv-asset:///m/s.mp3"_s) << u"/m/s.mp3"_s
                           << QByteArray("audio/mpeg");
    QTest::newRow("video") << QUrl(u"mv-asset:///m/v.webm"_s) << u"/m/v.webm"_s
                           << QByteArray("video/webm");
    QTest::newRow("text refused") << QUrl(u"mv-asset:///home/u/.ssh/id_rsa.txt"_s) << QString()
                                  << QByteArray();
    QTest::newRow("markdown refused")
        << QUrl(u"mv-asset:///home/u/notes.md"_s) << QString() << QByteArray();
    QTest::newRow("no extension refused")
        << QUrl(u"mv-asset:///etc/passwd"_s) << QString() << QByteArray();
    QTest::newRow("relative refused") << QUrl(u"mv-asset:img.png"_s) << QString() << QByteArray();
    QTest::newRow("other scheme refused")
        << QUrl(u"https://x/y.png"_s) << QString() << QByteArray();
}

void TestPageContract::assetAccess()
{
    QFETCH(QUrl, url);
    QFETCH(QString, file);
    QFETCH(QByteArray, mime);

    const auto resolved = LocalAssetHandler::fileFor(url);
    QCOMPARE(resolved.value_or(QString()), file);
    if (resolved)
        QCOMPARE(LocalAssetHandler::mimeTypeOf(*resolved), mime);
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
