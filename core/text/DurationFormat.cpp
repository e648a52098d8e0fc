#include "core/text/DurationFormat.h"

#include "core/text/Localizer.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <fmt/format.h>

namespace velmoran::DurationFormat {

namespace {

constexpr Seconds longest = 0x1.fffffffffffffp62; ///< that fits 64 bits

} // namespace

std::string text(Seconds seconds) {
    // What is no number isn't greater than 0 either.
    const auto whole = std::min(std::max(0.0, std::floor(seconds)), longest);
    const auto s = static_cast<std::int64_t>(whole);
    if (s <= 59) {
        return words().text("%lld s", {std::to_string(s)});
    }
    if (s <= 3599) {
        return words().text("%lld min", {std::to_string(s / 60)});
    }
    const auto hours = s / 3600;
    const auto minutes = s / 60 - 60 * hours;
    if (minutes == 0) {
        return words().text("%lld h", {std::to_string(hours)});
    }
    return words().text("%lld h %@ min", {std::to_string(hours), fmt::format("{:02}", minutes)});
}

} // namespace velmoran::DurationFormat
