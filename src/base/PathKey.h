#pragma once

#include <QString>

// The key under which a file or folder is remembered and compared: its absolute path
// with symbolic links resolved, then cleaned, so that two routes to one file meet.
namespace Lumo::Base::PathKey {

// The cleaned path alone when the file does not exist (nothing to resolve).
QString resolved(const QString &path);

} // namespace Lumo::Base::PathKey
