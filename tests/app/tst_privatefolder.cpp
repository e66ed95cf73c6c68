// The single-instance socket's folder and peer checks: what counts as private, where
// the socket goes when the runtime folder is missing or open, and who is at the other end.
#include "app/PrivateFolder.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Lumo::App;

using namespace Qt::StringLiterals;

class TestPrivateFolder : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void problem_data();
    void problem();
    void socketFolder_data();
    void socketFolder();
    void peers();
};

namespace {

bool makeFolder(const QString &path, mode_t mode)
{
    return ::mkdir(QFile::encodeName(path).constData(), 0700) == 0 &&
           ::chmod(QFile::encodeName(path).constData(), mode) == 0;
}

} // namespace

void TestPrivateFolder::problem_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<bool>("isPrivate");

    QTest::newRow("private folder") << u"0700"_s << true;
    QTest::newRow("open to the group") << u"0750"_s << false;
    QTest::newRow("others may enter") << u"0701"_s << false;
    QTest::newRow("link to a private folder") << u"link"_s << false;
    QTest::newRow("a file") << u"file"_s << false;
    QTest::newRow("missing") << u"missing"_s << false;
    QTest::newRow("another user's") << u"owner"_s << false;
}

void TestPrivateFolder::problem()
{
    QFETCH(QString, kind);
    QFETCH(bool, isPrivate);

    QTemporaryDir dir;
    const QString path = dir.filePath(u"run"_s);
    if (kind.startsWith(u'0')) {
        QVERIFY(makeFolder(path, mode_t(kind.toUInt(nullptr, 8))));
    } else if (kind == u"link"_s) {
        QVERIFY(makeFolder(dir.filePath(u"real"_s), 0700));
        QVERIFY(QFile::link(dir.filePath(u"real"_s), path));
    } else if (kind == u"file"_s) {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
    } else if (kind == u"owner"_s) {
        if (::getuid() != 0)
            QSKIP("only root can give a folder to another user");
        QVERIFY(makeFolder(path, 0700));
        QCOMPARE(::chown(QFile::encodeName(path).constData(), 65534, 65534), 0);
    }
    const QString problem = PrivateFolder::problem(path);
    QVERIFY2(problem.isEmpty() == isPrivate, qPrintable(problem));
}

void TestPrivateFolder::socketFolder_data()
{
    QTest::addColumn<QString>("runtime");  // "", "private", "open"
    QTest::addColumn<QString>("squatter"); // what another user left at tmp/lumo-UID
    QTest::addColumn<QString>("chosen");   // "runtime" or "own"
    QTest::addColumn<bool>("usable");

    QTest::newRow("private runtime folder") << u"private"_s << QString() << u"runtime"_s << true;
    QTest::newRow("no runtime folder") << QString() << QString() << u"own"_s << true;
    QTest::newRow("open runtime folder") << u"open"_s << QString() << u"own"_s << true;
    QTest::newRow("own folder taken, open") << QString() << u"open"_s << u"own"_s << false;
    QTest::newRow("own folder taken by a link") << QString() << u"link"_s << u"own"_s << false;
}

void TestPrivateFolder::socketFolder()
{
    QFETCH(QString, runtime);
    QFETCH(QString, squatter);
    QFETCH(QString, chosen);
    QFETCH(bool, usable);

    QTemporaryDir dir;
    const QString tmp = dir.filePath(u"tmp"_s);
    QVERIFY(makeFolder(tmp, 01777));
    const QString runtimeFolder = dir.filePath(u"runtime"_s);
    const QString own = tmp + u"/lumo-%1"_s.arg(::getuid());
    if (!runtime.isEmpty())
        QVERIFY(makeFolder(runtimeFolder, runtime == u"private"_s ? 0700 : 0755));
    if (squatter == u"open"_s)
        QVERIFY(makeFolder(own, 0777));
    else if (squatter == u"link"_s)
        QVERIFY(QFile::link(runtimeFolder, own));

    const QByteArray savedRuntime = qgetenv("XDG_RUNTIME_DIR");
    const QByteArray savedTmp = qgetenv("TMPDIR");
    if (runtime.isEmpty())
        qunsetenv("XDG_RUNTIME_DIR");
    else
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtimeFolder));
    qputenv("TMPDIR", QFile::encodeName(tmp));
    const QString folder = PrivateFolder::forSockets();
    qputenv("XDG_RUNTIME_DIR", savedRuntime);
    qputenv("TMPDIR", savedTmp);

    QCOMPARE(folder, chosen == u"runtime"_s ? runtimeFolder : own);
    QCOMPARE(PrivateFolder::problem(folder).isEmpty(), usable);
}

void TestPrivateFolder::peers()
{
    int pair[2];
    QCOMPARE(::socketpair(AF_UNIX, SOCK_STREAM, 0, pair), 0);
    QVERIFY(PrivateFolder::peerIsThisUser(pair[0]));
    ::close(pair[0]);
    ::close(pair[1]);
    int pipe[2];
    QCOMPARE(::pipe(pipe), 0);
    QVERIFY(!PrivateFolder::peerIsThisUser(pipe[0]));
    ::close(pipe[0]);
    ::close(pipe[1]);
    QVERIFY(!PrivateFolder::peerIsThisUser(-1));
}

QTEST_MAIN(TestPrivateFolder)
#include "tst_privatefolder.moc"
