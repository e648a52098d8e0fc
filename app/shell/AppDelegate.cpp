#include "app/shell/AppDelegate.h"

#include <utility>

namespace velmoran {

AppDelegate::AppDelegate(ModelSurroundings surroundings, AppPicture picture,
                         std::function<void()> quit)
    : around_(surroundings),
      picture_(std::move(picture)),
      quit_(std::move(quit)),
      model_(surroundings) {}

AppDelegate::~AppDelegate() = default;

void AppDelegate::didFinishLaunching() {
    statusItem_ = std::make_unique<StatusItemController>(
        model_, around_.clock, picture_,
        StatusItemController::Actions{.stopEverything = [this] { stopEverything(); },
                                      .quit = quit_});
    floatingStop_ = std::make_unique<FloatingStopButton>(model_, around_.scheduler,
                                                         [this] { stopEverything(); });
    model_.start();
}

void AppDelegate::willTerminate() {
    model_.stopMonitor();
}

void AppDelegate::stopEverything() {
    model_.stopEverything();
}

void AppDelegate::reopen() {
    if (statusItem_) {
        statusItem_->showCards();
    }
}

} // namespace velmoran
