// private-session: runs a command inside a session with real servers of its own. The benchmarks
// stand on it, and `./run` on a machine that has no sound server.
#include "support/PrivateSession.h"
#include "support/Sway.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <optional>
#include <poll.h>
#include <string_view>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

extern char** environ;

namespace velmoran::support {
namespace {

constexpr const char* usage = R"(usage: private-session [OPTION]… -- COMMAND [ARGUMENT]…
       private-session --reachable

  --sound        D-Bus, PipeWire, WirePlumber and the PulseAudio server, with a virtual speaker
  --microphone   a virtual microphone with a tone
  --camera       a virtual camera
  --display      Xvfb with openbox
  --tray         a tray on that display
  --sway         sway without a screen and without XWayland, beside that display if there is one
  --keep-home    COMMAND keeps its caller's home, display and bus; only the sound server is private
  --reachable    exit status 0 if a sound server answers in the caller's own session
)";

struct Wishes {
    bool sound = false;
    bool microphone = false;
    bool camera = false;
    bool display = false;
    bool tray = false;
    bool sway = false;
    bool keepHome = false;
    std::vector<std::string> command;
};

Environment callersEnvironment() {
    Environment result;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string_view text = *entry;
        const auto equals = text.find('=');
        if (equals != std::string_view::npos) {
            result[std::string(text.substr(0, equals))] = text.substr(equals + 1);
        }
    }
    return result;
}

bool soundServerAnswers(const Environment& environment) {
    const auto value = [&](const char* name) {
        const auto found = environment.find(name);
        return found == environment.end() ? std::string() : found->second;
    };
    if (const auto server = value("PULSE_SERVER"); !server.empty()) {
        if (server.starts_with("unix:")) {
            return socketAnswers(server.substr(5));
        }
        return !server.starts_with('/') || socketAnswers(server);
    }
    const std::string name =
        value("PIPEWIRE_REMOTE").empty() ? "pipewire-0" : value("PIPEWIRE_REMOTE");
    const std::filesystem::path runtime = value("XDG_RUNTIME_DIR");
    std::filesystem::path pipewire = value("PIPEWIRE_RUNTIME_DIR");
    if (pipewire.empty()) {
        pipewire = runtime;
    }
    return (!pipewire.empty() && socketAnswers(pipewire / name)) ||
           (!runtime.empty() && socketAnswers(runtime / "pulse/native"));
}

// The caller's own environment with the private sound server put into it. What the caller reaches
// through its runtime folder is named by its full path, since that variable changes.
Environment withSoundOf(PrivateSession& session) {
    Environment result = callersEnvironment();
    const auto runtime = result.find("XDG_RUNTIME_DIR");
    if (runtime != result.end()) {
        const std::filesystem::path folder = runtime->second;
        if (!result.contains("DBUS_SESSION_BUS_ADDRESS") && socketAnswers(folder / "bus")) {
            result["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=" + (folder / "bus").string();
        }
        if (result.contains("WAYLAND_DISPLAY")) {
            result["WAYLAND_DISPLAY"] = folder / result["WAYLAND_DISPLAY"];
        }
    }
    for (const char* name :
         {"PIPEWIRE_REMOTE", "PIPEWIRE_RUNTIME_DIR", "PULSE_SERVER", "PULSE_RUNTIME_PATH"}) {
        result.erase(name);
    }
    for (const char* name : {"DBUS_SESSION_BUS_ADDRESS", "DISPLAY"}) {
        const auto ours = session.environment().find(name);
        if (!result.contains(name) && ours != session.environment().end()) {
            result[name] = ours->second;
        }
    }
    result["XDG_RUNTIME_DIR"] = session.runtimeFolder();
    return result;
}

std::optional<Wishes> read(int count, char** arguments) {
    Wishes wishes;
    for (int i = 1; i < count; ++i) {
        const std::string_view argument = arguments[i];
        if (argument == "--") {
            wishes.command.assign(arguments + i + 1, arguments + count);
            break;
        }
        if (argument == "--sound") {
            wishes.sound = true;
        } else if (argument == "--microphone") {
            wishes.sound = wishes.microphone = true;
        } else if (argument == "--camera") {
            wishes.sound = wishes.camera = true;
        } else if (argument == "--display") {
            wishes.display = true;
        } else if (argument == "--sway") {
            wishes.sway = true;
        } else if (argument == "--tray") {
            wishes.display = wishes.tray = true;
        } else if (argument == "--keep-home") {
            wishes.keepHome = true;
        } else {
            return std::nullopt;
        }
    }
    return wishes.command.empty() ? std::nullopt : std::optional(wishes);
}

// Until the command ends. Signals go to the command, whose own end then ends the session.
int run(PrivateSession& session, const Wishes& wishes, int signals) {
    ChildProcess command(wishes.command, {.environment = wishes.keepHome ? withSoundOf(session)
                                                                         : session.environment(),
                                          .output = {},
                                          .errors = {},
                                          .inheritsTerminal = true});
    if (!command.neverBegan().empty()) {
        std::fprintf(stderr, "private-session: %s\n", command.neverBegan().c_str());
    }
    for (;;) {
        pollfd ready[] = {
            {.fd = command.pidFd(), .events = POLLIN, .revents = 0},
            {.fd = signals, .events = POLLIN, .revents = 0},
        };
        if (poll(ready, 2, -1) < 0 && errno != EINTR) {
            return 1;
        }
        if (ready[0].revents != 0) {
            const int status = command.wait().value_or(1);
            return status < 0 ? 128 - status : status;
        }
        if (ready[1].revents != 0) {
            signalfd_siginfo info{};
            if (::read(signals, &info, sizeof info) == sizeof info) {
                command.signal(static_cast<int>(info.ssi_signo));
            }
        }
    }
}

int main(int count, char** arguments) {
    if (count == 2 && std::string_view(arguments[1]) == "--reachable") {
        return soundServerAnswers(callersEnvironment()) ? 0 : 1;
    }
    if (count == 2 && std::string_view(arguments[1]) == "--help") {
        std::fputs(usage, stdout);
        return 0;
    }
    const auto wishes = read(count, arguments);
    if (!wishes) {
        std::fputs(usage, stderr);
        return 2;
    }
    sigset_t ending;
    sigemptyset(&ending);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        sigaddset(&ending, number);
    }
    sigprocmask(SIG_BLOCK, &ending, nullptr);
    const int signals = signalfd(-1, &ending, SFD_CLOEXEC);
    try {
        PrivateSession session;
        if (wishes->display) {
            session.startDisplay();
        }
        if (wishes->tray) {
            session.startTray();
        }
        if (wishes->sway) {
            startSway(session);
        }
        if (wishes->sound) {
            session.startSound();
        } else {
            session.startBus();
        }
        if (wishes->microphone) {
            session.addMicrophone();
        }
        if (wishes->camera) {
            session.addCamera();
        }
        return run(session, *wishes, signals);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "private-session: %s\n", error.what());
        return 1;
    }
}

} // namespace
} // namespace velmoran::support

int main(int count, char** arguments) {
    return velmoran::support::main(count, arguments);
}
