// What a reader of the sound graph asks about the processes that it finds: who that is, read while
// the process still lives, and kept under the number that the reader gives it. Owned by the
// machine; all calls on the monitor's thread.
#pragma once

#include "core/records/SystemSnapshot.h"

#include <cstdint>
#include <string>

#include <sys/types.h>

namespace velmoran {

class ProcessNaming {
public:
    virtual ~ProcessNaming() = default;
    /// The app that the process belongs to, from /proc, at once. A process that can't be looked at
    /// is `unidentified` under its id.
    virtual AppRef identify(pid_t pid) = 0;
    /// An app that can't honestly be named; `key` tells it from others of its kind.
    virtual AppRef unidentified(const std::string& key) = 0;
    /// From now on the audio process with that object id is this app; a second call replaces.
    virtual void pin(std::uint32_t objectID, AppRef app) = 0;
    virtual void unpin(std::uint32_t objectID) = 0;
};

} // namespace velmoran
