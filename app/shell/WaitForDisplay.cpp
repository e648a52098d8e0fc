#include "app/shell/WaitForDisplay.h"

#include "app/shell/DisplayChoice.h"
#include "app/shell/DisplayLoss.h"

#include <QGuiApplication>
#include <utility>

namespace velmoran {

WaitForDisplay::WaitForDisplay(const AppModel& model, std::string sessionBus,
                               std::chrono::seconds pause, std::function<void(bool)> over)
    : model_(model),
      sessionBus_(std::move(sessionBus)),
      over_(std::move(over)),
      pause_(pause) {
    timer_.callOnTimeout([this] { look(); });
    timer_.start(std::chrono::seconds(5));
}

bool WaitForDisplay::isBlind() {
    return QGuiApplication::platformName() == QLatin1String("offscreen");
}

void WaitForDisplay::look() {
    if (pause_.hasExpired() && !model_.isBusyStopping() && !model_.historyIsBehind() &&
        isDisplayBack()) {
        over_(true);
    } else if (isLoginOver(sessionBus_)) {
        over_(false);
    }
}

} // namespace velmoran
