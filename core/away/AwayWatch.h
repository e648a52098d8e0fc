// What keeps the record while the screen is locked: which happenings become events, which repeat
// one that stands already, and which were the user's own coming back. Reads no clock: every
// operation gets the time. Owned by the model; main thread.
#pragma once

#include "core/away/AwayEvent.h"
#include "core/away/AwayReport.h"
#include "core/base/Timestamp.h"

#include <optional>
#include <string>

namespace velmoran {

struct AwayWatch {
    /// How long after a begin while unlocked the user's own keyboard and mouse are ignored.
    Seconds settleTime = 10.0;
    /// Use of the keyboard, or of the mouse, makes one event in this time.
    Seconds groupingWindow = 60.0;
    /// What lies this close before the end can be the user's own return.
    Seconds returnWindow = 10.0;
    /// The report being written; the watch is on while there is one.
    std::optional<AwayReport> current;
    /// Until when keyboard and mouse are ignored.
    std::optional<Timestamp> settlingUntil;

    /// Anything but use of keyboard and mouse makes one event of a kind and detail in this time.
    static constexpr Seconds repeatWindow = 2.0;

    bool isWatching() const { return current.has_value(); }
    /// Opens a report; a watch that is on goes on unchanged.
    void begin(Timestamp time, bool alreadyLocked);
    /// True if an event was added. Sleep is none: see `noteSleep`.
    bool record(AwayEventKind kind, const std::optional<std::string>& detail, Timestamp time);
    /// From now on keyboard and mouse count.
    void endSettling() { settlingUntil.reset(); }
    void noteSleep();
    /// Closes the report and gives it; nothing if no watch was on. With `ignoreOwnReturn` what the
    /// user does to come back stands apart in it.
    std::optional<AwayReport> finish(Timestamp time, bool ignoreOwnReturn);

    bool operator==(const AwayWatch&) const = default;
};

} // namespace velmoran
