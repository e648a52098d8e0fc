#include "app/shell/AppDelegate.h"

#include <utility>

namespace velmoran {

namespace {

ModelSurroundings askingAtTheScreen(ModelSurroundings surroundings, BrowserDialog& dialog) {
    surroundings.askAboutBrowsers = [&dialog](const BrowserQuestion& question,
                                              const BrowserDialog::Answer& answer) {
        return dialog.ask(question, answer);
    };
    return surroundings;
}

} // namespace

AppDelegate::AppDelegate(ModelSurroundings surroundings, AppPicture picture,
                         std::function<void()> quit, std::function<bool()> refusesShortcut)
    : around_(askingAtTheScreen(std::move(surroundings), browserDialog_)),
      picture_(std::move(picture)),
      quit_(std::move(quit)),
      refusesShortcut_(std::move(refusesShortcut)),
      model_(around_) {}

void AppDelegate::didFinishLaunching() {
    const auto stop = [this] {
        model_.stopEverything();
    };
    statusItem_ = std::make_unique<StatusItemController>(
        model_, model_.clock(), picture_,
        StatusItemController::Actions{.stopEverything = stop, .quit = quit_});
    floatingStop_ = std::make_unique<FloatingStopButton>(model_, around_.scheduler, stop);
    statusItem_->noticePanel().obstacle = [this] {
        return floatingStop_->frame();
    };
    screenChanges_ = std::make_unique<ScreenChanges>([this] {
        floatingStop_->layOut();
        // Second, since they keep clear of it.
        statusItem_->noticePanel().redraw();
    });
    watchShortcut();
    model_.start();
    statusItem_->awaitTray();
}

void AppDelegate::watchShortcut() {
    const auto apply = [this] {
        const bool wanted = *model_.settings.stopShortcutOn;
        const bool refused = refusesShortcut_ && refusesShortcut_();
        const bool done =
            stopShortcut_.set(wanted && !refused, [this] { model_.stopEverything(); });
        model_.stopShortcutUnavailable.set((wanted && refused) || !done);
    };
    stopShortcut_.onLost = [this] {
        model_.stopShortcutUnavailable.set(true);
    };
    shortcutChoice_ = model_.settings.stopShortcutOn.subscribe([apply](bool) { apply(); });
    apply();
}

void AppDelegate::reopen() {
    if (statusItem_) {
        statusItem_->showCards();
    }
}

} // namespace velmoran
