// Whether the screen is locked, of all that is said about it: several may speak of the same lock,
// in any order, and none is counted twice. A plain value.
#pragma once

#include <set>

namespace velmoran {

class LockState {
public:
    enum class Voice {
        request, ///< logind's word to the session that it lock itself; it hears of no end but by
                 ///< another such word, or from the others
        hint,    ///< the locker's word to logind
        desktopSaver,
        gnomeSaver,
        gnomeShell, ///< for which, in newer GNOME, the saver speaks that comes and goes
        cinnamonSaver,
        mateSaver,
        xfceSaver
    };

    /// Announces it.
    void say(Voice voice, bool locked);
    /// Says so when it is asked. A screen that is found locked when a voice is asked for the first
    /// time is one that was locked before.
    void answer(Voice voice, bool locked);
    /// Is there no more.
    void leave(Voice voice);

    /// Locked since the start.
    bool isLocked() const { return !lockedBefore_ && !saying_.empty(); }
    /// Whether anybody has ever spoken of a lock.
    bool hasHeardALock() const { return hasHeardALock_; }

private:
    void lockBy(Voice voice);
    void endOf(Voice voice);

    std::set<Voice> saying_; ///< that it is locked
    std::set<Voice> asked_;  ///< at least once
    bool lockedBefore_ = false;
    bool hasHeardALock_ = false;
};

} // namespace velmoran
