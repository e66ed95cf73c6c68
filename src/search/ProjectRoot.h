#pragma once

#include <QString>

namespace Lumo::Search::ProjectRoot {

// The folder quick open and project search list: the sidebar's folder when one is
// open, else the project root of the document (ProjectFiles::root), else none (an
// untitled document outside any folder).
QString choose(const QString &sidebarFolder, const QString &documentPath);

} // namespace Lumo::Search::ProjectRoot
