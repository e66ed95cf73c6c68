#pragma once

#include <QString>

// Brings a place in a file into view once the file has rendered (at once when it
// already has), in every tab that shows it: what a search hit or "lumo FILE:LINE"
// asks for. The file is opened by the caller.
namespace Lumo::App::RevealWhenReady {

// line is 0-based; the editor's caret moves there too while editing.
void line(const QString &path, int line);
// A heading named as OpenTarget::headingIndex reads names; nothing when none matches.
void heading(const QString &path, const QString &name);

} // namespace Lumo::App::RevealWhenReady
