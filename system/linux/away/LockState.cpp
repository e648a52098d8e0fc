#include "system/linux/away/LockState.h"

namespace velmoran {

void LockState::say(Voice voice, bool locked) {
    if (locked) {
        lockBy(voice);
        return;
    }
    // A locker that was asked for its lock, and has ended it, sends logind no word of that.
    saying_.erase(Voice::request);
    endOf(voice);
}

void LockState::answer(Voice voice, bool locked) {
    const bool isFirst = asked_.insert(voice).second;
    if (!locked) {
        if (saying_.contains(voice)) { // it has said otherwise meanwhile, and we didn't hear
            say(voice, false);
        }
    } else if (isFirst && saying_.empty()) {
        lockBy(voice);
        lockedBefore_ = true;
    } else {
        lockBy(voice);
    }
}

void LockState::leave(Voice voice) {
    endOf(voice);
}

void LockState::lockBy(Voice voice) {
    saying_.insert(voice);
    hasHeardALock_ = true;
}

void LockState::endOf(Voice voice) {
    saying_.erase(voice);
    if (saying_.empty()) {
        lockedBefore_ = false;
    }
}

} // namespace velmoran
