// Bounded waits: a test says what must become true and how long that may take at worst. No test
// waits for time to pass.
#pragma once

#include <chrono>
#include <functional>

namespace velmoran::support {

using Bound = std::chrono::milliseconds;

/// Long enough for any machine; only something that hangs gets there.
inline constexpr Bound patience{20000};

/// Looks at `condition` until it is true (then true) or `bound` has passed (then false). It is
/// looked at least once.
[[nodiscard]] bool waitUntil(const std::function<bool()>& condition, Bound bound = patience);

} // namespace velmoran::support
