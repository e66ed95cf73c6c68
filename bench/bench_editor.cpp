// The editor under typing: the cost of one keystroke (block scan, restyle and the text
// view's own work) in the middle of a paragraph and when it opens a fence, in 100 KB,
// 1 MB and 10 MB documents, and the time to open the largest in edit mode.
// Prints figures; never fails.
#include "editor/EditorView.h"
#include "editor/MarkdownHighlighting.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <QApplication>
#include <QKeyEvent>
#include <QTextBlock>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

double millisecondsSince(Clock::time_point start)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// Varied Markdown: headings, paragraphs with emphasis, code and links, lists, quotes,
// closed fences and a comment, repeated to the size asked for.
QString document(qsizetype bytes)
{
    const QString section = QStringLiteral(
        "## Section heading with *emphasis*\n\n"
        "A paragraph of ordinary prose with **strong words**, `inline code`, a "
        "[link](https://example.org/page) and snake_case_names, long enough to wrap "
        "over a few lines in the editor at its usual width.\n\n"
        "- first item\n- [x] a task\n  - nested item with _emphasis_\n1. numbered\n\n"
        "> A quotation\n> over two lines\n\n"
        "```js\nconst x = 1; // # not a heading\n```\n\n"
        "<!-- a comment -->\n\n---\n\n");
    QString text;
    text.reserve(bytes + section.size());
    while (text.size() < bytes)
        text += section;
    return text;
}

void pump()
{
    QCoreApplication::processEvents();
}

double keystroke(EditorView &view, int key, const QString &text)
{
    QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier, text);
    const auto start = Clock::now();
    QCoreApplication::sendEvent(&view, &press);
    return millisecondsSince(start);
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values.at(values.size() / 2);
}

void measure(const char *label, qsizetype bytes, bool reportOpening)
{
    const QString text = document(bytes);
    const auto opening = Clock::now();
    EditorView view(text, 1.0);
    // The document's side of the binding: it compares and keeps every edited text.
    QString bound = text;
    QObject::connect(&view, &EditorView::textEdited, [&bound](const QString &edited) {
        if (edited != bound)
            bound = edited;
    });
    view.resize(700, 900);
    view.show();
    pump();
    const double opened = millisecondsSince(opening);

    // Mid-document, inside the prose of a paragraph.
    const qsizetype middle = text.indexOf(QStringLiteral("ordinary prose"), text.size() / 2);
    QTextCursor cursor = view.textCursor();
    cursor.setPosition(static_cast<int>(middle + 9));
    view.setTextCursor(cursor);
    view.centerCursor();
    pump();

    std::vector<double> typing;
    for (int i = 0; i < 40; ++i) {
        typing.push_back(keystroke(view, Qt::Key_A, QStringLiteral("a")));
        pump();
    }

    std::vector<double> scans;
    for (int i = 0; i < 10; ++i) {
        const auto start = Clock::now();
        const auto blocks = MarkdownHighlighting::findBlocks(view.text());
        scans.push_back(millisecondsSince(start));
        Q_UNUSED(blocks);
    }

    // A new line with three tildes: the third opens a fence that nothing closes, so it
    // runs to the end of the text; Backspace closes it again.
    cursor.movePosition(QTextCursor::EndOfBlock);
    view.setTextCursor(cursor);
    keystroke(view, Qt::Key_Return, QStringLiteral("\r"));
    keystroke(view, Qt::Key_AsciiTilde, QStringLiteral("~"));
    keystroke(view, Qt::Key_AsciiTilde, QStringLiteral("~"));
    pump();
    std::vector<double> opens;
    std::vector<double> closes;
    for (int i = 0; i < 3; ++i) {
        opens.push_back(keystroke(view, Qt::Key_AsciiTilde, QStringLiteral("~")));
        pump();
        closes.push_back(keystroke(view, Qt::Key_Backspace, QString()));
        pump();
    }

    const auto restyling = Clock::now();
    view.setScale(1.1);
    const double restyled = millisecondsSince(restyling);

    std::printf("%-7s  keystroke mid-paragraph %8.2f ms (median of %zu)   block scan %8.2f ms\n",
                label, median(typing), typing.size(), median(scans));
    std::printf("%-7s  opening a fence         %8.2f ms   closing it %8.2f ms\n", label,
                median(opens), median(closes));
    std::printf("%-7s  restyle all (zoom)      %8.2f ms\n", label, restyled);
    if (reportOpening)
        std::printf("%-7s  open in edit mode       %8.2f ms\n", label, opened);
}

} // namespace

int main(int argc, char *argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    measure("100 KB", 100 * 1024, false);
    measure("1 MB", 1024 * 1024, true);
    measure("10 MB", 10 * 1024 * 1024, true);
    return 0;
}
