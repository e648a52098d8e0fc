// What was to be deleted of the history and still stands in its file. A plain value; any thread.
#pragma once

#include "core/base/Timestamp.h"

#include <algorithm>
#include <optional>

namespace velmoran {

/// Private to core/history.
struct PendingDeletion {
    bool takesAll = false;
    std::optional<Timestamp> startsBefore;

    bool waits() const { return takesAll || startsBefore; }
    bool takes(Timestamp start) const {
        return takesAll || (startsBefore && start < *startsBefore);
    }
    void addStartsBefore(Timestamp moment) {
        startsBefore = std::max(startsBefore.value_or(moment), moment);
    }
};

} // namespace velmoran
