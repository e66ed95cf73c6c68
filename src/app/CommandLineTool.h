#pragma once

#include <optional>
#include <QString>

// The "lumo" URL scheme: lumo://folder?path=/some/folder asks to browse a folder.
namespace CommandLineTool {

// The folder a URL asks to open: scheme exactly "lumo", host exactly "folder", the
// first "path" query item with a value. Anything else asks for nothing.
// Takes the URL as text: QUrl would fold the case of scheme and host.
std::optional<QString> folderToOpen(const QString &urlText);

} // namespace CommandLineTool
