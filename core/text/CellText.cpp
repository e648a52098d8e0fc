#include "core/text/CellText.h"

#include "core/text/PlainLine.h"

#include <cstdint>
#include <unicode/uchar.h>
#include <unicode/utf8.h>

namespace velmoran {

namespace {

std::size_t cellsOf(UChar32 character) {
    if (character < 0x80) {
        return 1;
    }
    switch (u_charType(character)) {
    case U_NON_SPACING_MARK:
    case U_ENCLOSING_MARK:
    case U_FORMAT_CHAR:
        return 0;
    default:
        break;
    }
    const auto width = u_getIntPropertyValue(character, UCHAR_EAST_ASIAN_WIDTH);
    return width == U_EA_WIDE || width == U_EA_FULLWIDTH ? 2 : 1;
}

/// Walks until `visit` wants no more: with each character's columns and where its bytes begin.
template <class Visit>
void walk(std::string_view text, Visit visit) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    const auto size = static_cast<std::int64_t>(text.size());
    for (std::int64_t at = 0; at < size;) {
        const auto start = static_cast<std::size_t>(at);
        UChar32 character = 0;
        U8_NEXT(bytes, at, size, character);
        if (!visit(cellsOf(character), start)) {
            return;
        }
    }
}

bool beginsFormula(const std::string& text) {
    // Some leave out blanks before they look, and take the wide forms for the others.
    const auto start = text.find_first_not_of(" \t\r\n");
    if (text.starts_with('\t') || text.starts_with('\r')) {
        return true;
    }
    if (start == std::string::npos) {
        return false;
    }
    const auto rest = std::string_view(text).substr(start);
    for (const std::string_view sign : {"=", "+", "-", "@", "＝", "＋", "－", "＠"}) {
        if (rest.starts_with(sign)) {
            return true;
        }
    }
    return false;
}

} // namespace

std::size_t columnsOf(std::string_view text) {
    std::size_t sum = 0;
    walk(text, [&](std::size_t columns, std::size_t) {
        sum += columns;
        return true;
    });
    return sum;
}

std::string padded(std::string_view text, std::size_t columns) {
    std::string result(text);
    const auto taken = columnsOf(text);
    return taken < columns ? result.append(columns - taken, ' ') : result;
}

std::string paddedBefore(std::string_view text, std::size_t columns) {
    const auto taken = columnsOf(text);
    return std::string(taken < columns ? columns - taken : 0, ' ').append(text);
}

std::string cutLine(const std::string& text, std::size_t columns) {
    // A character may bear marks without an end that take no column.
    constexpr std::size_t bytesForOne = 16;
    auto line = plainLine(text);
    std::size_t sum = 0;
    std::size_t end = line.size();  // of what fits whole
    std::size_t beforeEllipsis = 0; // of what fits with "…" behind it
    walk(line, [&](std::size_t taken, std::size_t start) {
        if (sum + taken > columns || start >= columns * bytesForOne) {
            end = start;
            return false;
        }
        if (sum + 1 <= columns) {
            beforeEllipsis = start;
        }
        sum += taken;
        return true;
    });
    if (end < line.size()) {
        line.resize(sum < columns ? end : beforeEllipsis);
        line += "…";
    }
    return line;
}

std::string csvCell(const std::string& text) {
    auto cell = plainLine(text);
    if (beginsFormula(text) || beginsFormula(cell)) {
        cell.insert(0, "'");
    }
    // The semicolon separates cells where a comma stands in numbers.
    if (cell.find_first_of("\",;") == std::string::npos && !cell.starts_with(' ') &&
        !cell.ends_with(' ')) {
        return cell;
    }
    std::string quoted = "\"";
    for (const char character : cell) {
        quoted += character;
        if (character == '"') {
            quoted += character;
        }
    }
    return quoted + '"';
}

} // namespace velmoran
