#include "document/FileWatcher.h"

#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <sys/inotify.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Lumo::Document;

using namespace Qt::StringLiterals;

namespace {

// A process of the test's own that uses up the user's inotify instances or watches
// and holds them until it is destroyed. Watches go on files of its own, made in
// folder, a few dozen instances each watching all of them.
class InotifyHog
{
public:
    enum class Resource { Instances, Watches };

    InotifyHog(Resource resource, const QString &folder)
    {
        int ready[2];
        int release[2];
        if (::pipe(ready) != 0 || ::pipe(release) != 0)
            return;
        const QByteArray base = QFile::encodeName(folder);
        m_pid = ::fork();
        if (m_pid == 0) {
            ::close(ready[0]);
            ::close(release[1]);
            char held = exhaust(resource, base) ? 1 : 0;
            (void)!::write(ready[1], &held, 1);
            (void)!::read(release[0], &held, 1); // until the test closes its end
            ::_exit(0);
        }
        ::close(ready[1]);
        ::close(release[0]);
        m_release = release[1];
        char held = 0;
        m_holding = m_pid > 0 && ::read(ready[0], &held, 1) == 1 && held == 1;
        ::close(ready[0]);
    }
    ~InotifyHog()
    {
        if (m_release >= 0)
            ::close(m_release);
        if (m_pid > 0)
            ::waitpid(m_pid, nullptr, 0);
    }

    bool isHolding() const { return m_holding; }

private:
    static bool exhaust(Resource resource, const QByteArray &folder)
    {
        if (resource == Resource::Instances) {
            while (inotify_init1(IN_CLOEXEC) >= 0) {
            }
            return errno == EMFILE;
        }
        QFile limit(u"/proc/sys/fs/inotify/max_user_watches"_s);
        if (!limit.open(QIODevice::ReadOnly))
            return false;
        const long files = limit.readAll().trimmed().toLong() / 32 + 1;
        QList<QByteArray> names;
        for (long i = 0; i < files; ++i) {
            names.append(folder + '/' + QByteArray::number(qlonglong(i)));
            const int fd = ::open(names.last().constData(), O_CREAT | O_WRONLY, 0600);
            if (fd < 0)
                return false;
            ::close(fd);
        }
        for (;;) {
            const int instance = inotify_init1(IN_CLOEXEC);
            if (instance < 0)
                return false;
            for (const QByteArray &name : std::as_const(names)) {
                if (inotify_add_watch(instance, name.constData(), IN_MODIFY) < 0)
                    return errno == ENOSPC;
            }
        }
    }

    pid_t m_pid = -1;
    int m_release = -1;
    bool m_holding = false;
};

} // namespace

// Real files and real inotify. Waits are generous multiples of the watcher's delays;
// what is checked is how many calls arrive, never when.
class TestFileWatcher : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    // First: the process's shared inotify descriptor must not exist yet.
    void usedUpInotifyIsToldAndRetried_data();
    void usedUpInotifyIsToldAndRetried();
    void followsSymbolicLinksAndTheirRetargeting();
    void burstsOfWritesGiveOneCall_data();
    void burstsOfWritesGiveOneCall();
    void aFileWrittenWithoutPauseIsReportedAsItGoes();
    void atomicSaveGivesOneCallAndStaysAttached();
    void deleteThenRecreateGivesTwoCalls();
    void renameAwayAndBack();
    void rewatchingAnotherPathCancelsThePendingRetry();
    void stoppingAndDestroyingSilenceTheWatcher();
    void twoWatchersOfOneFileAreIndependent();
    void noDescriptorLeak();

private:
    QString path(const QString &name) const { return m_dir->filePath(name); }
    static void write(const QString &path, const QByteArray &bytes,
                      QIODevice::OpenMode mode = QIODevice::WriteOnly)
    {
        QFile file(path);
        QVERIFY(file.open(mode));
        file.write(bytes);
    }
    // Lets every pending delivery run: well past debounce and retry.
    static void settle() { QTest::qWait(700); }

    std::unique_ptr<QTemporaryDir> m_dir;
    int m_calls = 0;
    std::unique_ptr<FileWatcher> m_watcher;
};

void TestFileWatcher::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_calls = 0;
    m_watcher = std::make_unique<FileWatcher>([this] { ++m_calls; });
}

void TestFileWatcher::burstsOfWritesGiveOneCall_data()
{
    QTest::addColumn<int>("writes");
    QTest::newRow("one write") << 1;
    QTest::newRow("two writes inside the debounce") << 2;
    QTest::newRow("a burst of appends") << 10;
}

void TestFileWatcher::burstsOfWritesGiveOneCall()
{
    QFETCH(int, writes);
    const QString file = path(u"doc.md"_s);
    write(file, "start"_ba);
    m_watcher->watch(file);
    QVERIFY(m_watcher->isAttached());

    for (int i = 0; i < writes; ++i)
        write(file, "more"_ba, QIODevice::Append);
    QTRY_COMPARE(m_calls, 1);
    settle();
    QCOMPARE(m_calls, 1);
}

// A log or a streaming tool never pauses as long as the debounce.
void TestFileWatcher::aFileWrittenWithoutPauseIsReportedAsItGoes()
{
    const QString file = path(u"log.md"_s);
    write(file, "start\n"_ba);
    m_watcher->watch(file);
    for (int i = 0; i < 24; ++i) {
        write(file, "line\n"_ba, QIODevice::Append);
        QTest::qWait(FileWatcher::debounceMilliseconds / 2);
    }
    const int whileWriting = m_calls;
    QVERIFY2(whileWriting >= 2, qPrintable(u"%1 calls while writing"_s.arg(whileWriting)));
    QVERIFY(whileWriting < 24);
    settle();
    QVERIFY(m_calls <= whileWriting + 1);
}

void TestFileWatcher::atomicSaveGivesOneCallAndStaysAttached()
{
    const QString file = path(u"doc.md"_s);
    write(file, "v1"_ba);
    m_watcher->watch(file);

    const QString temporary = path(u".doc.md.tmp"_s);
    write(temporary, "v2"_ba);
    QVERIFY(::rename(QFile::encodeName(temporary).constData(),
                     QFile::encodeName(file).constData()) == 0);
    QTRY_COMPARE(m_calls, 1);
    settle();
    QCOMPARE(m_calls, 1);
    QVERIFY(m_watcher->isAttached());

    // Attached to the new file: its next change is seen too.
    write(file, "v3"_ba, QIODevice::Append);
    QTRY_COMPARE(m_calls, 2);
}

void TestFileWatcher::deleteThenRecreateGivesTwoCalls()
{
    const QString file = path(u"doc.md"_s);
    write(file, "v1"_ba);
    m_watcher->watch(file);

    QVERIFY(QFile::remove(file));
    QTRY_COMPARE(m_calls, 1);
    settle();
    QCOMPARE(m_calls, 1);
    QVERIFY(!m_watcher->isAttached());

    write(file, "v2"_ba);
    QTRY_COMPARE(m_calls, 2);
    QVERIFY(m_watcher->isAttached());
    settle();
    QCOMPARE(m_calls, 2);
}

void TestFileWatcher::renameAwayAndBack()
{
    const QString file = path(u"doc.md"_s);
    const QString away = path(u"moved.md"_s);
    write(file, "v1"_ba);
    m_watcher->watch(file);

    QVERIFY(QFile::rename(file, away));
    QTRY_COMPARE(m_calls, 1);
    // Changes to the moved file are no longer ours.
    write(away, "elsewhere"_ba, QIODevice::Append);
    settle();
    QCOMPARE(m_calls, 1);

    QVERIFY(QFile::rename(away, file));
    QTRY_COMPARE(m_calls, 2);
    QVERIFY(m_watcher->isAttached());
}

void TestFileWatcher::rewatchingAnotherPathCancelsThePendingRetry()
{
    const QString missing = path(u"later.md"_s);
    const QString other = path(u"other.md"_s);
    write(other, "x"_ba);
    m_watcher->watch(missing);
    QVERIFY(!m_watcher->isAttached());

    m_watcher->watch(other);
    write(missing, "appears"_ba);
    settle();
    QCOMPARE(m_calls, 0);
    QCOMPARE(m_watcher->path(), other);
}

void TestFileWatcher::stoppingAndDestroyingSilenceTheWatcher()
{
    const QString file = path(u"doc.md"_s);
    write(file, "v1"_ba);
    m_watcher->watch(file);
    m_watcher->watch(QString());
    write(file, "v2"_ba, QIODevice::Append);
    settle();
    QCOMPARE(m_calls, 0);

    // A change whose delivery is still pending when the watcher goes.
    m_watcher->watch(file);
    write(file, "v3"_ba, QIODevice::Append);
    QTest::qWait(20);
    m_watcher.reset();
    settle();
    QCOMPARE(m_calls, 0);
}

void TestFileWatcher::twoWatchersOfOneFileAreIndependent()
{
    const QString file = path(u"doc.md"_s);
    write(file, "v1"_ba);
    int otherCalls = 0;
    auto other = std::make_unique<FileWatcher>([&otherCalls] { ++otherCalls; });
    m_watcher->watch(file);
    other->watch(file);

    other.reset();
    write(file, "v2"_ba, QIODevice::Append);
    QTRY_COMPARE(m_calls, 1);
    QCOMPARE(otherCalls, 0);
}

void TestFileWatcher::noDescriptorLeak()
{
    const auto openDescriptors = [] {
        return QDir(u"/proc/self/fd"_s).entryList(QDir::Files | QDir::System).size();
    };
    // Kernel watches still held by the process, as listed in fdinfo.
    const auto kernelWatches = [] {
        qsizetype count = 0;
        const QDir fdinfo(u"/proc/self/fdinfo"_s);
        for (const QString &name : fdinfo.entryList(QDir::Files)) {
            QFile info(fdinfo.filePath(name));
            if (info.open(QIODevice::ReadOnly))
                count += info.readAll().count("inotify wd:");
        }
        return count;
    };
    const QString file = path(u"doc.md"_s);
    write(file, "v1"_ba);
    m_watcher->watch(file); // the process-wide inotify descriptor now exists
    const qsizetype before = openDescriptors();
    const qsizetype watchesBefore = kernelWatches();
    QVERIFY(watchesBefore >= 1);

    for (int i = 0; i < 50; ++i) {
        FileWatcher watcher([] {});
        watcher.watch(file);
        watcher.watch(path(u"missing.md"_s));
        watcher.watch(file);
    }
    QCOMPARE(openDescriptors(), before);
    QCOMPARE(kernelWatches(), watchesBefore);
}

void TestFileWatcher::usedUpInotifyIsToldAndRetried_data()
{
    QTest::addColumn<InotifyHog::Resource>("resource");
    QTest::newRow("instances") << InotifyHog::Resource::Instances;
    QTest::newRow("watches") << InotifyHog::Resource::Watches;
}

void TestFileWatcher::usedUpInotifyIsToldAndRetried()
{
    QFETCH(InotifyHog::Resource, resource);
    const QString file = path(u"doc.md"_s);
    write(file, "v1"_ba);
    QVERIFY(QDir(m_dir->path()).mkdir(u"hog"_s));
    QSignalSpy blocked(m_watcher.get(), &FileWatcher::blockedChanged);
    {
        const InotifyHog hog(resource, path(u"hog"_s));
        QVERIFY(hog.isHolding());
        m_watcher->watch(file);
        QVERIFY(!m_watcher->isAttached());
        QVERIFY(m_watcher->isBlocked());
        // A missing file is no failure to watch.
        m_watcher->watch(path(u"missing.md"_s));
        QVERIFY(!m_watcher->isBlocked());
        m_watcher->watch(file);
        QVERIFY(m_watcher->isBlocked());
        write(file, "v2"_ba, QIODevice::Append);
    }
    QTRY_VERIFY(m_watcher->isAttached());
    QVERIFY(!m_watcher->isBlocked());
    QCOMPARE(blocked.count(), 4);
    // A change may have been missed meanwhile.
    QTRY_COMPARE(m_calls, 1);
    write(file, "v3"_ba, QIODevice::Append);
    QTRY_COMPARE(m_calls, 2);
}

void TestFileWatcher::followsSymbolicLinksAndTheirRetargeting()
{
    // outer.md -> link.md -> real.md, relative as dotfile managers make them.
    write(path(u"real.md"_s), "real"_ba);
    write(path(u"other.md"_s), "other"_ba);
    const QByteArray folder = QFile::encodeName(m_dir->path());
    QCOMPARE(::symlink("real.md", folder + "/link.md"), 0);
    QCOMPARE(::symlink("link.md", folder + "/outer.md"), 0);
    m_watcher->watch(path(u"outer.md"_s));

    write(path(u"real.md"_s), " changed"_ba, QIODevice::Append);
    QTRY_COMPARE(m_calls, 1);

    // The middle link now names another file, replaced the way ln -sf does it.
    QCOMPARE(::symlink("other.md", folder + "/link.tmp"), 0);
    QCOMPARE(::rename(folder + "/link.tmp", folder + "/link.md"), 0);
    QTRY_COMPARE(m_calls, 2);
    write(path(u"other.md"_s), " changed"_ba, QIODevice::Append);
    QTRY_COMPARE(m_calls, 3);
    write(path(u"real.md"_s), " again"_ba, QIODevice::Append);
    settle();
    QCOMPARE(m_calls, 3);
}

QTEST_GUILESS_MAIN(TestFileWatcher)
#include "tst_filewatcher.moc"
