#include "support/Sway.h"

#include "support/SessionFiles.h"

#include <filesystem>
#include <stdexcept>
#include <unistd.h>

namespace velmoran::support {

namespace {

/// The name of what stands in the runtime folder and begins so; empty while nothing does.
std::string inRuntimeFolder(const PrivateSession& session, const std::string& begin) {
    for (const auto& entry : std::filesystem::directory_iterator(session.runtimeFolder())) {
        const auto name = entry.path().filename().string();
        if (name.starts_with(begin) && !name.ends_with(".lock")) {
            return name;
        }
    }
    return {};
}

} // namespace

void startSway(PrivateSession& session, bool withX) {
    session.need(withX ? std::vector<std::string>{"sway", "Xwayland"}
                       : std::vector<std::string>{"sway"});
    auto& environment = session.environment();
    const auto shown = session.file("x-display");
    std::string configuration = "output HEADLESS-1 resolution 1280x800 position 0 0\n"
                                "focus_follows_mouse no\n"
                                "default_border none\n"
                                // Whoever wants the bar starts it.
                                "bar {\n id bar-0\n position top\n swaybar_command true\n}\n";
    configuration += withX ? "xwayland enable\nexec echo \"$DISPLAY\" > " + shown.string() + "\n"
                           : "xwayland disable\n";
    writeFile(session.file("sway.conf"), configuration);
    environment["WLR_BACKENDS"] = "headless";
    environment["WLR_RENDERER"] = "pixman";
    environment["WLR_LIBINPUT_NO_DEVICES"] = "1";
    std::vector<std::string> command = {"sway", "-c", session.file("sway.conf")};
    // It runs for nobody who is root, so root is somebody else there.
    if (::geteuid() == 0) {
        command.insert(command.begin(), {"unshare", "-U", "--map-user=1000", "--map-group=1000"});
    }
    auto& sway = session.start("sway", command);
    const bool isUp = waitUntil([&] {
        return !sway.running() || (!inRuntimeFolder(session, "wayland-").empty() &&
                                   !inRuntimeFolder(session, "sway-ipc").empty() &&
                                   (!withX || readFile(shown).ends_with('\n')));
    });
    if (!isUp || !sway.running()) {
        throw std::runtime_error("sway didn't come up\n" + session.logs());
    }
    environment["WAYLAND_DISPLAY"] = inRuntimeFolder(session, "wayland-");
    environment["SWAYSOCK"] = session.runtimeFolder() / inRuntimeFolder(session, "sway-ipc");
    environment["XDG_SESSION_TYPE"] = "wayland";
    environment["XDG_CURRENT_DESKTOP"] = "sway";
    if (withX) {
        auto display = readFile(shown);
        display.pop_back();
        environment["DISPLAY"] = display;
    }
}

std::string askSway(PrivateSession& session, const std::vector<std::string>& words) {
    std::vector<std::string> command{"swaymsg"};
    command.insert(command.end(), words.begin(), words.end());
    const auto answer = session.run(command);
    return answer.succeeded() ? answer.output : std::string();
}

} // namespace velmoran::support
