#include "core/text/DurationFormat.h"

#include "core/text/Localizer.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <fmt/format.h>

namespace velmoran::DurationFormat {

std::string text(Seconds seconds) {
    const auto s = static_cast<std::int64_t>(std::floor(seconds));
    if (s <= 59) {
        return words().text("%lld s", {std::to_string(std::max<std::int64_t>(s, 0))});
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
