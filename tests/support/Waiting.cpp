#include "support/Waiting.h"

#include <poll.h>

namespace velmoran::support {

bool waitUntil(const std::function<bool()>& condition, Bound bound) {
    const auto end = std::chrono::steady_clock::now() + bound;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= end) {
            return false;
        }
        poll(nullptr, 0, 5);
    }
    return true;
}

} // namespace velmoran::support
