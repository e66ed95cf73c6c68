// A day at the keyboard: the real lumo on its own X server (Xvfb), real key events
// typed into whatever has the focus (xdotool, through the X test extension), and the
// window's state read back through the diagnostic hooks.
#include "support/LumoDriver.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

// A document long enough to scroll through: a heading and a paragraph per section.
QByteArray longDocument(int sections)
{
    QByteArray text = "# Long document\n\n";
    for (int i = 1; i <= sections; ++i)
        text += "## Section " + QByteArray::number(i) + "\n\nParagraph " + QByteArray::number(i) +
                " with words enough to fill most of a line of the page, and then some more.\n\n";
    return text;
}

} // namespace

class TestKeyboard : public QObject, LumoDriver
{
    Q_OBJECT

public:
    TestKeyboard()
        : LumoDriver(keyboardEnvironment())
    {}

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void cleanup();
    void readingStartsAtTheKeyboard();
    void shiftTabStaysInTheEditor();
    void shownDocumentsTakeTheKeyboard();
    void zoomKeepsThePlace();
    void undoBackToTheSavedText();
    void tabsToldApartAndSwitched();
    void findInThePage();
    void tasksTickedFromTheKeyboard();
    void outlineFromTheKeyboard();

private:
    // The X server of this test, and no desktop portal: the appearance comes from the
    // palette.
    static QProcessEnvironment keyboardEnvironment();
    QString display() const { return m_extra.value(u"DISPLAY"_s); }
    void start(const QStringList &arguments);
    void xdotool(const QStringList &arguments);
    // xdotool key names, each pressed and released in turn.
    void keys(const QStringList &names);
    void type(const QString &text);
    QJsonObject tab() { return state().value(u"tab"_s).toObject(); }
    QString focus() { return state().value(u"focus"_s).toString(); }
    double number(const QString &expression) { return probe(expression).value(0).toDouble(); }

    QProcess m_xvfb;
    QString m_xdotool;
};

QProcessEnvironment TestKeyboard::keyboardEnvironment()
{
    QProcessEnvironment env;
    // A display number of our own: the first whose socket is free.
    for (int n = 100 + ::getpid() % 300; n < 1000; ++n) {
        if (!QFile::exists(u"/tmp/.X11-unix/X%1"_s.arg(n)) &&
            !QFile::exists(u"/tmp/.X%1-lock"_s.arg(n))) {
            env.insert(u"DISPLAY"_s, u":%1"_s.arg(n));
            break;
        }
    }
    env.insert(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
    env.insert(u"QT_QUICK_BACKEND"_s, u"software"_s);
    env.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, u"disabled:"_s);
    return env;
}

void TestKeyboard::initTestCase()
{
    const QString xvfb = QStandardPaths::findExecutable(u"Xvfb"_s);
    m_xdotool = QStandardPaths::findExecutable(u"xdotool"_s);
    QVERIFY2(!xvfb.isEmpty() && !m_xdotool.isEmpty(),
             "Xvfb and xdotool are needed (scripts/dependencies.sh installs them)");
    m_xvfb.start(xvfb,
                 {display(), u"-screen"_s, u"0"_s, u"1280x1024x24"_s, u"-nolisten"_s, u"tcp"_s});
    QVERIFY(m_xvfb.waitForStarted());
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(u"/tmp/.X11-unix/X"_s + display().mid(1)), 10000);
}

void TestKeyboard::cleanupTestCase()
{
    m_xvfb.terminate();
    m_xvfb.waitForFinished(5000);
}

void TestKeyboard::init()
{
    fresh();
}

void TestKeyboard::cleanup()
{
    stop();
}

void TestKeyboard::start(const QStringList &arguments)
{
    startLumo(arguments, "debugHooks=true\n");
    // Shown, with the keyboard, and its page rendered.
    QTRY_VERIFY_WITH_TIMEOUT(state().value(u"active"_s).toBool(), 20000);
    QTRY_VERIFY_WITH_TIMEOUT(!probe(u"document.querySelector('main > *') !== null"_s).isEmpty(),
                             20000);
}

void TestKeyboard::xdotool(const QStringList &arguments)
{
    QProcess xdotool;
    xdotool.setProcessEnvironment(environment());
    xdotool.start(m_xdotool, arguments);
    QVERIFY(xdotool.waitForFinished(20000));
    QCOMPARE(xdotool.exitCode(), 0);
    QTest::qWait(150);
}

void TestKeyboard::keys(const QStringList &names)
{
    xdotool(QStringList{u"key"_s, u"--delay"_s, u"40"_s} + names);
}

void TestKeyboard::type(const QString &text)
{
    xdotool({u"type"_s, u"--delay"_s, u"20"_s, u"--"_s, text});
}

void TestKeyboard::readingStartsAtTheKeyboard()
{
    // Footnotes at the end: one block much taller than the page guesses before it is seen.
    QByteArray text = longDocument(150);
    for (int i = 1; i <= 150; ++i)
        text += "See[^" + QByteArray::number(i) + "].\n\n";
    for (int i = 1; i <= 150; ++i)
        text += "[^" + QByteArray::number(i) +
                "]: A note long enough to wrap onto a second line of the page, with more words "
                "after it.\n";
    start({fixture(u"long.md"_s, text)});
    QCOMPARE(focus(), u"page"_s);
    keys({u"Next"_s});
    QTRY_VERIFY(number(u"window.scrollY"_s) > 300);
    const double afterPageDown = number(u"window.scrollY"_s);
    keys({u"space"_s});
    QTRY_VERIFY(number(u"window.scrollY"_s) > afterPageDown + 300);
    // End reaches the bottom and stays there once the blocks near it have their height.
    keys({u"End"_s});
    const QString belowTheWindow =
        u"document.documentElement.scrollHeight - window.scrollY - window.innerHeight"_s;
    QTRY_VERIFY(number(belowTheWindow) < 2);
    QTest::qWait(1500);
    QVERIFY2(number(belowTheWindow) < 2, qPrintable(probe(belowTheWindow).join(u' ')));
}

void TestKeyboard::shiftTabStaysInTheEditor()
{
    start({fixture(u"notes.md"_s, "plain")});
    keys({u"ctrl+e"_s});
    QTRY_COMPARE(focus(), u"editor"_s);
    keys({u"ctrl+End"_s, u"shift+Tab"_s, u"shift+ISO_Left_Tab"_s});
    QCOMPARE(focus(), u"editor"_s);
    type(u"typed"_s);
    QTRY_COMPARE(probe(u"document.querySelector('main p').textContent"_s),
                 QStringList{u"plaintyped"_s});
}

void TestKeyboard::shownDocumentsTakeTheKeyboard()
{
    start({fixture(u"first.md"_s, "# First\n\n" + longDocument(60))});
    const QString scrolled =
        u"document.querySelector('h1').textContent + '=' + (window.scrollY > 0)"_s;
    // A file handed over from the command line.
    QCOMPARE(run({fixture(u"second.md"_s, "# Second\n\n" + longDocument(60))}), 0);
    QTRY_COMPARE(state().value(u"current"_s).toInt(), 1);
    QTRY_COMPARE(focus(), u"page"_s);
    keys({u"Next"_s});
    QTRY_COMPARE(probe(scrolled), (QStringList{u"First=false"_s, u"Second=true"_s}));
    // Quick open.
    fixture(u"third.md"_s, "# Third\n\n" + longDocument(60));
    keys({u"ctrl+p"_s});
    QTRY_COMPARE(focus(), u"quickOpen"_s);
    type(u"third"_s);
    keys({u"Return"_s});
    QTRY_VERIFY(probe(scrolled).contains(u"Third=false"_s));
    QTRY_COMPARE(focus(), u"page"_s);
    keys({u"Next"_s});
    QTRY_VERIFY(probe(scrolled).contains(u"Third=true"_s));
    // Return in the sidebar (Ctrl+Shift+J takes the keyboard there).
    keys({u"ctrl+shift+j"_s});
    QTRY_COMPARE(focus(), u"sidebar"_s);
    keys({u"Up"_s, u"Up"_s, u"Return"_s});
    QTRY_VERIFY(probe(scrolled).contains(u"First=false"_s));
    QTRY_COMPARE(focus(), u"page"_s);
    keys({u"Next"_s});
    QTRY_VERIFY(probe(scrolled).contains(u"First=true"_s));
}

void TestKeyboard::zoomKeepsThePlace()
{
    start({fixture(u"long.md"_s, longDocument(150))});
    keys({u"Next"_s, u"Next"_s, u"Next"_s, u"Next"_s});
    QTRY_VERIFY(number(u"mv.topLine()"_s) > 50);
    const double reading = number(u"mv.topLine()"_s);
    for (const QString &key : {u"ctrl+plus"_s, u"ctrl+plus"_s, u"ctrl+minus"_s, u"ctrl+0"_s}) {
        keys({key});
        QTRY_VERIFY2(std::abs(number(u"mv.topLine()"_s) - reading) < 0.5, qPrintable(key));
    }
    // While editing, the editor keeps its line too, and the page with it.
    keys({u"ctrl+e"_s, u"Next"_s, u"Next"_s});
    QTRY_VERIFY(tab().value(u"editorTop"_s).toDouble() > reading);
    const double editing = tab().value(u"editorTop"_s).toDouble();
    for (const QString &key : {u"ctrl+plus"_s, u"ctrl+minus"_s, u"ctrl+minus"_s}) {
        keys({key});
        QCOMPARE(tab().value(u"editorTop"_s).toDouble(), editing);
        QTRY_VERIFY2(std::abs(number(u"mv.topLine()"_s) - editing) < 0.5, qPrintable(key));
    }
}

void TestKeyboard::undoBackToTheSavedText()
{
    start({fixture(u"notes.md"_s, "# Notes\n")});
    keys({u"ctrl+e"_s, u"ctrl+End"_s});
    type(u"more"_s);
    QTRY_VERIFY(state().value(u"modified"_s).toBool());
    QCOMPARE(state().value(u"tabs"_s).toArray().at(0).toString(), u"notes.md •"_s);
    for (int i = 0; i < 4 && state().value(u"modified"_s).toBool(); ++i)
        keys({u"ctrl+z"_s});
    QTRY_VERIFY(!state().value(u"modified"_s).toBool());
    QCOMPARE(state().value(u"tabs"_s).toArray().at(0).toString(), u"notes.md"_s);

    // What a tool pipes in is not an edit: it closes without asking.
    QCOMPARE(run({u"-"_s}, "# Piped\n"), 0);
    QTRY_COMPARE(state().value(u"tabs"_s).toArray().size(), 2);
    QVERIFY(!state().value(u"modified"_s).toBool());
    keys({u"ctrl+w"_s});
    QTRY_COMPARE(state().value(u"tabs"_s).toArray().size(), 1);
    QCOMPARE(focus(), u"editor"_s);
}

void TestKeyboard::tabsToldApartAndSwitched()
{
    start({fixture(u"pyenv/README.md"_s, "# Py\n")});
    QCOMPARE(run({fixture(u"rbenv/README.md"_s, "# Rb\n")}), 0);
    QTRY_COMPARE(state().value(u"tabs"_s).toArray(),
                 (QJsonArray{u"README.md — pyenv"_s, u"README.md — rbenv"_s}));
    QCOMPARE(state().value(u"current"_s).toInt(), 1);
    keys({u"ctrl+Prior"_s});
    QTRY_COMPARE(state().value(u"current"_s).toInt(), 0);
    QCOMPARE(focus(), u"page"_s);
    keys({u"ctrl+Next"_s});
    QTRY_COMPARE(state().value(u"current"_s).toInt(), 1);
    // From the editor too.
    keys({u"ctrl+e"_s, u"ctrl+Next"_s});
    QTRY_COMPARE(state().value(u"current"_s).toInt(), 0);
    QCOMPARE(focus(), u"page"_s);
    keys({u"ctrl+Prior"_s});
    QTRY_COMPARE(focus(), u"editor"_s);
}

void TestKeyboard::findInThePage()
{
    start({fixture(u"hay.md"_s,
                   "# Needle\n\nhay needle hay\n\n" + longDocument(40) + "\n\nthe last NEEDLE\n")});
    const auto count = [this] { return tab().value(u"findCount"_s).toString(); };
    keys({u"ctrl+f"_s});
    QTRY_COMPARE(focus(), u"find"_s);
    type(u"needle"_s);
    keys({u"Return"_s});
    QTRY_COMPARE(count(), u"1 of 3"_s);
    keys({u"ctrl+g"_s});
    QTRY_COMPARE(count(), u"2 of 3"_s);
    keys({u"F3"_s});
    QTRY_COMPARE(count(), u"3 of 3"_s);
    keys({u"ctrl+shift+g"_s});
    QTRY_COMPARE(count(), u"2 of 3"_s);
    keys({u"shift+F3"_s, u"shift+F3"_s});
    QTRY_COMPARE(count(), u"3 of 3"_s);
    // The field does not keep Ctrl+E (end of line on this desktop) from the mode switch.
    keys({u"ctrl+e"_s});
    QTRY_COMPARE(focus(), u"editor"_s);
    keys({u"ctrl+e"_s, u"ctrl+f"_s});
    QTRY_COMPARE(focus(), u"find"_s);
    // Escape from the page, not only from the field.
    xdotool({u"mousemove"_s, u"600"_s, u"500"_s, u"click"_s, u"1"_s});
    QTRY_COMPARE(focus(), u"page"_s);
    QVERIFY(tab().value(u"pageFind"_s).toBool());
    keys({u"Escape"_s});
    QTRY_VERIFY(!tab().value(u"pageFind"_s).toBool());
    QCOMPARE(focus(), u"page"_s);
}

void TestKeyboard::tasksTickedFromTheKeyboard()
{
    const QString file = fixture(u"tasks.md"_s, "# Tasks\n\n- [ ] first\n- [ ] second\n");
    start({file});
    QCOMPARE(focus(), u"page"_s);
    const auto shown = [this] {
        return probe(u"Array.from(document.querySelectorAll('.task-list-item-checkbox'), "
                     u"(box) => box.getAttribute('aria-checked') + "
                     u"(box === document.activeElement ? '*' : '')).join(' ')"_s)
            .value(0);
    };
    const auto ticked = [this] {
        return probe(u"document.querySelectorAll('li.checked').length"_s).value(0);
    };
    // The line is ticked, the list rendered from the new text, and the box keeps the keyboard.
    keys({u"Tab"_s, u"space"_s});
    QTRY_COMPARE(ticked(), u"1"_s);
    QTRY_COMPARE(shown(), u"true* false"_s);
    QVERIFY(state().value(u"modified"_s).toBool());
    keys({u"space"_s});
    QTRY_COMPARE(ticked(), u"0"_s);
    QTRY_COMPARE(shown(), u"false* false"_s);
    keys({u"Tab"_s, u"space"_s});
    QTRY_COMPARE(shown(), u"false true*"_s);
    keys({u"ctrl+s"_s});
    const auto saved = [&file] {
        QFile disk(file);
        return disk.open(QIODevice::ReadOnly) ? disk.readAll() : QByteArray();
    };
    QTRY_COMPARE(saved(), QByteArray("# Tasks\n\n- [ ] first\n- [x] second\n"));
}

void TestKeyboard::outlineFromTheKeyboard()
{
    start({fixture(u"long.md"_s, longDocument(60))});
    keys({u"ctrl+shift+o"_s});
    QTRY_COMPARE(focus(), u"outline"_s);
    keys({u"Down"_s, u"Down"_s, u"Down"_s, u"Down"_s, u"Up"_s, u"Return"_s});
    // The third section, the fourth row, is at the top.
    QTRY_VERIFY(std::abs(number(
                    u"document.getElementById('section-3').getBoundingClientRect().top"_s)) < 40);
    QTRY_COMPARE(focus(), u"page"_s);
    keys({u"ctrl+shift+o"_s});
    QTRY_COMPARE(focus(), u"outline"_s);
    type(u"section 4"_s);
    keys({u"Down"_s, u"Return"_s});
    QTRY_VERIFY(std::abs(number(
                    u"document.getElementById('section-40').getBoundingClientRect().top"_s)) < 40);
}

QTEST_GUILESS_MAIN(TestKeyboard)
#include "tst_keyboard.moc"
