// Owns the running program and brings it up in order: what is on the screen first, then the model,
// then the first window. One per program, made by `main`; main thread.
#pragma once

#include "app/model/AppModel.h"
#include "app/model/LoginItem.h"
#include "app/screens/BrowserDialog.h"
#include "app/screens/Screens.h"
#include "app/shell/ScreenChanges.h"
#include "app/shell/Wish.h"
#include "app/shell/floating/FloatingStopButton.h"
#include "app/shell/shortcut/StopShortcut.h"
#include "app/shell/surface/DesktopAbilities.h"
#include "app/shell/tray/StatusItemController.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace velmoran {

class AppDelegate {
public:
    /// What the program does beyond itself.
    struct Outside {
        std::function<void()> quit = [] {
        };
        /// Ends this one and starts another. Without it nobody is offered that.
        std::function<void()> relaunch = {};
        /// The machine that is played gives the shortcut to nobody; without it the real one is
        /// asked.
        std::function<bool()> refusesShortcut = {};
        LoginItem* loginItem = nullptr; ///< null: one that is forgotten at the end
    };

    /// How the program was started.
    struct Launch {
        bool isLogin = false;   ///< the desktop did it, at login: no window
        bool isUnasked = false; ///< nobody did: no window, not the introduction either
        std::optional<std::string> show = {};       ///< this window in place of the first one
        std::optional<std::string> showWindow = {}; ///< before the setting of that name
    };

    /// The surroundings outlive the delegate. Whom the model asks about browsers is the person at
    /// the screen, and its windows are the program's, whatever the surroundings say.
    AppDelegate(ModelSurroundings surroundings, AppPicture picture, Outside outside,
                DesktopAbilities desktop);
    AppDelegate(ModelSurroundings surroundings, AppPicture picture, Outside outside)
        : AppDelegate(std::move(surroundings), std::move(picture), std::move(outside),
                      DesktopAbilities()) {}
    ~AppDelegate() { screens_.end(); }
    AppDelegate(const AppDelegate&) = delete;
    AppDelegate& operator=(const AppDelegate&) = delete;

    void didFinishLaunching(const Launch& launch);
    /// Somebody started the program a second time, and wants to see that window; the main one if
    /// there is none of that name.
    void reopen(const Wish& wish);
    /// Which one that is.
    static std::string windowFor(std::string_view window);
    /// Lets the next window that is shown come to the front, if the desktop gave a token for it.
    static void takeToken(const Wish& wish);
    /// What a second start wishes that is there for nobody to see.
    static constexpr std::string_view nothing = "nothing";

    /// Somebody has a window of the program open, or the panel.
    bool isLookedAt() const;

    AppModel& model() { return model_; }
    Screens& screens() { return screens_; }
    /// Null before the launch.
    StatusItemController* statusItem() const { return statusItem_.get(); }
    /// Null before the launch, and where nothing can carry it.
    FloatingStopButton* floatingStop() const { return floatingStop_.get(); }
    BrowserDialog& browserDialog() { return browserDialog_; }

private:
    /// As long as the program runs.
    class ForgottenLoginItem final : public LoginItem {
    public:
        bool isOn() const override { return isOn_; }
        bool set(bool on) override {
            isOn_ = on;
            return true;
        }

    private:
        bool isOn_ = false;
    };

    /// Null where there are none.
    Overlays* findOverlays();
    void makeStatusItem();
    void tellByTheDesktop();
    void watchShortcut();
    void showFirstWindow(const Launch& launch);

    BrowserDialog browserDialog_;
    Screens screens_;
    ForgottenLoginItem forgotten_;
    ModelSurroundings around_;
    AppPicture picture_;
    Outside outside_;
    AppModel model_;
    DesktopAbilities desktop_;
    std::unique_ptr<Overlays> layers_;
    std::unique_ptr<NoticeSurface> notifications_;     ///< in place of cards
    std::unique_ptr<FloatingStopButton> floatingStop_; ///< the status item's cards ask where it is
    std::unique_ptr<StatusItemController> statusItem_;
    std::unique_ptr<ScreenChanges> screenChanges_;
    StopShortcut stopShortcut_;
    Subscription shortcutChoice_;
};

} // namespace velmoran
