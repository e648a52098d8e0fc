// A session that stands in the history, shared with it: lists of a hundred thousand of them are
// passed around without a copy of any. Any thread.
#pragma once

#include "core/records/UsageSession.h"

#include <memory>
#include <vector>

namespace velmoran {

/// Never null, and never changed: a change is another session with the same id.
using SessionRef = std::shared_ptr<const UsageSession>;
using SessionList = std::vector<SessionRef>;

} // namespace velmoran
