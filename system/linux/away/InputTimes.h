// When something was typed, moved or pressed for the last time, and nothing else of it. Any thread.
#pragma once

#include "core/base/Timestamp.h"
#include "system/AwayReadings.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <limits>
#include <optional>

namespace velmoran {

/// What was done, as a device or a server tells it by the kind of an event alone.
enum class InputUse { key, motion, press };
inline constexpr std::size_t inputUses = 3;

class InputTimes {
public:
    void note(InputUse use, Timestamp time) { at(use) = time.seconds; }
    /// Which button it was isn't known: any press counts for all of them and for the wheel.
    std::optional<Seconds> sinceLast(InputEvent event, Timestamp now) const;
    void forget();

private:
    static constexpr double never = -std::numeric_limits<double>::infinity();

    std::atomic<double>& at(InputUse use) { return last_[static_cast<std::size_t>(use)]; }

    std::array<std::atomic<double>, inputUses> last_{never, never, never};
};

} // namespace velmoran
