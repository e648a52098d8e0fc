#include "app/shell/shortcut/StopShortcut.h"

#include "app/shell/shortcut/PortalShortcut.h"
#include "app/shell/shortcut/X11KeyGrab.h"
#include "app/shell/surface/X11Window.h"

#include <utility>

namespace velmoran {

bool StopShortcut::set(bool enabled, std::function<void()> action) {
    source_.reset();
    action_ = std::move(action);
    const int time = ++timesSet_;
    if (!enabled) {
        return true;
    }
    const auto pressed = [this] {
        // A copy, since it may switch the shortcut off.
        if (const auto run = action_) {
            run();
        }
    };
    // Later, since whoever tells of the loss is what goes. By then it may have been switched off.
    const auto lost = [this, time] {
        QMetaObject::invokeMethod(
            this,
            [this, time] {
                if (time == timesSet_) {
                    lose();
                }
            },
            Qt::QueuedConnection);
    };
    if (x11Connection() && !desktopHandsOutKeys_) {
        auto grab = std::make_unique<X11KeyGrab>(pressed, lost);
        if (!grab->acquire()) {
            return false;
        }
        source_ = std::move(grab);
        return true;
    }
    auto portal = std::make_unique<PortalShortcut>(pressed, lost);
    if (!portal->ask()) {
        return false;
    }
    source_ = std::move(portal);
    return true;
}

void StopShortcut::lose() {
    source_.reset();
    if (onLost) {
        onLost();
    }
}

} // namespace velmoran
