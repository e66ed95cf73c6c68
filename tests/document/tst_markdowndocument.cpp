#include "document/LineEndings.h"
#include "document/MarkdownDocument.h"
#include "document/OpenDocument.h"

#include <csignal>
#include <cstring>
#include <QFile>
#include <QSignalSpy>
#include <QStringEncoder>
#include <QTemporaryDir>
#include <QTest>
#include <sys/resource.h>
#include <sys/stat.h>

using namespace Lumo::Document;

using namespace Qt::StringLiterals;

class TestMarkdownDocument : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void readsWhatItWrites_data();
    void readsWhatItWrites();
    void newDocumentIsEmptyUtf8();
    void refusesWhatIsNotARegularFile_data();
    void refusesWhatIsNotARegularFile();
    void saveReplacesTheFileKeepingItsPermissions();
    void saveWritesThroughASymbolicLink();
    void failedSaveSaysWhy();
    void saveRefusedByTheSystemSaysItsReason();
    void openEditSaveReopen_data();
    void openEditSaveReopen();
    void replaceableOnlyWhenNothingIsLost_data();
    void replaceableOnlyWhenNothingIsLost();
    void editsKeepLineEndings_data();
    void editsKeepLineEndings();
    void anEditTakenWhereItWasKeepsLineEndings_data() { editsKeepLineEndings_data(); }
    void anEditTakenWhereItWasKeepsLineEndings();
    void anEditOfTextsThatWentApartTakesTheWholeText();

private:
    QString path(const QString &name) const { return m_dir->filePath(name); }
    static void put(const QString &path, const QByteArray &bytes)
    {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }
    static QByteArray contents(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestMarkdownDocument::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
}

void TestMarkdownDocument::readsWhatItWrites_data()
{
    QTest::addColumn<QByteArray>("original");
    QTest::addColumn<QString>("appended");
    QTest::addColumn<QByteArray>("saved");

    QTest::newRow("empty file") << QByteArray() << u"x"_s << "x"_ba;
    QTest::newRow("utf-8 mark kept")
        << "\xEF\xBB\xBF# A\r\n"_ba << u"é"_s << "\xEF\xBB\xBF# A\r\n\xC3\xA9"_ba;
    QTest::newRow("utf-16be mark kept")
        << "\xFE\xFF\0a"_ba << u"b"_s << QByteArray("\xFE\xFF\0a\0b", 6);
    QTest::newRow("windows-1252 stays windows-1252")
        << "\x93q\x94"_ba << u"\u2014"_s << "\x93q\x94\x97"_ba;
    QTest::newRow("latin-1 with a new character becomes utf-8")
        << "caf\xE9\x81"_ba << u"→"_s << "caf\xC3\xA9\xC2\x81\xE2\x86\x92"_ba;
}

void TestMarkdownDocument::readsWhatItWrites()
{
    QFETCH(QByteArray, original);
    QFETCH(QString, appended);
    QFETCH(QByteArray, saved);

    const QString file = path(u"doc.md"_s);
    put(file, original);
    auto document = MarkdownDocument::read(file);
    QVERIFY(document);
    QCOMPARE(document->data(), original);

    document->text += appended;
    QString error;
    QVERIFY2(document->write(file, &error), qPrintable(error));
    QCOMPARE(contents(file), saved);
}

void TestMarkdownDocument::newDocumentIsEmptyUtf8()
{
    const MarkdownDocument document;
    QVERIFY(document.text.isEmpty());
    QCOMPARE(document.encoding, TextEncoding::utf8());
    QVERIFY(document.data().isEmpty());
}

void TestMarkdownDocument::refusesWhatIsNotARegularFile_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("message");

    QTest::newRow("folder") << u"folder.md"_s << u"“folder.md” is a folder, not a Markdown file."_s;
    QTest::newRow("fifo") << u"pipe.md"_s
                          << u"“pipe.md” is not a regular file and cannot be opened."_s;
    QTest::newRow("missing") << u"gone.md"_s << u"The file “gone.md” does not exist."_s;
}

void TestMarkdownDocument::refusesWhatIsNotARegularFile()
{
    QFETCH(QString, name);
    QFETCH(QString, message);

    QVERIFY(QDir(m_dir->path()).mkdir(u"folder.md"_s));
    QCOMPARE(::mkfifo(QFile::encodeName(path(u"pipe.md"_s)).constData(), 0600), 0);

    QString error;
    QVERIFY(!MarkdownDocument::read(path(name), &error));
    QCOMPARE(error, message);
}

void TestMarkdownDocument::saveReplacesTheFileKeepingItsPermissions()
{
    const QString file = path(u"doc.md"_s);
    put(file, "old"_ba);
    const auto permissions = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup;
    QVERIFY(QFile::setPermissions(file, permissions));
    struct stat before
    {
    };
    QCOMPARE(::stat(QFile::encodeName(file).constData(), &before), 0);

    QVERIFY(MarkdownDocument{u"new"_s}.write(file));

    struct stat after
    {
    };
    QCOMPARE(::stat(QFile::encodeName(file).constData(), &after), 0);
    QVERIFY2(before.st_ino != after.st_ino, "a save must replace the file, not rewrite it");
    QCOMPARE(QFile::permissions(file) & ~(QFile::ReadUser | QFile::WriteUser), permissions);
    QCOMPARE(contents(file), "new"_ba);
}

void TestMarkdownDocument::saveWritesThroughASymbolicLink()
{
    const QString target = path(u"real.md"_s);
    const QString link = path(u"link.md"_s);
    put(target, "old"_ba);
    QVERIFY(QFile::link(target, link));

    QVERIFY(MarkdownDocument{u"new"_s}.write(link));
    QVERIFY(QFileInfo(link).isSymLink());
    QCOMPARE(contents(target), "new"_ba);
}

void TestMarkdownDocument::failedSaveSaysWhy()
{
    QString error;
    QVERIFY(!MarkdownDocument{u"new"_s}.write(path(u"missing/doc.md"_s), &error));
    QVERIFY2(error.startsWith(u"The file “doc.md” could not be saved: "_s), qPrintable(error));
}

void TestMarkdownDocument::saveRefusedByTheSystemSaysItsReason()
{
    const QString file = path(u"doc.md"_s);
    put(file, "old"_ba);
    // A file-size limit of this process fails the write part way, as a full disk does.
    rlimit limit{};
    QCOMPARE(::getrlimit(RLIMIT_FSIZE, &limit), 0);
    const rlimit original = limit;
    limit.rlim_cur = 4096;
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    QCOMPARE(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    QString error;
    const bool saved = MarkdownDocument{QString(100'000, u'x')}.write(file, &error);
    ::setrlimit(RLIMIT_FSIZE, &original);
    std::signal(SIGXFSZ, handler);

    QVERIFY(!saved);
    const QString reason = QString::fromLocal8Bit(std::strerror(EFBIG));
    QVERIFY2(error.endsWith(reason), qPrintable(error));
    QCOMPARE(contents(file), "old"_ba);
}

void TestMarkdownDocument::openEditSaveReopen_data()
{
    QTest::addColumn<QByteArray>("original");
    QTest::addColumn<QByteArray>("encoding");

    // Each encoding's detection and bytes are tst_textencoding's; these are the wiring,
    // for a file with a mark and one guessed from its bytes.
    QTest::newRow("utf-16le with mark") << QByteArray("\xFF\xFE#\0 \0T\0\n\0", 10) << "UTF-16LE"_ba;
    QTest::newRow("koi8-r")
        << QByteArray(QStringEncoder("KOI8-R").encode(
               u"# Заметки\n\nПривет, мир! Это текст в кодировке КОИ-8, он должен прочитаться правильно.\n"_s))
        << "KOI8-R"_ba;
}

void TestMarkdownDocument::openEditSaveReopen()
{
    QFETCH(QByteArray, original);
    QFETCH(QByteArray, encoding);
    const QString file = path(u"doc.md"_s);
    put(file, original);

    std::unique_ptr<OpenDocument> document(OpenDocument::open(file, nullptr));
    QVERIFY(document);
    QCOMPARE(document->encoding().encoding.toUpper(), encoding.toUpper());
    QSignalSpy modified(document.get(), &OpenDocument::modifiedChanged);
    const QString edited = document->text() + u"end\n"_s;
    document->setText(edited);
    QVERIFY(document->isModified());
    QVERIFY(document->save());
    QVERIFY(!document->isModified());
    QCOMPARE(modified.count(), 2);
    // Edited and edited back (as undo does) is the saved text again.
    document->setText(edited + u"x"_s);
    QVERIFY(document->isModified());
    document->setText(edited);
    QVERIFY(!document->isModified());
    QCOMPARE(modified.count(), 4);

    std::unique_ptr<OpenDocument> reopened(OpenDocument::open(file, nullptr));
    QVERIFY(reopened);
    QCOMPARE(reopened->text(), edited);
    QCOMPARE(reopened->encoding(), document->encoding());
    // Untouched, the original bytes stay as they were up to the edit.
    QVERIFY(contents(file).startsWith(original));
}

void TestMarkdownDocument::replaceableOnlyWhenNothingIsLost_data()
{
    QTest::addColumn<bool>("onDisk");
    QTest::addColumn<QString>("start"); // untitled: its text; on disk: the file's
    QTest::addColumn<QString>("edit");  // empty: no edit
    QTest::addColumn<bool>("replaceable");

    QTest::newRow("untitled, empty") << false << QString() << QString() << true;
    QTest::newRow("untitled, piped text") << false << u"# Piped\n"_s << QString() << false;
    QTest::newRow("untitled, typed") << false << QString() << u"x"_s << false;
    QTest::newRow("saved, untouched") << true << u"# Saved\n"_s << QString() << true;
    QTest::newRow("saved, edited") << true << u"# Saved\n"_s << u"# Other\n"_s << false;
}

void TestMarkdownDocument::replaceableOnlyWhenNothingIsLost()
{
    QFETCH(bool, onDisk);
    QFETCH(QString, start);
    QFETCH(QString, edit);
    QFETCH(bool, replaceable);
    std::unique_ptr<OpenDocument> document;
    if (onDisk) {
        QFile file(path(u"replaceable.md"_s));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(start.toUtf8());
        file.close();
        document.reset(OpenDocument::open(file.fileName(), nullptr));
        QVERIFY(document);
    } else {
        document = std::make_unique<OpenDocument>(start);
    }
    if (!edit.isEmpty())
        document->setText(edit);
    QCOMPARE(document->canBeReplaced(), replaceable);
}

void TestMarkdownDocument::editsKeepLineEndings_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("edited");
    QTest::addColumn<QString>("result");

    QTest::newRow("lf") << u"a\nb\n"_s << u"a\nbc\n"_s << u"a\nbc\n"_s;
    QTest::newRow("crlf, typing") << u"a\r\nb\r\n"_s << u"ax\nb\n"_s << u"ax\r\nb\r\n"_s;
    QTest::newRow("crlf, new line") << u"a\r\nb\r\n"_s << u"a\nx\nb\n"_s << u"a\r\nx\r\nb\r\n"_s;
    QTest::newRow("crlf, joined lines") << u"a\r\nb\r\nc"_s << u"ab\nc"_s << u"ab\r\nc"_s;
    QTest::newRow("cr, new line at the end") << u"a\rb"_s << u"a\nb\n"_s << u"a\rb\r"_s;
    QTest::newRow("cr, everything replaced") << u"a\rb\r"_s << u"x\ny"_s << u"x\ry"_s;
    QTest::newRow("mixed, untouched lines kept")
        << u"a\r\nb\nc\rd\r\n"_s << u"a\nB\nc\nd\n"_s << u"a\r\nB\nc\rd\r\n"_s;
    QTest::newRow("mixed, new line takes the most frequent")
        << u"a\r\nb\r\nc\n"_s << u"a\nb\nc\nd\n"_s << u"a\r\nb\r\nc\nd\r\n"_s;
    QTest::newRow("blank lines, one removed")
        << u"a\r\n\r\n\r\nb"_s << u"a\n\nb"_s << u"a\r\n\r\nb"_s;
    QTest::newRow("unchanged") << u"a\r\nb\rc\n"_s << u"a\nb\nc\n"_s << u"a\r\nb\rc\n"_s;
    QTest::newRow("emptied") << u"a\r\n"_s << QString() << QString();
    QTest::newRow("lone cr before a new line feed")
        << u"a\rb\nc\nd"_s << u"a\n\nb\nc\nd"_s << u"a\r\n\nb\nc\nd"_s;
    QTest::newRow("lone cr meeting a line feed")
        << u"a\rX\nb\nc"_s << u"a\n\nb\nc"_s << u"a\r\n\nb\nc"_s;
}

void TestMarkdownDocument::editsKeepLineEndings()
{
    QFETCH(QString, text);
    QFETCH(QString, edited);
    QFETCH(QString, result);
    QCOMPARE(LineEndings::toLineFeeds(result), edited);
    QCOMPARE(LineEndings::applyEdit(text, edited), result);
}

void TestMarkdownDocument::anEditTakenWhereItWasKeepsLineEndings()
{
    QFETCH(QString, text);
    QFETCH(QString, edited);
    QFETCH(QString, result);
    const QString before = LineEndings::toLineFeeds(text);
    qsizetype front = 0;
    while (front < before.size() && front < edited.size() && before[front] == edited[front])
        ++front;
    qsizetype back = 0;
    while (back < before.size() - front && back < edited.size() - front &&
           before[before.size() - 1 - back] == edited[edited.size() - 1 - back])
        ++back;
    OpenDocument document(text);
    QVERIFY(document.applyLineFeedEdit(edited, front, before.size() - front - back,
                                       edited.size() - front - back));
    QCOMPARE(document.text(), result);
    QCOMPARE(document.isModified(), result != text);
}

void TestMarkdownDocument::anEditOfTextsThatWentApartTakesTheWholeText()
{
    OpenDocument document(u"one\ntwo\n"_s);
    // Of the right length, but not what the document holds around the edit.
    QVERIFY(document.applyLineFeedEdit(u"one\nTWO\nthree\n"_s, 0, 0, 6));
    QCOMPARE(document.text(), u"one\nTWO\nthree\n"_s);
}

QTEST_APPLESS_MAIN(TestMarkdownDocument)
#include "tst_markdowndocument.moc"
