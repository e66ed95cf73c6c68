#pragma once

#include <QString>

// Where a Save As, export or image-save dialog starts.
namespace Lumo::Base::SaveFolder {

// The folder of the document at `documentPath`; the user's Documents folder for an
// untitled document (an empty path).
QString proposedFor(const QString &documentPath);

} // namespace Lumo::Base::SaveFolder
