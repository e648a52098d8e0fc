// A point in time: seconds since 2001-01-01 00:00:00 UTC, the form in which it is stored and
// exchanged too. A plain value; any thread.
#pragma once

#include <compare>
#include <functional>

namespace velmoran {

/// A length of time in seconds.
using Seconds = double;

struct Timestamp {
    double seconds = 0; ///< since 2001-01-01 00:00:00 UTC

    auto operator<=>(const Timestamp&) const = default;
};

/// Between 1970-01-01 and 2001-01-01, for a conversion from and to the system's clocks.
inline constexpr double secondsFromUnixEpoch = 978307200.0;

inline Timestamp operator+(Timestamp time, Seconds by) {
    return {time.seconds + by};
}
inline Timestamp operator-(Timestamp time, Seconds by) {
    return {time.seconds - by};
}
inline Seconds operator-(Timestamp later, Timestamp earlier) {
    return later.seconds - earlier.seconds;
}

} // namespace velmoran

template <>
struct std::hash<velmoran::Timestamp> {
    std::size_t operator()(velmoran::Timestamp time) const noexcept {
        return std::hash<double>()(time.seconds);
    }
};
