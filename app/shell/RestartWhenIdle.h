// Lets the program end, to be started anew, in a moment in which nobody misses it: nothing is on,
// no card is showing, no stop is under way and nothing waits to be written to the history. Owned by
// `main`; main thread.
#pragma once

#include "app/model/AppModel.h"

#include <functional>
#include <vector>

namespace velmoran {

class RestartWhenIdle {
public:
    /// The model outlives this.
    RestartWhenIdle(AppModel& model, std::function<void()> quit)
        : model_(model),
          quit_(std::move(quit)) {}

    /// From now on as soon as it can be, unless a tray that needs no bus is there.
    void wish();
    /// The program ends to be started anew.
    bool isDue() const { return isDue_; }

private:
    void tryNow();

    AppModel& model_;
    std::function<void()> quit_;
    bool isDue_ = false;
    std::vector<Subscription> watching_;
};

} // namespace velmoran
