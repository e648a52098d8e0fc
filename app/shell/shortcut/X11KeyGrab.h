// The stop shortcut's keys, taken for this program from all of an X11 desktop. Exists while the
// shortcut is on; owned by it. Main thread.
#pragma once

#include "app/shell/shortcut/X11Keys.h"

#include <QAbstractNativeEventFilter>
#include <QObject>
#include <functional>
#include <optional>

namespace velmoran {

class X11KeyGrab final : public QObject, private QAbstractNativeEventFilter {
public:
    /// `pressed` runs once for each press, from the event loop and never inside an event's filter.
    /// `lost` runs when the keys had to be taken anew, since the keyboard has changed, and can't be
    /// had any more.
    X11KeyGrab(std::function<void()> pressed, std::function<void()> lost);
    /// Gives the keys back.
    ~X11KeyGrab() override;

    /// Takes the keys, all of them or none. False where another program has one of them, the
    /// keyboard has no such keys, or the desktop isn't X11.
    [[nodiscard]] bool acquire();

private:
    bool nativeEventFilter(const QByteArray& type, void* message, qintptr* result) override;
    void press(std::uint32_t time);
    void reacquire();
    void release();

    std::function<void()> pressed_;
    std::function<void()> lost_;
    std::optional<X11Keys> keys_;
    std::uint8_t keyboardEvents_ = 0; ///< the extension's number for its events; 0 without it
    bool isHeld_ = false;
    bool isChanging_ = false;
    std::uint32_t lastPress_ = 0;
    std::uint32_t lastRelease_ = 0;
};

} // namespace velmoran
