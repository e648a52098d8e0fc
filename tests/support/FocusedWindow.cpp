#include "support/FocusedWindow.h"

#include "support/Waiting.h"

#include <cstdlib>

namespace velmoran::support {

std::uint32_t startFocusedWindow(PrivateSession& session, const std::string& geometry) {
    session.start("editor", {"xev", "-geometry", geometry});
    std::string focus;
    const bool hasFocus = waitUntil([&] {
        focus = session.run({"xdotool", "getwindowfocus"}).output;
        const auto windows = session.run({"xdotool", "search", "--name", "Event Tester"}).output;
        if (!focus.empty() && windows.find(focus) != std::string::npos) {
            return true;
        }
        // As a person would who finds another window in front.
        (void)session.run({"xdotool", "search", "--name", "Event Tester", "windowactivate"});
        return false;
    });
    return hasFocus ? static_cast<std::uint32_t>(std::strtoul(focus.c_str(), nullptr, 10)) : 0;
}

} // namespace velmoran::support
