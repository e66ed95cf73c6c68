// The editing assists on any text and selection: every change stays inside the
// text, and the selection it leaves inside the result.
#include "editor/MarkdownEditing.h"
#include "Fuzz.h"

#include <optional>

using namespace Lumo::Editor;

namespace {

void check(const QString &text, const std::optional<MarkdownEditing::TextChange> &change)
{
    if (!change)
        return;
    FUZZ_CHECK(change->location >= 0 && change->length >= 0);
    FUZZ_CHECK(change->location + change->length <= text.size());
    const qsizetype size = text.size() - change->length + change->replacement.size();
    FUZZ_CHECK(change->selectionStart >= 0 && change->selectionLength >= 0);
    FUZZ_CHECK(change->selectionStart + change->selectionLength <= size);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size < 3)
        return 0;
    const QString text = QString::fromUtf8(reinterpret_cast<const char *>(data) + 3,
                                           static_cast<qsizetype>(size) - 3);
    const qsizetype location = data[0] % (text.size() + 1);
    const MarkdownEditing::Selection selection{location, data[1] % (text.size() - location + 1)};
    const MarkdownEditing::Selection caret{location, 0};

    check(text, MarkdownEditing::continueList(text, caret));
    check(text, MarkdownEditing::continueList(text, selection));
    check(text, MarkdownEditing::indentListItem(text, selection, false));
    check(text, MarkdownEditing::indentListItem(text, selection, true));
    check(text, MarkdownEditing::toggleWrap(text, selection, QStringLiteral("**")));
    check(text, MarkdownEditing::toggleWrap(text, selection, QStringLiteral("`")));
    check(text, MarkdownEditing::insertLink(text, selection));
    if (const auto toggled = MarkdownEditing::toggledTask(text, data[2] % 8, data[2] & 8)) {
        FUZZ_CHECK(toggled->size() == text.size());
        qsizetype differences = 0;
        for (qsizetype i = 0; i < text.size(); ++i)
            differences += toggled->at(i) != text.at(i) ? 1 : 0;
        FUZZ_CHECK(differences <= 1);
    }
    return 0;
}
