// When the screen of our own display is locked and unlocked: as logind has it of our session, and
// as the desktop's screen saver says on the session bus. Owned by the machine; main thread, its
// callbacks come on the loop's.
#pragma once

#include "core/base/Subscription.h"
#include "system/AwayReadings.h"
#include "system/linux/away/OwnSession.h"
#include "system/linux/bus/BusKeeper.h"
#include "system/linux/kernel/EventLoop.h"

#include <functional>
#include <memory>

namespace velmoran {

class LinuxScreenLock final : public ScreenLock {
public:
    /// All outlive this.
    LinuxScreenLock(EventLoop& loop, BusKeeper& systemBus, BusKeeper& sessionBus, OwnPlace place);
    ~LinuxScreenLock() override;
    LinuxScreenLock(const LinuxScreenLock&) = delete;
    LinuxScreenLock& operator=(const LinuxScreenLock&) = delete;

    Subscription observe(std::function<void()> onLock, std::function<void()> onUnlock) override;
    /// Whether a screen saver answers that it tells, or a lock has been heard of since the start.
    /// True until all have been asked.
    bool isAnnounced() override;
    Subscription onAnnouncerChange(std::function<void()> changed) override;

private:
    class Listening;

    Listening& listening();

    EventLoop& loop_;
    BusKeeper& systemBus_;
    BusKeeper& sessionBus_;
    OwnPlace place_;
    std::unique_ptr<Listening> listening_; ///< since the first observer or question
};

} // namespace velmoran
