// The editor under typing: the cost of one keystroke (block scan, restyle, the text
// view's own work and the repaint that shows it) in the middle of a paragraph and when
// it opens or closes a fence, in 100 KB, 1 MB and 10 MB documents; how long the
// background restyle after a fence takes, the longest the main thread is busy during
// it, and a keystroke typed while it runs; and the time to open in edit mode.
// Prints figures; never fails.
#include "editor/EditorView.h"
#include "editor/MarkdownHighlighter.h"
#include "editor/MarkdownHighlighting.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <QApplication>
#include <QKeyEvent>
#include <QTextBlock>
#include <vector>

using namespace Lumo::Editor;

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

// Until the key's effect is painted.
double keystroke(EditorView &view, int key, const QString &text)
{
    QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier, text);
    const auto start = Clock::now();
    QCoreApplication::sendEvent(&view, &press);
    view.viewport()->repaint();
    return millisecondsSince(start);
}

struct Background
{
    double total = 0;
    double longest = 0;
};

// Runs the event loop until the background restyle is done: its duration from `start`
// and the longest single turn of the loop.
Background finishRestyle(EditorView &view, Clock::time_point start)
{
    Background result;
    while (view.highlighter()->isRestyling()) {
        const auto turn = Clock::now();
        QCoreApplication::processEvents();
        result.longest = std::max(result.longest, millisecondsSince(turn));
    }
    result.total = millisecondsSince(start);
    return result;
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
    // The document's side of the binding: it keeps its own copy of the text up to date.
    QString bound = text;
    QObject::connect(
        &view, &EditorView::textEdited,
        [&bound](const QString &edited, qint64 position, qint64 removed, qint64 inserted) {
            bound.replace(position, removed, edited.constData() + position, inserted);
        });
    view.resize(700, 900);
    view.show();
    pump();
    const double openedIn = millisecondsSince(opening);
    finishRestyle(view, Clock::now());

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
    Background opened;
    Background closed;
    for (int i = 0; i < 3; ++i) {
        auto start = Clock::now();
        opens.push_back(keystroke(view, Qt::Key_AsciiTilde, QStringLiteral("~")));
        opened = finishRestyle(view, start);
        start = Clock::now();
        closes.push_back(keystroke(view, Qt::Key_Backspace, QString()));
        closed = finishRestyle(view, start);
    }

    // Typing while the background pass runs: a fence opened, two turns of the loop,
    // then a letter.
    keystroke(view, Qt::Key_AsciiTilde, QStringLiteral("~"));
    pump();
    pump();
    const bool stillRestyling = view.highlighter()->isRestyling();
    const double typedMeanwhile = keystroke(view, Qt::Key_A, QStringLiteral("a"));
    finishRestyle(view, Clock::now());

    const auto restyling = Clock::now();
    view.setScale(1.1);
    view.viewport()->repaint();
    const double zoomShown = millisecondsSince(restyling);
    const Background zoomed = finishRestyle(view, restyling);

    std::printf("%-7s  keystroke mid-paragraph %8.2f ms (median of %zu, to the repaint)   "
                "block scan %8.2f ms\n",
                label, median(typing), typing.size(), median(scans));
    std::printf("%-7s  opening a fence         %8.2f ms to the visible result; whole text "
                "restyled after %8.2f ms, the loop busy at most %6.2f ms at a time\n",
                label, median(opens), opened.total, opened.longest);
    std::printf("%-7s  closing it              %8.2f ms to the visible result; whole text "
                "restyled after %8.2f ms, the loop busy at most %6.2f ms at a time\n",
                label, median(closes), closed.total, closed.longest);
    std::printf("%-7s  keystroke during the background restyle %8.2f ms%s\n", label, typedMeanwhile,
                stillRestyling ? "" : " (the restyle had already ended)");
    std::printf("%-7s  restyle all (zoom)      %8.2f ms to the visible result; whole text "
                "after %8.2f ms, the loop busy at most %6.2f ms at a time\n",
                label, zoomShown, zoomed.total, zoomed.longest);
    if (reportOpening)
        std::printf("%-7s  open in edit mode       %8.2f ms\n", label, openedIn);
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
