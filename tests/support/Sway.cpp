#include "support/Sway.h"

#include "support/SessionFiles.h"

#include <filesystem>
#include <stdexcept>
#include <unistd.h>

namespace velmoran::support {

namespace {

constexpr const char* hullSocket = "HULL_SWAYSOCK";

/// The name of what stands in the runtime folder, begins so and isn't `other`; empty while nothing
/// does.
std::string inRuntimeFolder(const PrivateSession& session, const std::string& begin,
                            const std::string& other = {}) {
    for (const auto& entry : std::filesystem::directory_iterator(session.runtimeFolder())) {
        const auto name = entry.path().filename().string();
        if (name.starts_with(begin) && !name.ends_with(".lock") && name != other) {
            return name;
        }
    }
    return {};
}

struct Sockets {
    std::string display;
    std::string commands;
};

Sockets run(PrivateSession& session, const std::string& name, const std::string& configuration,
            const Sockets& others = {}, const std::filesystem::path& shown = {}) {
    const auto file = session.file(name + ".conf");
    writeFile(file, configuration);
    std::vector<std::string> command = {"sway", "-c", file};
    // It runs for nobody who is root, so root is somebody else there.
    if (::geteuid() == 0) {
        command.insert(command.begin(), {"unshare", "-U", "--map-user=1000", "--map-group=1000"});
    }
    auto& sway = session.start(name, command);
    Sockets found;
    const bool isUp = waitUntil([&] {
        found = {.display = inRuntimeFolder(session, "wayland-", others.display),
                 .commands = inRuntimeFolder(session, "sway-ipc", others.commands)};
        return !sway.running() || (!found.display.empty() && !found.commands.empty() &&
                                   (shown.empty() || readFile(shown).ends_with('\n')));
    });
    if (!isUp || !sway.running()) {
        throw std::runtime_error("sway didn't come up\n" + session.logs());
    }
    return found;
}

} // namespace

void startSway(PrivateSession& session, SwayWith with) {
    const bool withX = with == SwayWith::x;
    session.need(withX ? std::vector<std::string>{"sway", "Xwayland"}
                       : std::vector<std::string>{"sway"});
    auto& environment = session.environment();
    environment["WLR_BACKENDS"] = "headless";
    environment["WLR_RENDERER"] = "pixman";
    environment["WLR_LIBINPUT_NO_DEVICES"] = "1";
    Sockets hull;
    if (with == SwayWith::screens) {
        hull = run(session, "hull", "xwayland disable\n");
        environment[hullSocket] = session.runtimeFolder() / hull.commands;
        environment["WAYLAND_DISPLAY"] = hull.display;
        environment["WLR_BACKENDS"] = "wayland,headless";
        environment["WLR_WL_OUTPUTS"] = "0";
    }
    const auto shown = session.file("x-display");
    std::string configuration = "output HEADLESS-1 resolution 1280x800 position 0 0\n"
                                "focus_follows_mouse no\n"
                                "default_border none\n"
                                // Whoever wants the bar starts it.
                                "bar {\n id bar-0\n position top\n swaybar_command true\n}\n";
    configuration += withX ? "xwayland enable\nexec echo \"$DISPLAY\" > " + shown.string() + "\n"
                           : "xwayland disable\n";
    const auto sockets =
        run(session, "sway", configuration, hull, withX ? shown : std::filesystem::path());
    environment["WAYLAND_DISPLAY"] = sockets.display;
    environment["SWAYSOCK"] = session.runtimeFolder() / sockets.commands;
    environment["XDG_SESSION_TYPE"] = "wayland";
    environment["XDG_CURRENT_DESKTOP"] = "sway";
    if (withX) {
        auto display = readFile(shown);
        display.pop_back();
        environment["DISPLAY"] = display;
    }
}

void unplugFromSway(PrivateSession& session, const std::string& screen) {
    const auto& hull = session.environment().at(hullSocket);
    const auto answer = session.run({"swaymsg", "-s", hull, "[title=\"" + screen + "$\"]", "kill"});
    if (!answer.succeeded()) {
        throw std::runtime_error("no screen " + screen + '\n' + answer.output + answer.errors);
    }
}

std::string askSway(PrivateSession& session, const std::vector<std::string>& words) {
    std::vector<std::string> command{"swaymsg"};
    command.insert(command.end(), words.begin(), words.end());
    const auto answer = session.run(command);
    return answer.succeeded() ? answer.output : std::string();
}

} // namespace velmoran::support
