#pragma once

#include <optional>
#include <QString>

// Markdown-aware text transformations of the editor.
namespace MarkdownEditing {

// The text with the task box on the 0-based line set to checked or unchecked (split at
// line feeds, so a line may end in a carriage return); nothing when the line does not
// exist or holds no task box.
std::optional<QString> toggledTask(const QString &text, int line, bool checked);

} // namespace MarkdownEditing
