// What is on right now, as a card: what a click on the status item shows while no warning is there.
// Pure words.
#pragma once

#include "app/notices/NoticeItem.h"
#include "core/base/Timestamp.h"
#include "core/records/HistoryProblem.h"
#include "core/records/SystemSnapshot.h"
#include "core/records/UsageSession.h"

#include <functional>
#include <optional>
#include <vector>

namespace velmoran {

struct CurrentUse {
    std::vector<UsageSession> open = {};
    SystemSnapshot snapshot = {};
    std::optional<HistoryProblem> historyProblem = {}; ///< the card says it
    bool microphoneMuted = false; ///< by a stop: the card says so and offers to end it

    bool operator==(const CurrentUse&) const = default;
};

/// One line for each open session on camera or microphone, with how long it has been going on.
/// `unmute` is what the button does that is there while the microphone is muted.
NoticeItem currentUseItem(const CurrentUse& use, Timestamp now, std::function<void()> unmute);

} // namespace velmoran
