#include "system/macos/AppBundlePath.h"

namespace velmoran {

namespace {

constexpr std::string_view extension = ".app";

} // namespace

std::optional<std::string> enclosingAppBundle(std::string_view path) {
    std::string bundle;
    while (!path.empty()) {
        const auto end = path.find('/');
        const auto piece = path.substr(0, end);
        if (!piece.empty()) {
            bundle += '/';
            bundle += piece;
            if (piece.ends_with(extension)) {
                return bundle;
            }
        }
        path.remove_prefix(end == std::string_view::npos ? path.size() : end + 1);
    }
    return std::nullopt;
}

std::string withoutAppExtension(std::string_view displayName) {
    if (displayName.ends_with(extension)) {
        displayName.remove_suffix(extension.size());
    }
    return std::string(displayName);
}

} // namespace velmoran
