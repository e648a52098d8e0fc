// Control, Alt, Super and "." for stopping from any program. On X11 the keys are taken from the
// server; on Wayland the desktop is asked for them through its portal, where it has one. One per
// program, owned by the application delegate; main thread.
#pragma once

#include <QObject>
#include <functional>
#include <memory>

namespace velmoran {

class StopShortcut final : public QObject {
public:
    /// Whether the desktop alone hands out keys, as Wayland ones do: their X server lets programs
    /// have them only while one of its own has the focus.
    explicit StopShortcut(bool desktopHandsOutKeys = false)
        : desktopHandsOutKeys_(desktopHandsOutKeys) {}

    /// Switches the shortcut on, with what a press does from now on, or off. False if it can't be
    /// had: another program has the keys, or there is no way to ask the desktop. A press that was
    /// on its way when it was switched off does nothing.
    bool set(bool enabled, std::function<void()> action);

    /// The shortcut was there, or asked for, and can't be had after all: the keyboard has changed,
    /// or the desktop gives no keys, which it may ask the user about, or not any more. It is off
    /// then.
    std::function<void()> onLost;

private:
    void lose();

    const bool desktopHandsOutKeys_;
    std::function<void()> action_;
    int timesSet_ = 0;                ///< what is told of an earlier time doesn't count any more
    std::unique_ptr<QObject> source_; ///< what the presses come from; null while it is off
};

} // namespace velmoran
