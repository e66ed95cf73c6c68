#include "document/FileWatcher.h"

#include <memory>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

// Real files and real inotify. Waits are generous multiples of the watcher's delays;
// what is checked is how many calls arrive, never when.
class TestFileWatcher : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
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

QTEST_GUILESS_MAIN(TestFileWatcher)
#include "tst_filewatcher.moc"
