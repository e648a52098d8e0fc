// The windows of an app on the X server, asked to close as the window manager asks when the user
// clicks their close button. A connection of its own that lives only as long as this object, so
// that nothing of the program's own windows is touched. Made and used on one thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <sys/types.h>

struct xcb_connection_t;

namespace velmoran {

class AppWindows {
public:
    /// How long an answering server may take at most, on a machine that does much else too.
    static constexpr std::chrono::milliseconds patience{500};

    /// The top-level windows of these processes that can be asked to close, on the server of that
    /// DISPLAY. Whose a window is, the server says by the connection that made it; only where the
    /// server can't, it is taken from what the window claims, and then it must claim this machine
    /// too. Nothing if there are none, or the server doesn't answer within `patience`.
    static std::unique_ptr<AppWindows>
    of(const std::vector<pid_t>& processes, const std::string& display,
       std::chrono::milliseconds patience = AppWindows::patience);
    ~AppWindows();
    AppWindows(const AppWindows&) = delete;
    AppWindows& operator=(const AppWindows&) = delete;

    /// The newest first: a dialog goes before the window that it stands in front of. Keep the
    /// object for a while: the server may drop what it hasn't read yet when the connection ends.
    void askToClose();

private:
    struct Window {
        std::uint32_t id = 0;
        std::uint32_t root = 0;
        bool isManaged = false; ///< by a window manager that takes requests to close
    };

    AppWindows(const std::vector<pid_t>& processes, const std::string& display);

    xcb_connection_t* connection_ = nullptr;
    std::uint32_t closeWindow_ = 0;
    std::uint32_t protocols_ = 0;
    std::uint32_t deleteWindow_ = 0;
    std::vector<Window> windows_;
};

} // namespace velmoran
