// The real lumo binary as a native Wayland client, under a headless Weston: no X
// display, nothing but the session type to say Wayland. Its platform, application
// id, single-instance socket and Open dialog are checked. Skipped when Weston or
// Qt's Wayland plugin (qt6-wayland) is missing.
#include "support/LumoHome.h"

#include <QFile>
#include <QLibraryInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::StringLiterals;

class TestWayland : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void runsAsANativeClient();

private:
    QProcessEnvironment environment() const;
    // Runs a short-lived lumo (a later launch or --post) to completion.
    int run(const QStringList &arguments);
    bool outputHas(const QByteArray &text, int timeoutMilliseconds = 20000);

    std::unique_ptr<LumoHome> m_home;
    std::unique_ptr<QProcess> m_weston;
    std::unique_ptr<QProcess> m_lumo;
    QByteArray m_output;
};

void TestWayland::init()
{
    const QString weston = QStandardPaths::findExecutable(u"weston"_s);
    if (weston.isEmpty())
        QSKIP("weston is not installed (Debian package weston)");
    if (!QFile::exists(QLibraryInfo::path(QLibraryInfo::PluginsPath) +
                       u"/platforms/libqwayland-generic.so"_s))
        QSKIP("Qt's Wayland plugin is not installed (Debian package qt6-wayland)");

    m_home = std::make_unique<LumoHome>();
    QVERIFY(m_home->isValid());
    QVERIFY(m_home->writeSettings("debugHooks=true\naskedToBeDefault=true\n"));

    m_weston = std::make_unique<QProcess>();
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(u"XDG_RUNTIME_DIR"_s, m_home->filePath(u"run"_s));
    m_weston->setProcessEnvironment(env);
    m_weston->setProcessChannelMode(QProcess::MergedChannels);
    m_weston->setStandardOutputFile(m_home->filePath(u"weston.log"_s));
    m_weston->start(weston, {u"--backend=headless-backend.so"_s, u"--socket=lumo-test"_s,
                             u"--idle-time=0"_s, u"--no-config"_s});
    QVERIFY(m_weston->waitForStarted());
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(m_home->filePath(u"run/lumo-test"_s)), 10000);
    m_output.clear();
}

void TestWayland::cleanup()
{
    for (auto *process : {m_lumo.get(), m_weston.get()}) {
        if (process) {
            process->kill();
            process->waitForFinished(5000);
        }
    }
    m_lumo.reset();
    m_weston.reset();
}

QProcessEnvironment TestWayland::environment() const
{
    QProcessEnvironment env = m_home->environment();
    for (const QString &name : {u"DISPLAY"_s, u"QT_QPA_PLATFORM"_s})
        env.remove(name);
    env.insert(u"XDG_SESSION_TYPE"_s, u"wayland"_s);
    env.insert(u"WAYLAND_DISPLAY"_s, u"lumo-test"_s);
    // Weston's headless backend offers no seat, and Qt 6.4's Wayland text input
    // then crashes (in QWaylandInputDevice::textInput) as soon as a text field
    // draws its cursor. A desktop session always has a seat; here text input goes
    // through Qt's own compose plugin instead.
    env.insert(u"QT_IM_MODULE"_s, u"compose"_s);
    return env;
}

int TestWayland::run(const QStringList &arguments)
{
    return LumoHome::run(environment(), QStringLiteral(LUMO_BINARY), arguments);
}

bool TestWayland::outputHas(const QByteArray &text, int timeoutMilliseconds)
{
    return QTest::qWaitFor([&] { return m_output.contains(text); }, timeoutMilliseconds);
}

void TestWayland::runsAsANativeClient()
{
    m_lumo = std::make_unique<QProcess>();
    m_lumo->setProcessEnvironment(environment());
    connect(m_lumo.get(), &QProcess::readyReadStandardOutput, this,
            [this] { m_output += m_lumo->readAllStandardOutput(); });
    m_lumo->start(QStringLiteral(LUMO_BINARY), {m_home->fixture(u"first.md"_s, "# First\n")});
    QVERIFY(m_lumo->waitForStarted());
    // Running once a posted notification reaches it through its socket.
    QVERIFY(QTest::qWaitFor(
        [this] {
            return run({u"--post"_s, u"lumoapp.debug.none"_s}) == 0;
        },
        30000));

    QCOMPARE(run({u"--post"_s, u"lumoapp.debug.platform"_s}), 0);
    QVERIFY2(outputHas("Lumo platform: wayland, app id lumo\n"), m_output.constData());

    // A later launch on the same session hands its file to the running Lumo.
    QCOMPARE(run({m_home->fixture(u"second.md"_s, "# Second\n")}), 0);
    QVERIFY(QTest::qWaitFor(
        [this] {
            run({u"--post"_s, u"lumoapp.debug.jsEveryPage"_s,
                 u"console.error('title:' + document.querySelector('main h1').textContent)"_s});
            return m_output.contains("title:First") && m_output.contains("title:Second");
        },
        30000));

    // The Open dialog comes up on Wayland too.
    QCOMPARE(run({u"--post"_s, u"lumoapp.debug.openPanelCheck"_s}), 0);
    QVERIFY2(outputHas("panel=true folders=true"), m_output.constData());
    QCOMPARE(m_lumo->state(), QProcess::Running);
}

QTEST_GUILESS_MAIN(TestWayland)
#include "tst_wayland.moc"
