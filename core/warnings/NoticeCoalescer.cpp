#include "core/warnings/NoticeCoalescer.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace velmoran {

std::optional<WarningNotice> NoticeCoalescer::registerSession(const UsageSession& session,
                                                              WarningLevel level,
                                                              bool duringAwayWatch) {
    if (level == WarningLevel::quiet) {
        return std::nullopt;
    }
    for (auto& notice : active_) {
        if (!notice.app.isSameApp(session.app) ||
            std::abs(notice.start - session.start) > window_) {
            continue;
        }
        auto& devices = notice.devices;
        if (std::find(devices.begin(), devices.end(), session.device) == devices.end()) {
            devices.push_back(session.device);
            std::sort(devices.begin(), devices.end());
        }
        notice.level = std::max(notice.level, level);
        notice.sessionIDs.insert(session.id);
        return notice;
    }
    active_.push_back({.id = Uuid::random(),
                       .app = session.app,
                       .devices = {session.device},
                       .level = level,
                       .start = session.start,
                       .duringAwayWatch = duringAwayWatch,
                       .sessionIDs = {session.id}});
    return active_.back();
}

std::optional<WarningNotice> NoticeCoalescer::remove(const Uuid& sessionID) {
    const auto found =
        std::find_if(active_.begin(), active_.end(), [&](const WarningNotice& notice) {
            return notice.sessionIDs.contains(sessionID);
        });
    if (found == active_.end()) {
        return std::nullopt;
    }
    auto notice = std::move(*found);
    active_.erase(found);
    return notice;
}

void NoticeCoalescer::keepOnly(const std::set<Uuid>& noticeIDs) {
    std::erase_if(active_,
                  [&](const WarningNotice& notice) { return !noticeIDs.contains(notice.id); });
}

} // namespace velmoran
