// Owns the running program and brings it up in order: what is on the screen first, then the model.
// One per program, made by `main`; main thread.
#pragma once

#include "app/model/AppModel.h"
#include "app/screens/BrowserDialog.h"
#include "app/shell/ScreenChanges.h"
#include "app/shell/floating/FloatingStopButton.h"
#include "app/shell/shortcut/StopShortcut.h"
#include "app/shell/tray/StatusItemController.h"

#include <functional>
#include <memory>

namespace velmoran {

class AppDelegate {
public:
    /// The surroundings outlive the delegate. Whom the model asks about browsers is the person at
    /// the screen, whatever the surroundings say. `refusesShortcut`: the machine that is played
    /// gives the shortcut to nobody; without it the real one is asked.
    AppDelegate(ModelSurroundings surroundings, AppPicture picture, std::function<void()> quit,
                std::function<bool()> refusesShortcut = {});

    void didFinishLaunching();
    /// Somebody started the program a second time.
    void reopen();

    AppModel& model() { return model_; }
    /// Null before the launch.
    StatusItemController* statusItem() const { return statusItem_.get(); }
    FloatingStopButton* floatingStop() const { return floatingStop_.get(); }
    BrowserDialog& browserDialog() { return browserDialog_; }

private:
    void watchShortcut();

    BrowserDialog browserDialog_;
    ModelSurroundings around_;
    AppPicture picture_;
    std::function<void()> quit_;
    std::function<bool()> refusesShortcut_;
    AppModel model_;
    std::unique_ptr<StatusItemController> statusItem_;
    std::unique_ptr<FloatingStopButton> floatingStop_;
    std::unique_ptr<ScreenChanges> screenChanges_;
    StopShortcut stopShortcut_;
    Subscription shortcutChoice_;
};

} // namespace velmoran
