#include "app/model/AwayOutlook.h"

namespace velmoran {

AwayOutlook::AwayOutlook(AwayReadings& readings, ScreenLock& lock, SettingsStore& settings,
                         Scheduler& scheduler)
    : readings_(readings),
      lock_(lock),
      settings_(settings),
      mainThread_(scheduler) {}

void AwayOutlook::start() {
    wish_ = settings_.awayWatchOnLock.subscribe([this](bool isWanted) {
        if (isWanted) {
            look();
        }
    });
    if (*settings_.awayWatchOnLock) {
        mainThread_.post([this] { look(); }); // the start has more urgent things to do
    }
}

void AwayOutlook::look() {
    if (!announcers_) {
        announcers_ = lock_.onAnnouncerChange(mainThread_.later([this] { look(); }));
    }
    gaps.set({.noLock = !lock_.isAnnounced(), .noInput = !readings_.tellsInput()});
}

bool AwayOutlook::readsLid() {
    if (!readsLid_) {
        const auto sensor = readings_.openLidAngle();
        readsLid_ = sensor && sensor->read();
    }
    return *readsLid_;
}

} // namespace velmoran
