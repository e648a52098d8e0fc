#include "core/base/AppVersion.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace velmoran::AppVersion {

namespace {

std::int64_t leadingNumber(std::string_view piece) {
    const auto digits = piece.substr(0, piece.find_first_not_of("0123456789"));
    std::int64_t number = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return number; // untouched by what doesn't fit
}

std::vector<std::int64_t> numbers(std::string_view version) {
    std::vector<std::int64_t> result;
    while (!version.empty()) {
        const auto piece = version.substr(0, version.find('.'));
        if (!piece.empty()) {
            result.push_back(leadingNumber(piece));
        }
        version.remove_prefix(std::min(version.size(), piece.size() + 1));
    }
    return result;
}

} // namespace

bool isNewer(std::string_view candidate, std::string_view current) {
    auto left = numbers(candidate);
    auto right = numbers(current);
    const auto longest = std::max(left.size(), right.size());
    left.resize(longest);
    right.resize(longest);
    return left > right;
}

} // namespace velmoran::AppVersion
