// A file whose time of change is a moment that outlives the process: a look of the machine's costs
// one cheap call, and a kill can't take it away. Owned by the machine; one thread at a time.
#pragma once

#include "core/base/Timestamp.h"
#include "system/linux/kernel/Descriptor.h"

#include <optional>
#include <string>

namespace velmoran {

class TimeStampFile {
public:
    /// Makes it if it isn't there. Where that can't be, nothing is kept; an empty path says so.
    explicit TimeStampFile(const std::string& path);

    /// What it said before; nothing if it has just been made.
    std::optional<Timestamp> before() const { return before_; }
    void stampNow() const;

private:
    Descriptor file_;
    std::optional<Timestamp> before_;
};

} // namespace velmoran
