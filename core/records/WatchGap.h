// A time in which Velmoran wasn't watching: it was stopped or ended, or the machine slept. A plain
// value; any thread.
#pragma once

#include "core/base/Fields.h"
#include "core/records/UsageSession.h"

namespace velmoran {

struct WatchGap {
    Timestamp from; ///< of the last look before
    Timestamp to;   ///< of the first one after

    bool operator==(const WatchGap&) const = default;
};

void visitFields(MaybeConst<WatchGap> auto& gap, auto visit) {
    visit("from", gap.from);
    visit("to", gap.to);
}

} // namespace velmoran
