// Groups sessions into notices: devices that one app turns on within a moment reach the user as
// one. A plain value that the application model owns; main thread.
#pragma once

#include "core/records/UsageSession.h"
#include "core/warnings/WarningNotice.h"

#include <optional>
#include <set>
#include <vector>

namespace velmoran {

class NoticeCoalescer {
public:
    /// `window`: how far apart two starts may be, in either direction and inclusive. It is measured
    /// from a notice's first session, so that a chain of sessions can't stretch it.
    explicit NoticeCoalescer(Seconds window) : window_(window) {}

    /// The notice to show, new or merged into; nothing for `quiet`.
    std::optional<WarningNotice> registerSession(const UsageSession& session, WarningLevel level,
                                                 bool duringAwayWatch);
    /// Takes the notice that holds the session out of play; nothing if none does.
    std::optional<WarningNotice> remove(const Uuid& sessionID);
    /// Drops every notice whose id isn't among these.
    void keepOnly(const std::set<Uuid>& noticeIDs);

    /// Notices in play, oldest first.
    const std::vector<WarningNotice>& active() const { return active_; }

    bool operator==(const NoticeCoalescer&) const = default;

private:
    Seconds window_;
    std::vector<WarningNotice> active_;
};

} // namespace velmoran
