// Texts as cells of a table: in a terminal, and in a file for a spreadsheet. Pure; any thread.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace velmoran {

/// How many columns of a terminal a text takes: none for a mark on another character, two for a
/// wide one. `text` is UTF-8.
std::size_t columnsOf(std::string_view text);

/// The text with blanks behind it, or before it, up to that many columns.
std::string padded(std::string_view text, std::size_t columns);
std::string paddedBefore(std::string_view text, std::size_t columns);

/// One line that a terminal obeys in nothing, cut with "…" where it takes more columns.
std::string cutLine(const std::string& text, std::size_t columns);

/// A cell of a CSV file (RFC 4180), in quotes where it has to be. A text that a spreadsheet would
/// take for a formula begins with an apostrophe instead, by which it is known as text. Control
/// characters become blanks, and what isn't UTF-8 the replacement character.
std::string csvCell(const std::string& text);

} // namespace velmoran
