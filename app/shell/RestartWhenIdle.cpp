#include "app/shell/RestartWhenIdle.h"

namespace velmoran {

void RestartWhenIdle::wish() {
    if (!watching_.empty()) {
        return;
    }
    watching_.push_back(model_.onChange.subscribe([this] { tryNow(); }));
    watching_.push_back(model_.isStopping.subscribe([this](bool) { tryNow(); }));
    watching_.push_back(model_.historyProblem.subscribe([this](const auto&) { tryNow(); }));
    tryNow();
}

void RestartWhenIdle::tryNow() {
    const bool isIdle = !model_.snapshot->cameraOn && !model_.snapshot->microphoneOn &&
                        model_.openSessions->empty() && model_.notices.items().empty() &&
                        !model_.isBusyStopping() && !model_.historyIsBehind() && !isLookedAt_();
    if (isIdle && !isDue_) {
        isDue_ = true;
        quit_();
    }
}

} // namespace velmoran
