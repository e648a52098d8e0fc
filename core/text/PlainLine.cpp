#include "core/text/PlainLine.h"

#include <algorithm>
#include <cstdint>
#include <fmt/format.h>
#include <unicode/utf8.h>

namespace velmoran {

namespace {

bool isObeyed(UChar32 character) {
    const bool isControl = character < 0x20 || (character >= 0x7F && character < 0xA0);
    const bool endsLine = character == 0x2028 || character == 0x2029;
    const bool turnsDirection = (character >= 0x202A && character <= 0x202E) ||
                                (character >= 0x2066 && character <= 0x2069);
    return isControl || endsLine || turnsDirection;
}

/// The text with what `instead` gives for each character that is obeyed or isn't one (negative).
template <class Instead>
std::string replaced(const std::string& text, Instead instead) {
    std::string result;
    result.reserve(text.size());
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    const auto size = static_cast<std::int64_t>(text.size());
    for (std::int64_t at = 0; at < size;) {
        const auto start = at;
        UChar32 character = 0;
        U8_NEXT(bytes, at, size, character);
        if (character < 0 || isObeyed(character)) {
            result += instead(character);
        } else {
            result.append(text, static_cast<std::size_t>(start),
                          static_cast<std::size_t>(at - start));
        }
    }
    return result;
}

constexpr const char* replacementText = "\xEF\xBF\xBD"; // of what is malformed

/// Nearly all that is printed, and it is quicker to see than to take apart.
bool isPlainAscii(const std::string& text) {
    return std::ranges::all_of(text, [](char byte) { return byte >= ' ' && byte < 0x7F; });
}

} // namespace

std::string plainLine(const std::string& text) {
    return replaced(text, [](UChar32 character) { return character < 0 ? replacementText : " "; });
}

std::string plainJson(std::string json) {
    if (isPlainAscii(json)) {
        return json;
    }
    return replaced(json, [](UChar32 character) {
        return character < 0 ? std::string(replacementText)
                             : fmt::format("\\u{:04x}", static_cast<std::uint32_t>(character));
    });
}

} // namespace velmoran
