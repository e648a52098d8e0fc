#include "core/text/VisibleText.h"

#include <cstdint>
#include <unicode/uchar.h>
#include <unicode/utf8.h>

namespace velmoran {

namespace {

constexpr UChar32 emptyBraille = 0x2800; // a symbol by its class, without a dot

} // namespace

bool isSeen(UChar32 character) {
    // Without the tables for what is usual: they would be most of what a waiting program has loaded
    // of the library.
    if (character >= 0 && character < 0x80) {
        return character > ' ' && character != 0x7F;
    }
    return character < 0 || (u_isgraph(character) && u_charType(character) != U_FORMAT_CHAR &&
                             !u_hasBinaryProperty(character, UCHAR_DEFAULT_IGNORABLE_CODE_POINT) &&
                             character != emptyBraille);
}

bool showsAnything(std::string_view text) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    const auto size = static_cast<std::int64_t>(text.size());
    for (std::int64_t at = 0; at < size;) {
        UChar32 character = 0;
        U8_NEXT(bytes, at, size, character);
        if (isSeen(character)) {
            return true;
        }
    }
    return false;
}

} // namespace velmoran
