// Watches the tray of the old kind (XEmbed) on an X display, over a connection of its own: that one
// comes or goes, and that it says another colour for pictures on it. Does nothing where the windows
// aren't X11's. Owned by whoever wants to know; main thread.
#pragma once

#include <QSocketNotifier>
#include <cstdint>
#include <functional>
#include <memory>

struct xcb_connection_t;

namespace velmoran {

class X11TrayWatch {
public:
    /// `changed` is called after each change, from the event loop.
    explicit X11TrayWatch(std::function<void()> changed);
    ~X11TrayWatch();
    X11TrayWatch(const X11TrayWatch&) = delete;
    X11TrayWatch& operator=(const X11TrayWatch&) = delete;

private:
    void begin();
    void followOwner();
    void read();

    std::function<void()> changed_;
    xcb_connection_t* x_ = nullptr; ///< null where there is nothing to watch
    std::uint32_t root_ = 0;
    std::uint32_t selection_ = 0;
    std::uint32_t manager_ = 0;
    std::uint32_t colors_ = 0;
    std::uint32_t owner_ = 0; ///< the tray's window
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace velmoran
