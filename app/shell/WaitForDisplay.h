// What a program whose display has gone waits for: a display, or the end of the login. Used by
// `main` alone; main thread.
#pragma once

#include "app/model/AppModel.h"

#include <QDeadlineTimer>
#include <QTimer>
#include <chrono>
#include <functional>
#include <string>

namespace velmoran {

class WaitForDisplay {
public:
    /// The model outlives it. `over` is called with whether a display is back: none before `pause`
    /// has passed, nor while the model is at work. Else it is the login that is over.
    WaitForDisplay(const AppModel& model, std::string sessionBus, std::chrono::seconds pause,
                   std::function<void(bool isBack)> over);

    /// Nothing that the program shows can be seen.
    static bool isBlind();

private:
    void look();

    const AppModel& model_;
    std::string sessionBus_;
    std::function<void(bool)> over_;
    QDeadlineTimer pause_;
    QTimer timer_;
};

} // namespace velmoran
