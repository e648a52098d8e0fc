// Makes of the lid's angles, read once a second, moves from where it rested to where it rests now,
// and leaves out the noise of the sensor. A plain value; owned by the sensors; main thread.
#pragma once

#include <optional>

namespace velmoran {

struct LidMovementDetector {
    /// In degrees.
    struct Movement {
        int from = 0;
        int to = 0;

        bool operator==(const Movement&) const = default;
    };

    int threshold = 3;         ///< a smaller distance from the rest position is no move
    int closedBelow = 5;       ///< below this angle the lid counts as closed
    std::optional<int> rest;   ///< the angle that the lid last rested at
    std::optional<int> moving; ///< the last reading away from `rest`, while a move may be under way

    /// A move, once the lid stands still at a new position, in whole degrees; never one from or to
    /// a closed lid.
    std::optional<Movement> feed(int angle);
    /// The lid rests at that angle, if it is known, whatever was before.
    void restAt(std::optional<int> angle) {
        rest = angle;
        moving.reset();
    }

    bool operator==(const LidMovementDetector&) const = default;
};

} // namespace velmoran
