// What every screen stands on. Copied into each; all that it refers to outlives the screens.
#pragma once

#include "app/look/AppPicture.h"
#include "app/model/AppModel.h"
#include "core/base/Scheduler.h"
#include "core/history/ActivityRow.h"

#include <functional>

namespace velmoran {

/// What a screen can have done that lies beyond its own window.
struct ScreenActions {
    std::function<void()> showHistory = [] {
    };
    std::function<void()> showSettings = [] {
    };
    std::function<void(const ActivityRow&)> showDetails = [](const ActivityRow&) {
    };
    std::function<void()> quit = [] {
    };
    /// Ends this one and starts another. Empty where that can't be done.
    std::function<void()> relaunch = {};
    /// In the user's browser.
    std::function<void(const std::string& address)> openWebPage = [](const std::string&) {
    };
};

struct ScreenContext {
    AppModel& model;
    /// For what a screen redraws by the clock, and only while it is shown.
    Scheduler& scheduler;
    AppPicture picture;
    ScreenActions actions;
};

} // namespace velmoran
