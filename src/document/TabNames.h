#pragma once

#include <QStringList>

// Names for the tabs of a window: the file name, and where two tabs would read the
// same, the folders that tell them apart ("README.md — pyenv", then "README.md —
// src/pyenv" when the nearest folders match too). Untitled documents (empty paths)
// are named by `untitled`.
namespace Lumo::Document::TabNames {

QStringList of(const QStringList &paths, const QString &untitled);

} // namespace Lumo::Document::TabNames
