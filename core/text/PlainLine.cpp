#include "core/text/PlainLine.h"

#include <cstdint>
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

} // namespace

std::string plainLine(const std::string& text) {
    std::string result;
    result.reserve(text.size());
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    const auto size = static_cast<std::int64_t>(text.size());
    for (std::int64_t at = 0; at < size;) {
        const auto start = at;
        UChar32 character = 0;
        U8_NEXT(bytes, at, size, character);
        if (character < 0) {
            result += "\xEF\xBF\xBD"; // the replacement character
        } else if (isObeyed(character)) {
            result += ' ';
        } else {
            result.append(text, static_cast<std::size_t>(start),
                          static_cast<std::size_t>(at - start));
        }
    }
    return result;
}

} // namespace velmoran
