// What can be known of a machine while nobody sits at it. A door with no decisions behind it.
#pragma once

#include "core/away/AwaySignal.h"
#include "core/base/Subscription.h"
#include "core/base/Timestamp.h"

#include <functional>
#include <memory>
#include <optional>

namespace velmoran {

/// In the order in which a tick asks for them.
enum class InputEvent { keyDown, mouseMoved, leftMouseDown, rightMouseDown, scrollWheel };

/// An opened hinge sensor. Main thread.
class LidAngle {
public:
    virtual ~LidAngle() = default;
    /// Whole degrees, 0 to 360; nothing if it can't be read.
    virtual std::optional<int> read() = 0;
};

/// Nothing is what can't be read. Main thread; cheap, since most is asked once a second. As it
/// stands here, of a machine that tells nothing.
class AwayReadings {
public:
    virtual ~AwayReadings() = default;
    /// Since the last input event of that kind, of whatever device; asked only while somebody
    /// listens.
    virtual std::optional<Seconds> sinceLast(InputEvent) { return std::nullopt; }
    virtual std::optional<bool> isLidClosed() { return std::nullopt; }
    /// Null if there is no sensor that works. Closed when it is dropped.
    virtual std::unique_ptr<LidAngle> openLidAngle() { return nullptr; }
    /// True on mains power.
    virtual std::optional<bool> isOnACPower() { return std::nullopt; }
    /// `announced` is called on any thread with each sleep, wake and plugged-in device, for as long
    /// as the handle is kept; with the handle everything that costs a wake-up begins and ends.
    [[nodiscard]] virtual Subscription listen(std::function<void(const AwaySignal&)>) { return {}; }
    /// Whether the use of keyboard and mouse can be told, and which it was. False on a desktop that
    /// tells only how long nothing was used.
    virtual bool tellsInput() { return true; }
};

/// As it stands here, of a machine whose screen nobody locks.
class ScreenLock {
public:
    virtual ~ScreenLock() = default;
    /// Called on any thread when the screen is locked and when it is unlocked, in that order and
    /// never twice in a row, for as long as the handle is kept. Not for a screen that is locked
    /// already. Main thread.
    [[nodiscard]] virtual Subscription observe(std::function<void()> /* onLock */,
                                               std::function<void()> /* onUnlock */) {
        return {};
    }
    /// Whether anything announces a lock here. Main thread.
    virtual bool isAnnounced() { return true; }
    /// Called on any thread when that has changed.
    [[nodiscard]] virtual Subscription onAnnouncerChange(std::function<void()>) { return {}; }
};

} // namespace velmoran
