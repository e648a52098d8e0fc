#include "core/text/NameSkeleton.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/uspoof.h>

namespace velmoran {

namespace {

/// Letters that look like small ones of the capitals, which the table of confusable characters
/// keeps apart from these; "ĸ" and "ʍ" are its prototypes of "ᴋ" and "ᴍ". What of other scripts
/// looks like a capital in a small letter's size has its prototype here.
constexpr std::u16string_view smallCapitals = u"ᴀʙᴄᴅᴇꜰɢʜɪᴊᴋĸʟᴍʍɴᴏᴘꞯʀꜱᴛᴜᴠᴡʏᴢ";
constexpr std::u16string_view theirLetters = u"abcdefghijkklmmnopqrstuvwyz";
static_assert(smallCapitals.size() == theirLetters.size());

const USpoofChecker* checker() {
    static const auto opened = [] {
        UErrorCode status = U_ZERO_ERROR;
        return icu::LocalUSpoofCheckerPointer(uspoof_open(&status));
    }();
    return opened.getAlias();
}

/// The text itself where the library can't give one, which it can but for want of memory.
icu::UnicodeString confusable(const icu::UnicodeString& text) {
    UErrorCode status = U_ZERO_ERROR;
    icu::UnicodeString skeleton;
    uspoof_getSkeletonUnicodeString(checker(), 0, text, skeleton, &status);
    return U_SUCCESS(status) ? skeleton : text;
}

icu::UnicodeString normalized(const icu::UnicodeString& text, bool decomposed) {
    UErrorCode status = U_ZERO_ERROR;
    const auto* form = decomposed ? icu::Normalizer2::getNFKDInstance(status)
                                  : icu::Normalizer2::getNFKCInstance(status);
    auto result = U_SUCCESS(status) ? form->normalize(text, status) : text;
    return U_SUCCESS(status) ? result : text;
}

std::string skeletonOf(std::string_view name) {
    auto text = icu::UnicodeString::fromUTF8(
        icu::StringPiece(name.data(), static_cast<std::int32_t>(name.size())));
    text = confusable(normalized(text, false));
    for (std::int32_t at = 0; at < text.length(); ++at) {
        if (const auto capital = smallCapitals.find(text[at]); capital != std::u16string::npos) {
            text.setCharAt(at, theirLetters[capital]);
        }
    }
    // Once more, since the cases of one letter have different prototypes.
    text = normalized(confusable(text.foldCase()), true);
    std::string letters;
    for (std::int32_t at = 0; at < text.length(); at = text.moveIndex32(at, 1)) {
        const auto character = text.char32At(at);
        if (u_isalnum(character) != 0) {
            icu::UnicodeString(character == 'i' ? 'l' : character).toUTF8String(letters);
        }
    }
    return letters;
}

} // namespace

std::string nameSkeleton(std::string_view name) {
    const bool isPlain = std::all_of(name.begin(), name.end(),
                                     [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    if (!isPlain) {
        return skeletonOf(name);
    }
    // Nearly all names are ASCII, in which no character changes what becomes of its neighbours.
    static const auto table = [] {
        std::array<std::string, 0x80> skeletons;
        for (std::size_t c = 0; c < skeletons.size(); ++c) {
            const char character = static_cast<char>(c);
            skeletons.at(c) = skeletonOf({&character, 1});
        }
        return skeletons;
    }();
    std::string letters;
    for (const char c : name) {
        letters += table.at(static_cast<unsigned char>(c));
    }
    return letters;
}

} // namespace velmoran
