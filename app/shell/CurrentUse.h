// What is on right now, as a card: what a click on the status item shows while no warning is there.
// Pure words.
#pragma once

#include "app/notices/NoticeItem.h"
#include "core/base/Timestamp.h"
#include "core/records/SystemSnapshot.h"
#include "core/records/UsageSession.h"

#include <vector>

namespace velmoran {

/// One line for each open session on camera or microphone, with how long it has been going on.
/// `historyUnavailable` says that nobody is being warned, and why.
NoticeItem currentUseItem(const std::vector<UsageSession>& open, const SystemSnapshot& snapshot,
                          bool historyUnavailable, Timestamp now);

} // namespace velmoran
