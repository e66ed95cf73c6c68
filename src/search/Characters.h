#pragma once

#include <QStringView>
#include <vector>

// Characters as users see them: extended grapheme clusters of UTF-16 text.
namespace Lumo::Search::Characters {

// True when the text holds nothing from U+0300 on and no CR LF, so that every
// character is surely one UTF-16 unit; found without a boundary search.
bool surelySingleUnits(QStringView text);

// The position where each character starts, then the end of the text.
std::vector<qsizetype> bounds(QStringView text);

qsizetype count(QStringView text);

} // namespace Lumo::Search::Characters
