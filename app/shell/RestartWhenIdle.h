// Lets the program end, to be started anew, in a moment in which nobody misses it: nothing is on,
// no card, no panel and no window is showing, no stop is under way and nothing waits to be written
// to the history. Owned by `main`; main thread.
#pragma once

#include "app/model/AppModel.h"

#include <functional>
#include <vector>

namespace velmoran {

class RestartWhenIdle {
public:
    /// The model outlives this. `isLookedAt` says whether a window or the panel is open.
    RestartWhenIdle(AppModel& model, std::function<bool()> isLookedAt, std::function<void()> quit)
        : model_(model),
          isLookedAt_(std::move(isLookedAt)),
          quit_(std::move(quit)) {}

    /// From now on as soon as it can be.
    void wish();
    /// Not any more; nobody is to call that from where the model tells of a change.
    void withdraw() { watching_.clear(); }
    /// A window or the panel has been closed.
    void lookAgain() {
        if (!watching_.empty()) {
            tryNow();
        }
    }
    /// The program ends to be started anew.
    bool isDue() const { return isDue_; }

private:
    void tryNow();

    AppModel& model_;
    std::function<bool()> isLookedAt_;
    std::function<void()> quit_;
    bool isDue_ = false;
    std::vector<Subscription> watching_;
};

} // namespace velmoran
