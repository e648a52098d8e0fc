#include "core/text/ConfinedText.h"

#include "core/text/VisibleText.h"

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>
#include <vector>

namespace velmoran {

namespace {

constexpr UChar32 ellipsis = 0x2026;
constexpr UChar32 replacement = 0xFFFD;

constexpr bool isASCII(UChar32 character) {
    return character >= 0 && character < 0x80;
}

bool isBlank(UChar32 character) {
    if (isASCII(character)) {
        return !isSeen(character);
    }
    return u_isUWhiteSpace(character) != 0 || u_charType(character) == U_CONTROL_CHAR;
}

/// The square one for round ones, and for all brackets beyond ASCII: most of these look round.
UChar32 withSquareBracket(UChar32 character) {
    constexpr UChar32 ornateOpen = 0xFD3F; // the only round ones that aren't a pair to the library
    constexpr UChar32 ornateClose = 0xFD3E;
    if (character == '(' || character == ornateOpen) {
        return '[';
    }
    if (character == ')' || character == ornateClose) {
        return ']';
    }
    if (isASCII(character)) {
        return character;
    }
    switch (u_getIntPropertyValue(character, UCHAR_BIDI_PAIRED_BRACKET_TYPE)) {
    case U_BPT_OPEN:
        return '[';
    case U_BPT_CLOSE:
        return ']';
    default:
        return character;
    }
}

std::size_t columnsOf(UChar32 character) {
    if (isASCII(character)) {
        return 1;
    }
    const auto width = u_getIntPropertyValue(character, UCHAR_EAST_ASIAN_WIDTH);
    return width == U_EA_WIDE || width == U_EA_FULLWIDTH ? 2 : 1;
}

std::vector<UChar32> seenOf(std::string_view text) {
    std::vector<UChar32> characters;
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    const auto size = static_cast<std::int64_t>(text.size());
    for (std::int64_t at = 0; at < size;) {
        UChar32 character = 0;
        U8_NEXT(bytes, at, size, character);
        if (character >= 0 && isBlank(character)) {
            if (!characters.empty() && characters.back() != ' ') {
                characters.push_back(' ');
            }
        } else if (isSeen(character)) {
            characters.push_back(character < 0 ? replacement : withSquareBracket(character));
        }
    }
    if (!characters.empty() && characters.back() == ' ') {
        characters.pop_back();
    }
    return characters;
}

/// How many characters, from there on, take at most that many columns.
template <typename Iterator>
std::ptrdiff_t fitting(Iterator from, Iterator end, std::size_t columns) {
    auto at = from;
    while (at != end && columnsOf(*at) <= columns) {
        columns -= columnsOf(*at);
        ++at;
    }
    return at - from;
}

} // namespace

std::string confinedText(std::string_view text, std::size_t columns) {
    auto characters = seenOf(text);
    const auto needed =
        std::accumulate(characters.begin(), characters.end(), std::size_t{0},
                        [](std::size_t sum, UChar32 each) { return sum + columnsOf(each); });
    if (needed > columns) {
        const auto head = fitting(characters.begin(), characters.end(), columns / 2);
        const auto tail =
            fitting(characters.rbegin(), characters.rend(), columns - 1 - columns / 2);
        characters.erase(characters.begin() + head, characters.end() - tail);
        characters.insert(characters.begin() + head, ellipsis);
    }
    std::string result;
    icu::UnicodeString::fromUTF32(characters.data(), static_cast<std::int32_t>(characters.size()))
        .toUTF8String(result);
    return result;
}

} // namespace velmoran
