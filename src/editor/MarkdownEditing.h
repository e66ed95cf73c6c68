#pragma once

#include <optional>
#include <QDateTime>
#include <QString>

// Markdown-aware text transformations of the editor, on strings: each says which
// characters to replace and where the selection goes afterwards, and the text view
// applies that as one undo step. Positions are UTF-16 code units.
namespace Lumo::Editor::MarkdownEditing {

struct TextChange
{
    qsizetype location = 0;
    qsizetype length = 0;
    QString replacement;
    qsizetype selectionStart = 0;
    qsizetype selectionLength = 0;

    friend bool operator==(const TextChange &, const TextChange &) = default;
};

// The selection a transformation starts from.
struct Selection
{
    qsizetype location = 0;
    qsizetype length = 0;
};

// Return: continues a list item or quotation, or ends an empty item. Nothing when a
// plain line break is wanted (a selection, no marker, the caret inside the marker).
std::optional<TextChange> continueList(const QString &text, Selection selection);

// Tab and Shift+Tab on a list item: two spaces in or out at the start of the line that
// holds the selection's start. Nothing when that line is no list item; an outdent with
// no leading space is a change of nothing (the key is still taken).
std::optional<TextChange> indentListItem(const QString &text, Selection selection, bool outdent);

// Wraps the selection in marker, or unwraps it when the marker is already there.
TextChange toggleWrap(const QString &text, Selection selection, const QString &marker);

// A link around the selection: a selected web address becomes the target, anything
// else the link text.
TextChange insertLink(const QString &text, Selection selection);

// The text with the task box on the 0-based line set to checked or unchecked (split at
// line feeds, so a line may end in a carriage return); nothing when the line does not
// exist or holds no task box.
std::optional<QString> toggledTask(const QString &text, int line, bool checked);

// An image link, with angle brackets around a path that holds a space.
QString imageLink(const QString &path, const QString &alt);

// Stores pasted image data in the "assets" folder beside the document, named after the
// document and the time, without replacing any file. The link target relative to the
// document's folder, or nothing when the folder or file cannot be written.
std::optional<QString> saveAsset(const QByteArray &data, const QString &extension,
                                 const QString &documentPath, const QDateTime &now);

} // namespace Lumo::Editor::MarkdownEditing
