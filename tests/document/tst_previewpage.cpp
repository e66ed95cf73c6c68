// The reading page and its bridge, in a real offscreen web view.
#include "base/Preferences.h"
#include "document/LocalAssetHandler.h"
#include "document/PageScript.h"
#include "support/WebTest.h"

#include <QDir>
#include <QImage>
#include <QJsonArray>
#include <QTcpServer>
#include <QTcpSocket>
#include <QWebEngineFindTextResult>
#include <QWebEngineView>
#include <sys/stat.h>

using namespace Lumo::Base;
using namespace Lumo::Document;

using namespace Qt::StringLiterals;

class TestPreviewPage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void rendersAndReportsItsOutline();
    void aLongTextArrivesInParts();
    void stylingCalls();
    void inlineCodeHasLiningFigures();
    void awaitedCalls();
    void scrolling();
    void longDocumentsLayOutWhatIsNear();
    void pageMessages_data();
    void pageMessages();
    void malformedMessagesAreIgnored_data();
    void malformedMessagesAreIgnored();
    void noScriptFromADocumentRuns();
    void localImagesLoadOnlyThroughTheAssetScheme();
    void hostileCorpusIsShownInert();
    void remoteImagesFollowTheirPreference();
    void linkClicksLeaveThePageAlone();

private:
    QJsonObject renderAndWait(const QString &text, const std::optional<QString> &base = {},
                              bool diff = false);
    QVariant eval(const QString &script) { return WebTest::evaluate(m_page, script); }

    QTemporaryDir m_dir;
    QWebEngineView *m_view = nullptr;
    PreviewPage *m_page = nullptr;
    qint64 m_revision = 0;
};

void TestPreviewPage::initTestCase()
{
    QVERIFY(m_dir.isValid());
    m_view = new QWebEngineView;
    m_page = new PreviewPage(m_view);
    m_view->setPage(m_page);
    m_view->resize(800, 600);
    m_view->show();
    m_page->loadIndex();
    QVERIFY(!WebTest::waitForMessage(m_page, u"ready"_s).isEmpty());
}

void TestPreviewPage::cleanupTestCase()
{
    delete m_view;
}

QJsonObject TestPreviewPage::renderAndWait(const QString &text, const std::optional<QString> &base,
                                           bool diff)
{
    ++m_revision;
    QJsonObject outline;
    auto connection =
        connect(m_page, &PreviewPage::messageReceived, this, [&](const QJsonObject &message) {
            if (message.value(u"type"_s) == u"outline"_s)
                outline = message;
        });
    m_page->call(PageScript::render(text, base, diff, m_revision));
    const QJsonObject rendered = WebTest::waitForMessage(m_page, u"rendered"_s);
    [&] { QCOMPARE(rendered.value(u"rev"_s).toInteger(), m_revision); }();
    // Posted right after "rendered", and only when the headings changed.
    (void)QTest::qWaitFor([&] { return !outline.isEmpty(); }, 500);
    disconnect(connection);
    return outline;
}

void TestPreviewPage::rendersAndReportsItsOutline()
{
    const QJsonObject outline =
        renderAndWait(u"# Intro\n\ntext\n\n## Intro\n\n### Ünïcode & <b>stuff</b>\n"_s);
    const QJsonArray items = outline.value(u"items"_s).toArray();
    // Each item's fields are the converter's (convert.test.mjs); here, that they arrive.
    QCOMPARE(items.size(), 3);
    QCOMPARE(items.at(1)[u"id"_s].toString(), u"intro-1"_s);
    QCOMPARE(eval(u"document.querySelectorAll('main.markdown > h1, main.markdown > h2').length"_s)
                 .toInt(),
             2);
}

void TestPreviewPage::aLongTextArrivesInParts()
{
    // Borders fall inside the surrogate pair, the escapes and the placeholder-like text.
    const QString line = u"A \U0001F600 \"quoted\" %1 \\ \u0001 end"_s;
    for (const qsizetype partSize : {1, 2, 3, 5, 8}) {
        m_page->call(PageScript::render(u"# Parts\n\n"_s + line, std::nullopt, false, ++m_revision,
                                        partSize));
        const QJsonObject rendered = WebTest::waitForMessage(m_page, u"rendered"_s);
        QCOMPARE(rendered.value(u"rev"_s).toInteger(), m_revision);
        QCOMPARE(eval(u"document.querySelector('main p').textContent"_s).toString(), line);
    }
}

void TestPreviewPage::stylingCalls()
{
    m_page->call(PageScript::setPrefs(1.3, u"serif"_s, u"narrow"_s, u"paper"_s));
    m_page->call(PageScript::setCustomCSS(u"main.markdown { --lumo-test: 42px; }"_s));
    QTRY_COMPARE(
        eval(
            u"getComputedStyle(document.querySelector('main')).getPropertyValue('--lumo-test').trim()"_s)
            .toString(),
        u"42px"_s);
    const QString lightBackground =
        eval(u"getComputedStyle(document.documentElement).getPropertyValue('--bg').trim()"_s)
            .toString();
    QVERIFY(!lightBackground.isEmpty());

    m_page->call(PageScript::setWindowAppearance(true));
    QTRY_VERIFY(eval(u"document.documentElement.classList.contains('dark')"_s).toBool());
    QVERIFY(eval(u"getComputedStyle(document.documentElement).getPropertyValue('--bg').trim()"_s)
                .toString() != lightBackground);
    m_page->call(PageScript::setWindowAppearance(false));
    QTRY_VERIFY(!eval(u"document.documentElement.classList.contains('dark')"_s).toBool());

    m_page->call(PageScript::setCustomCSS(QString()));
}

void TestPreviewPage::awaitedCalls()
{
    renderAndWait(u"# T\n\n$x^2$ and ![p](pic.png)\n"_s,
                  QUrl::fromLocalFile(m_dir.path() + u"/"_s).toString());

    QJsonValue images;
    m_page->callAwaited(u"localImages"_s, QString(),
                        [&](const QJsonValue &value, const QString &) { images = value; });
    QTRY_VERIFY(images.isArray());
    QCOMPARE(images.toArray().size(), 1);
    QVERIFY(images.toArray().at(0).toString().endsWith(u"/pic.png"_s));

    QJsonValue exported;
    m_page->callAwaited(u"exportHTML"_s, u"{}"_s,
                        [&](const QJsonValue &value, const QString &) { exported = value; });
    QTRY_VERIFY(exported.isObject());
    QVERIFY(exported[u"html"_s].toString().contains(u"<h1"_s));
    QCOMPARE(exported[u"hasMath"_s].toBool(), true);
    QString error;
    bool answered = false;
    m_page->callAwaited(u"noSuchCall"_s, QString(), [&](const QJsonValue &, const QString &e) {
        error = e;
        answered = true;
    });
    QTRY_VERIFY(answered);
    QVERIFY(!error.isEmpty());
}

void TestPreviewPage::inlineCodeHasLiningFigures()
{
    renderAndWait(u"Since `2015` and 2016.\n"_s);
    QVERIFY(eval(u"getComputedStyle(document.querySelector('main p code')).fontVariantNumeric"_s)
                .toString()
                .contains(u"lining-nums"_s));
}

void TestPreviewPage::scrolling()
{
    QString text;
    for (int i = 0; i < 300; ++i)
        text += u"Paragraph %1 with enough words to fill a line.\n\n"_s.arg(i);
    text += u"## Far down\n"_s;
    renderAndWait(text);

    // Asked to scroll, the page puts the line at the top without echoing it back.
    m_page->call(PageScript::scrollToLine(200));
    QTRY_VERIFY(std::abs(eval(u"mv.topLine()"_s).toDouble() - 200) < 2);

    // Scrolled by the reader, it reports the line now at the top.
    eval(u"window.scrollTo(0, 0)"_s);
    const QJsonObject top = WebTest::waitForMessage(m_page, u"topLine"_s);
    QVERIFY(top.value(u"line"_s).isDouble());
    QVERIFY(top.value(u"line"_s).toDouble() < 2);

    m_page->call(PageScript::scrollToId(u"far-down"_s));
    QTRY_VERIFY(eval(u"window.scrollY"_s).toDouble() > 1000);
}

void TestPreviewPage::longDocumentsLayOutWhatIsNear()
{
    QString text = u"top\n\n<img align=\"right\" src=\"x.png\" width=\"100\" height=\"300\">\n\n"_s;
    for (int i = 0; i < 700; ++i)
        text += i == 650 ? u"Paragraph with the needle.\n\n"_s : u"Paragraph %1.\n\n"_s.arg(i);
    renderAndWait(text);
    const auto chunkStyle = [this](int chunk, const QString &property) {
        return eval(u"getComputedStyle(document.querySelector('main').children[%1]).%2"_s.arg(chunk)
                        .arg(property))
            .toString();
    };
    // The blocks stand in chunks laid out only near the viewport, but for the chunk
    // holding the float and the blocks that wrap around it.
    QCOMPARE(eval(u"document.querySelector('main').children[3].localName"_s).toString(),
             u"lumo-chunk"_s);
    QCOMPARE(chunkStyle(0, u"contentVisibility"_s), u"visible"_s);
    QCOMPARE(chunkStyle(3, u"contentVisibility"_s), u"auto"_s);
    // A chunk far below takes the height estimated for its blocks until it is shown.
    const double estimate = chunkStyle(12, u"containIntrinsicSize"_s)
                                .split(u' ')
                                .last()
                                .chopped(2) // px
                                .toDouble();
    const double farHeight =
        eval(u"document.querySelector('main').children[12].getBoundingClientRect().height"_s)
            .toDouble();
    QVERIFY(farHeight > 0);
    QCOMPARE(qRound(farHeight), qRound(estimate));

    // Find in page reaches a block far down and shows its line.
    bool found = false;
    m_page->findText(u"needle"_s, {}, [&found](const QWebEngineFindTextResult &result) {
        found = result.numberOfMatches() == 1;
    });
    QTRY_VERIFY(found);
    const QString hit = u"document.querySelector('main p[data-line=\"1304\"]')"_s;
    QCOMPARE(eval(hit + u".textContent"_s).toString(), u"Paragraph with the needle."_s);
    QTRY_VERIFY(eval(hit + u".getBoundingClientRect().top"_s).toDouble() >= 0);
    QTRY_VERIFY(eval(hit + u".getBoundingClientRect().bottom <= innerHeight"_s).toBool());
    m_page->findText(QString());
}

void TestPreviewPage::pageMessages_data()
{
    QTest::addColumn<QString>("markdown");
    QTest::addColumn<QString>("action");
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QJsonValue>("value");

    // The diagram's context menu, opened as a right click would, then one of its items.
    const QString diagram = u"```mermaid\nflowchart TD\n  A --> B\n```\n"_s;
    const QString menuItem =
        u"(() => { const svg = document.querySelector('main .mermaid-diagram.rendered svg');"
        " if (!svg) return null;"
        " svg.dispatchEvent(new MouseEvent('contextmenu', {bubbles: true, clientX: 20, clientY: "
        "20}));"
        " return [...document.querySelectorAll('.lumo-menu button')]"
        ".find((b) => b.textContent === '%1') ?? null; })()"_s;
    QTest::newRow("diagram: Copy Image")
        << diagram << menuItem.arg(u"Copy Image"_s) << u"copyImage"_s << u"dataURL"_s
        << QJsonValue(u"data:image/png;base64,"_s);
    QTest::newRow("diagram: Save SVG") << diagram << menuItem.arg(u"Save SVG…"_s) << u"saveSVG"_s
                                       << u"name"_s << QJsonValue(u"flowchart"_s);
}

void TestPreviewPage::pageMessages()
{
    QFETCH(QString, markdown);
    QFETCH(QString, action);
    QFETCH(QString, type);
    QFETCH(QString, key);
    QFETCH(QJsonValue, value);

    renderAndWait(markdown);
    QJsonObject message;
    auto connection =
        connect(m_page, &PreviewPage::messageReceived, this, [&](const QJsonObject &m) {
            if (m.value(u"type"_s) == type)
                message = m;
        });
    // Controls such as copy buttons are added after the first paint, diagrams once
    // Mermaid has loaded.
    QTRY_VERIFY_WITH_TIMEOUT(eval(action + u" !== null"_s).toBool(), 20000);
    eval(action + u".click()"_s);
    QTRY_VERIFY_WITH_TIMEOUT(!message.isEmpty(), 10000);
    disconnect(connection);
    if (type == u"copyImage"_s) // the picture depends on the fonts; its form does not
        QVERIFY(message.value(key).toString().startsWith(value.toString()));
    else
        QCOMPARE(message.value(key), value);
}

void TestPreviewPage::malformedMessagesAreIgnored_data()
{
    QTest::addColumn<QString>("json");
    QTest::newRow("not json") << u"{type: ready"_s;
    QTest::newRow("array") << u"[\"ready\"]"_s;
    QTest::newRow("string") << u"\"ready\""_s;
    QTest::newRow("no type") << u"{\"rev\": 1}"_s;
    QTest::newRow("type not a string") << u"{\"type\": 1}"_s;
}

void TestPreviewPage::malformedMessagesAreIgnored()
{
    QFETCH(QString, json);
    QSignalSpy messages(m_page, &PreviewPage::messageReceived);
    m_page->receive(json);
    QCOMPARE(messages.count(), 0);
}

void TestPreviewPage::noScriptFromADocumentRuns()
{
    const QString hostile = uR"md(# Hostile

<script>window.pwned = 'script'</script>
<img src="nope.png" onerror="window.pwned = 'onerror'">
<svg><script>window.pwned = 'svg'</script><animate onbegin="window.pwned = 'animate'"/></svg>
<iframe srcdoc="<script>parent.pwned = 'iframe'</script>"></iframe>
<object data="javascript:window.pwned='object'"></object>
<a id="js" href="javascript:window.pwned = 'href'">click</a>
<form action="javascript:window.pwned='form'"><button id="b">go</button></form>
<math><mtext><table><mglyph><style><img src=x onerror="window.pwned='mxss'">
<div style="background:url(javascript:window.pwned='css')">styled</div>
[md link](javascript:window.pwned='md')
)md"_s;
    QSignalSpy messages(m_page, &PreviewPage::messageReceived);
    renderAndWait(hostile);
    eval(u"document.getElementById('js') && document.getElementById('js').click()"_s);
    eval(u"Array.from(document.querySelectorAll('main a')).forEach(a => a.click())"_s);
    // A document-made frame could otherwise post into the channel.
    eval(
        u"(() => { const f = document.createElement('iframe'); f.srcdoc = \"<script>parent.document.dispatchEvent(new CustomEvent('lumo-post', {detail: JSON.stringify({type: 'copy', text: 'frame'})}))</script>\"; document.body.appendChild(f); })()"_s);
    QTest::qWait(500);

    QCOMPARE(eval(u"typeof window.pwned"_s).toString(), u"undefined"_s);
    QCOMPARE(
        eval(
            u"document.querySelectorAll('main script, main iframe, main object, main embed, main form').length"_s)
            .toInt(),
        0);
    QCOMPARE(
        eval(
            u"Array.from(document.querySelectorAll('main *')).filter(e => Array.from(e.attributes).some(a => a.name.startsWith('on'))).length"_s)
            .toInt(),
        0);
    for (const QList<QVariant> &arguments : std::as_const(messages))
        QVERIFY(arguments.at(0).toJsonObject().value(u"type"_s) != u"copy"_s);
}

void TestPreviewPage::localImagesLoadOnlyThroughTheAssetScheme()
{
    QImage image(3, 2, QImage::Format_RGB32);
    image.fill(Qt::red);
    QVERIFY(image.save(m_dir.filePath(u"pic.png"_s)));
    QFile secret(m_dir.filePath(u"secret.txt"_s));
    QVERIFY(secret.open(QIODevice::WriteOnly));
    secret.write("secret");
    secret.close();
    // Hostile neighbours: a FIFO that would block its reader, a link out of the folder
    // (to a real image), and a NUL that hides the real extension.
    QVERIFY(QDir().mkpath(m_dir.filePath(u"docs"_s)));
    QCOMPARE(::mkfifo(QFile::encodeName(m_dir.filePath(u"docs/pipe.png"_s)).constData(), 0600), 0);
    QVERIFY(QFile::link(m_dir.filePath(u"pic.png"_s), m_dir.filePath(u"docs/out.png"_s)));
    QVERIFY(image.save(m_dir.filePath(u"docs/in.png"_s)));
    QVERIFY(image.save(m_dir.filePath(u"docs/picture.dat"_s), "PNG"));
    QObject owner;
    LocalAssetHandler::allow(&owner, m_dir.filePath(u"docs/README.md"_s), QString());

    const QString base = QUrl::fromLocalFile(m_dir.path() + u"/docs/"_s).toString();
    const QString nul = u"mv-asset://"_s + m_dir.filePath(u"docs/picture.dat"_s) + u"%00.png"_s;
    const QString in = m_dir.filePath(u"docs/in.png"_s);
    renderAndWait(u"![ok](in.png) ![no](../secret.txt) ![abs]("_s + in +
                      u") ![fifo](pipe.png) ![out](out.png) <img src=\""_s + in +
                      u"\"> <img src=\""_s + nul + u"\">\n"_s,
                  base);
    const QString sources = u"Array.from(document.querySelectorAll('main img')).map(i => i.src)"_s;
    const QStringList srcs = eval(sources).toStringList();
    QCOMPARE(srcs.size(), 7);
    QVERIFY2(srcs.at(0).startsWith(u"mv-asset:"_s), qPrintable(srcs.at(0)));
    QVERIFY(srcs.at(0).endsWith(u"/in.png"_s));

    const QString widths =
        u"Array.from(document.querySelectorAll('main img')).map(i => i.complete ? i.naturalWidth : -1)"_s;
    QTRY_COMPARE(eval(widths).toList(), (QVariantList{3, 0, 3, 0, 0, 3, 0}));
}

void TestPreviewPage::hostileCorpusIsShownInert()
{
    QFile corpus(QFINDTESTDATA("hostile/page.md"));
    QVERIFY(corpus.open(QIODevice::ReadOnly));
    renderAndWait(QString::fromUtf8(corpus.readAll()));
    QSignalSpy messages(m_page, &PreviewPage::messageReceived);
    const auto sent = [&](const QString &type) {
        QList<QJsonObject> found;
        for (const QList<QVariant> &arguments : std::as_const(messages)) {
            if (arguments.at(0).toJsonObject().value(u"type"_s) == type)
                found.append(arguments.at(0).toJsonObject());
        }
        return found;
    };

    // Copy takes what the code block shows, and the block shows all its text. The
    // button comes with the code's colouring, after the render.
    QTRY_VERIFY(eval(u"!!document.getElementById('hidden-code').parentElement"
                     u".querySelector('.code-copy')"_s)
                    .toBool());
    eval(
        u"document.getElementById('hidden-code').parentElement.querySelector('.code-copy').click()"_s);
    QTRY_COMPARE(sent(u"copy"_s).size(), 1);
    const QString shown = eval(u"document.getElementById('hidden-code').innerText"_s).toString();
    QCOMPARE(sent(u"copy"_s).at(0).value(u"text"_s).toString(), shown);
    QVERIFY2(shown.contains(u"| sh; rm -rf ~"_s), qPrintable(shown));

    // Nothing lies over the page.
    QCOMPARE(eval(u"getComputedStyle(document.getElementById('cover')).position"_s).toString(),
             u"static"_s);
    QVERIFY(eval(u"document.elementFromPoint(400, 300)?.id !== 'cover'"_s).toBool());

    // Only the converter's box toggles a line.
    eval(u"document.getElementById('forged').click()"_s);
    eval(u"document.getElementById('forged-drawn').click()"_s);
    eval(u"document.getElementById('forged-drawn').dispatchEvent(new KeyboardEvent('keydown', "
         u"{key: ' ', bubbles: true}))"_s);
    eval(u"document.querySelector('main .task-list-item-checkbox').click()"_s);
    QTRY_COMPARE(sent(u"toggleTask"_s).size(), 1);
    QCOMPARE(sent(u"toggleTask"_s).at(0).value(u"line"_s).toInt(), 9);
    QVERIFY(eval(u"document.getElementById('forged').disabled"_s).toBool());
    QCOMPARE(
        eval(u"document.getElementById('forged-drawn').getAttribute('aria-checked')"_s).toString(),
        u"false"_s);

    // The page's own classes are not the document's: what is shown is exported.
    QJsonValue exported;
    m_page->callAwaited(u"exportHTML"_s, u"{}"_s,
                        [&](const QJsonValue &value, const QString &) { exported = value; });
    QTRY_VERIFY(exported.isObject());
    QVERIFY(exported[u"html"_s].toString().contains(u"Shown in the reader, so kept"_s));

    // A diagram's directive cannot turn HTML labels back on.
    const QString diagram = u"document.querySelector('main .mermaid-diagram')"_s;
    QTRY_VERIFY_WITH_TIMEOUT(eval(diagram + u".classList.contains('rendered') || "_s + diagram +
                                  u".classList.contains('failed')"_s)
                                 .toBool(),
                             20000);
    QCOMPARE(eval(diagram + u".querySelectorAll('foreignObject, img, image').length"_s).toInt(), 0);
    QCOMPARE(eval(u"typeof window.pwned"_s).toString(), u"undefined"_s);
}

void TestPreviewPage::remoteImagesFollowTheirPreference()
{
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost));
    int fetches = 0;
    connect(&server, &QTcpServer::newConnection, this, [&] {
        while (QTcpSocket *socket = server.nextPendingConnection()) {
            ++fetches;
            socket->abort();
            socket->deleteLater();
        }
    });
    const QString origin = u"http://127.0.0.1:%1/"_s.arg(server.serverPort());
    const QString images = u"Array.from(document.querySelectorAll('main img, main svg image'))"_s;

    Preferences::shared().setLoadRemoteImages(false);
    renderAndWait(u"![r](%1a.png) <img src=\"%1b.png\" srcset=\"%1c.png 2x\">\n\n"
                  u"<svg width=\"9\" height=\"9\"><image href=\"%1d.png\" width=\"9\" "
                  u"height=\"9\"/></svg>\n"_s.arg(origin));
    QTRY_VERIFY(
        eval(images + u".filter(i => i.localName === 'img').every(i => i.complete)"_s).toBool());
    QCOMPARE(fetches, 0);
    // Nothing the page did not show goes into an export.
    QJsonValue exported;
    m_page->callAwaited(u"exportHTML"_s, u"{}"_s,
                        [&](const QJsonValue &value, const QString &) { exported = value; });
    QTRY_VERIFY(exported.isObject());
    QVERIFY2(!exported[u"html"_s].toString().contains(origin),
             qPrintable(exported[u"html"_s].toString()));

    Preferences::shared().setLoadRemoteImages(true);
    renderAndWait(u"![r](%1e.png)\n"_s.arg(origin));
    QTRY_VERIFY(fetches > 0);
}

void TestPreviewPage::linkClicksLeaveThePageAlone()
{
    renderAndWait(
        u"[web](https://example.org/x) [doc](other.md) [anchor](#top-heading)\n\n# Top heading\n"_s,
        QUrl::fromLocalFile(m_dir.path() + u"/"_s).toString());
    QSignalSpy clicks(m_page, &PreviewPage::linkClicked);
    const QUrl before = m_page->url();
    eval(u"document.querySelectorAll('main a')[0].click()"_s);
    QTRY_COMPARE(clicks.count(), 1);
    QCOMPARE(clicks.at(0).at(0).toUrl(), QUrl(u"https://example.org/x"_s));
    eval(u"document.querySelectorAll('main a')[1].click()"_s);
    QTRY_COMPARE(clicks.count(), 2);
    QCOMPARE(clicks.at(1).at(0).toUrl(), QUrl::fromLocalFile(m_dir.filePath(u"other.md"_s)));
    // In-page anchors scroll the page; nothing leaves it.
    eval(u"document.querySelectorAll('main a')[2].click()"_s);
    QTest::qWait(200);
    QCOMPARE(clicks.count(), 2);
    QCOMPARE(m_page->url().adjusted(QUrl::RemoveFragment), before.adjusted(QUrl::RemoveFragment));
    QVERIFY(!eval(u"document.querySelector('main h1') === null"_s).toBool());
}

LUMO_WEB_TEST_MAIN(TestPreviewPage)
#include "tst_previewpage.moc"
