#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// Case- and diacritic-insensitive folding of UTF-8 text, with no locale: every
// character is decomposed canonically, loses its nonspacing marks and is
// case-folded, so "Résumé", "RESUME" and "resume" fold alike. ASCII folds byte for
// byte (letters lower-cased), and line breaks are kept as they are, so positions in
// ASCII stretches line up before and after folding.
//
// Reentrant; the first call builds a 256 KB table once for the whole process.
namespace Lumo::Search::TextFolding {

// Replaces `out` with the folding of text. False when text is not valid UTF-8.
// `unicodeBreaks` tells whether text holds U+0085, U+2028 or U+2029 (line breaks
// beside CR and LF).
bool fold(std::string_view text, std::string &out, bool &unicodeBreaks);

// Walks valid UTF-8 text forward from `source`, whose folding starts at `folded`, to
// the place whose folding starts at `target` (which must start a character's
// folding, as the start of a line does); returns that place's source offset.
std::size_t sourceOffset(std::string_view text, std::size_t source, std::size_t folded,
                         std::size_t target);

// Replaces `out` with the folding of text (valid UTF-8) and `origin` with, for each
// folded byte, the source offset of the character it came from.
void foldMapped(std::string_view text, std::string &out, std::vector<std::uint32_t> &origin);

// The folding of a string, for queries.
std::string folded(std::string_view text);

} // namespace Lumo::Search::TextFolding
