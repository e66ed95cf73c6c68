// The editor's colouring, edit by edit: after every insertion, deletion, undo or
// replacement by the same text, the styles kept up to date incrementally equal
// those of the same text styled from scratch.
#include "editor/MarkdownHighlighter.h"
#include "Fuzz.h"

#include <QGuiApplication>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextLayout>

using namespace Lumo::Editor;

namespace {

// Every character's look, in order: what is drawn, not how the ranges are cut.
QList<QTextCharFormat> looks(QTextDocument *document)
{
    QList<QTextCharFormat> result;
    for (QTextBlock block = document->begin(); block.isValid(); block = block.next()) {
        const QList<QTextLayout::FormatRange> ranges = block.layout()->formats();
        for (int i = 0; i < block.length() - 1; ++i) {
            QTextCharFormat format;
            for (const QTextLayout::FormatRange &range : ranges) {
                if (i >= range.start && i < range.start + range.length)
                    format.merge(range.format);
            }
            result.append(format);
        }
    }
    return result;
}

void ensureApplication()
{
    static int argc = 1;
    static char name[] = "fuzz_highlighting";
    static char *argv[] = {name, nullptr};
    if (!QGuiApplication::instance()) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        new QGuiApplication(argc, argv);
    }
}

const QStringList &pieces()
{
    static const QStringList list{
        QStringLiteral("```\n"), QStringLiteral("~~~\n"),  QStringLiteral("<!--"),
        QStringLiteral("-->"),   QStringLiteral("---\n"),  QStringLiteral("...\n"),
        QStringLiteral("# "),    QStringLiteral("*"),      QStringLiteral("_"),
        QStringLiteral("**"),    QStringLiteral("`"),      QStringLiteral("\n"),
        QStringLiteral("word "), QStringLiteral("- [ ] "), QStringLiteral("> "),
        QStringLiteral("[t]("),  QStringLiteral(")"),      QStringLiteral("https://a.b "),
        QStringLiteral("1. "),   QStringLiteral("\n\n"),   QString(QChar(0xD800)),
        QStringLiteral("é"),     QStringLiteral("\r")};
    return list;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    ensureApplication();
    QTextDocument document;
    MarkdownHighlighter highlighter(&document);
    highlighter.highlightAll();
    for (std::size_t i = 0; i + 3 < size; i += 4) {
        const int length = document.characterCount() - 1;
        const int at = ((data[i + 2] << 8) | data[i + 3]) % (length + 1);
        QTextCursor cursor(&document);
        switch (data[i] % 4) {
        case 0:
            cursor.setPosition(at);
            cursor.insertText(pieces().at(data[i + 1] % pieces().size()));
            break;
        case 1:
            cursor.setPosition(at);
            cursor.setPosition(std::min(length, at + data[i + 1] % 12), QTextCursor::KeepAnchor);
            cursor.removeSelectedText();
            break;
        case 2:
            document.undo();
            break;
        default: {
            cursor.setPosition(at);
            cursor.setPosition(std::min(length, at + data[i + 1] % 24), QTextCursor::KeepAnchor);
            QString same = cursor.selectedText();
            cursor.insertText(same.replace(QChar::ParagraphSeparator, u'\n'));
        }
        }
        const QString text = document.toRawText().replace(QChar::ParagraphSeparator, u'\n');
        FUZZ_CHECK(highlighter.text() == text);
        QTextDocument fresh(text);
        MarkdownHighlighter scratch(&fresh);
        scratch.highlightAll();
        FUZZ_CHECK(looks(&document) == looks(&fresh));
    }
    return 0;
}
