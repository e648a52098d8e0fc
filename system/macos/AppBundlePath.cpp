#include "system/macos/AppBundlePath.h"

#include "system/TextParsing.h"

namespace velmoran {

namespace {

constexpr std::string_view extension = ".app";

} // namespace

std::optional<std::string> enclosingAppBundle(std::string_view path) {
    std::string bundle;
    bool isWhole = false;
    eachPiece(path, '/', [&](std::string_view piece) {
        if (!isWhole && !piece.empty()) {
            bundle += '/';
            bundle += piece;
            isWhole = piece.ends_with(extension);
        }
    });
    return isWhole ? std::optional(bundle) : std::nullopt;
}

std::string withoutAppExtension(std::string_view displayName) {
    if (displayName.ends_with(extension)) {
        displayName.remove_suffix(extension.size());
    }
    return std::string(displayName);
}

} // namespace velmoran
