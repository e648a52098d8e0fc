// What runs of an app on a Linux desktop: its processes, and its windows if it has any on the X
// server. Owned by the closer of the machine; main thread.
//
// An app with windows is an application: they are asked to close, so that it can ask about unsaved
// work. Its processes are one thing together, since an app that is asked to end may start others:
// whoever is of the app when it is said to be gone, or is ended by force, counts.
#pragma once

#include "system/AppCloser.h"
#include "system/linux/apps/ProcessFinder.h"
#include "system/linux/closing/AppWindows.h"
#include "system/linux/kernel/NewestProcess.h"

#include <chrono>
#include <string>

namespace velmoran {

class LinuxRunningApps final : public RunningApps {
public:
    /// The processes outlive it and what it finds. `display` as in DISPLAY; empty for none. An app
    /// counts as one without windows if the display doesn't answer within `patience`.
    LinuxRunningApps(const ProcessFinder& processes, std::string display,
                     std::chrono::milliseconds patience = AppWindows::patience);

    /// Never this program itself, nor those that started it, nor process 1.
    RunningApp find(const AppIdentity& app) override;

private:
    const ProcessFinder& processes_;
    const std::string display_;
    const std::chrono::milliseconds patience_;
    const NewestProcess newest_;
};

} // namespace velmoran
