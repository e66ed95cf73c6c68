#pragma once

#include <QSet>
#include <QString>
#include <string_view>

// Which files are Markdown and which folders are never walked: the one list behind the
// sidebar, quick open, project search, the folder watcher and the file dialogs.
// Stateless; safe on any thread.
namespace Lumo::Base::MarkdownNames {

// Accepted extensions, compared with the lower-cased extension of a file name.
const QSet<QString> &extensions();
// Folder names whose contents are never walked (exact, case-sensitive).
const QSet<QString> &skippedFolders();

bool isMarkdownName(const QString &fileName);
// The byte forms, for walks over raw entry names. A name that only starts with a dot
// (".md") is a hidden file, not an extension.
bool hasMarkdownExtension(std::string_view fileName);
bool isSkippedFolder(std::string_view name);

// The file dialogs' filter entry: "Markdown (*.md *.markdown …)".
QString dialogFilter();

} // namespace Lumo::Base::MarkdownNames
