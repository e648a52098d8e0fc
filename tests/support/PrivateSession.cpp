#include "support/PrivateSession.h"

#include "support/SessionFiles.h"
#include "support/XServer.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ranges>
#include <sstream>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace velmoran::support {

namespace {

std::string inheritedOr(const char* name, const std::string& otherwise) {
    const char* value = getenv(name); // NOLINT(concurrency-mt-unsafe)
    return value != nullptr ? value : otherwise;
}

// A program named by its path is the build's own or a part of the test, so its lack is a fault.
void checkIsThere(const ChildProcess& child, const std::string& program) {
    if (child.isMissing() && program.find('/') == std::string::npos) {
        throw NotInstalled(program + " isn't installed");
    }
    if (child.isMissing()) {
        throw std::runtime_error(child.neverBegan());
    }
}

} // namespace

bool socketAnswers(const std::filesystem::path& socketPath) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string text = socketPath.string();
    if (text.size() >= sizeof address.sun_path) {
        return false;
    }
    std::memcpy(address.sun_path, text.c_str(), text.size() + 1);
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool connected =
        connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    close(fd);
    return connected;
}

PrivateSession::PrivateSession() {
    std::string pattern = "/tmp/vs-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), "mkdtemp");
    }
    folder_ = pattern;
    environment_ = {
        {"PATH", inheritedOr("PATH", "/usr/bin:/bin") + ":" UNPACKED_PROGRAMS},
        {"LANG", "C.UTF-8"},
        {"LC_ALL", "C.UTF-8"},
        {"HOME", home()},
        {"XDG_CONFIG_HOME", home() / ".config"},
        {"XDG_DATA_HOME", home() / ".local/share"},
        {"XDG_STATE_HOME", home() / ".local/state"},
        {"XDG_CACHE_HOME", home() / ".cache"},
        {"XDG_RUNTIME_DIR", runtimeFolder()},
        {"TMPDIR", folder_ / "tmp"},
        {"NO_AT_BRIDGE", "1"},
        // Never the machine's own, also while there is none in the session.
        {"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + (runtimeFolder() / "system-bus").string()},
    };
    for (const char* name : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME",
                             "XDG_CACHE_HOME", "XDG_RUNTIME_DIR", "TMPDIR"}) {
        std::filesystem::create_directories(environment_[name]);
        std::filesystem::permissions(environment_[name], std::filesystem::perms::owner_all);
    }
    for (const char* name : {"ASAN_OPTIONS", "LSAN_OPTIONS", "TSAN_OPTIONS", "UBSAN_OPTIONS"}) {
        if (const std::string value = inheritedOr(name, ""); !value.empty()) {
            environment_[name] = value;
        }
    }
    writeConfiguration();
}

PrivateSession::~PrivateSession() {
    while (!children_.empty()) {
        children_.pop_back();
    }
    // A client that is on its way out may still put a file there.
    std::error_code error;
    for (int attempt = 0; attempt < 100; ++attempt) {
        std::filesystem::remove_all(folder_, error);
        if (!error && !std::filesystem::exists(folder_, error)) {
            break;
        }
    }
}

void PrivateSession::enter() const {
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "DBUS_SESSION_BUS_ADDRESS",
                             "XDG_SESSION_ID", "XDG_SESSION_TYPE", "XDG_CURRENT_DESKTOP",
                             "PIPEWIRE_REMOTE", "PIPEWIRE_RUNTIME_DIR", "PULSE_SERVER"}) {
        unsetenv(name); // NOLINT(concurrency-mt-unsafe)
    }
    for (const auto& [name, value] : environment_) {
        setenv(name.c_str(), value.c_str(), 1); // NOLINT(concurrency-mt-unsafe)
    }
}

void PrivateSession::writeConfiguration() {
    const std::filesystem::path config = environment_["XDG_CONFIG_HOME"];
    writeFile(folder_ / "bus.conf", files::bus(runtimeFolder() / "bus"));
    writeFile(folder_ / "system-bus.conf", files::bus(runtimeFolder() / "system-bus"));
    // Of a person who has been introduced: no window comes by itself at a login.
    writeFile(config / "Velmoran/Velmoran.conf", "[General]\nonboardingDone=true\n");
    writeFile(config / "pipewire/pipewire.conf.d/10-speaker.conf", files::speaker());
    writeFile(config / "wireplumber/main.lua.d/51-headless.lua", files::noDevices());
    writeFile(config / "wireplumber/bluetooth.lua.d/51-headless.lua", files::noBluetooth());
    writeFile(config / "wireplumber/wireplumber.conf.d/51-headless.conf", files::headlessProfile());
}

void PrivateSession::startBus() {
    start("bus", {"dbus-daemon", "--config-file=" + file("bus.conf").string(), "--nofork"});
    await([&] { return socketAnswers(runtimeFolder() / "bus"); }, "the bus");
    environment_["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=" + (runtimeFolder() / "bus").string();
}

void PrivateSession::startSystemBus() {
    start("system bus",
          {"dbus-daemon", "--config-file=" + file("system-bus.conf").string(), "--nofork"});
    await([&] { return socketAnswers(runtimeFolder() / "system-bus"); }, "the system bus");
}

void PrivateSession::startPipeWire() {
    start("pipewire", {"pipewire"});
    await([&] { return socketAnswers(runtimeFolder() / "pipewire-0"); }, "PipeWire");
}

void PrivateSession::startWirePlumber() {
    start("wireplumber", {"wireplumber"});
    // The default metadata is its sign of life: it is there when links are made.
    await([&] { return graph().find("\"metadata.name\": \"default\"") != std::string::npos; },
          "WirePlumber");
}

void PrivateSession::startPulse() {
    start("pulse", {"pipewire-pulse"});
    await([&] { return socketAnswers(runtimeFolder() / "pulse/native"); },
          "PipeWire's PulseAudio server");
}

void PrivateSession::startPulseAudio(const std::vector<std::string>& modules) {
    std::vector<std::string> command = {"pulseaudio",
                                        "-n",
                                        "--daemonize=no",
                                        "--use-pid-file=no",
                                        "--exit-idle-time=-1",
                                        "--disallow-exit",
                                        "-L",
                                        "module-native-protocol-unix",
                                        "-L",
                                        "module-null-sink sink_name=speaker"};
    for (const auto& module : modules) {
        command.insert(command.end(), {"-L", module});
    }
    start("pulse", command);
    await([&] { return run({"pactl", "info"}).succeeded(); }, "PulseAudio");
}

void PrivateSession::startSound() {
    startBus();
    startPipeWire();
    startWirePlumber();
    startPulse();
    await(
        [&] {
            return run({"pactl", "get-default-sink"}).output == "virtual-speaker\n";
        },
        "the virtual speaker");
}

void PrivateSession::addMicrophone(const std::string& name, const std::string& description) {
    start(name, {VIRTUAL_DEVICE, "microphone", name, description});
    // A recorder may come as soon as the session manager has taken it for a default source.
    await(
        [&] {
            return child("pulse") == nullptr
                       ? graph().find(name) != std::string::npos
                       : run({"pactl", "list", "short", "sources"}).output.find(name) !=
                                 std::string::npos &&
                             run({"pactl", "set-default-source", name}).succeeded() &&
                             run({"pactl", "get-default-source"}).output == name + "\n";
        },
        description);
}

void PrivateSession::addCamera(const std::string& name, const std::string& description) {
    start(name, {VIRTUAL_DEVICE, "camera", name, description});
    await([&] { return graph().find("\"node.name\": \"" + name + "\"") != std::string::npos; },
          description);
}

void PrivateSession::startDisplay() {
    const auto number = file("display.out");
    start("display", {"Xvfb", "-displayfd", "1", "-screen", "0", "1280x800x24", "-nolisten", "tcp",
                      "-noreset"});
    await(
        [&] {
            const std::string text = readFile(number);
            return !text.empty() && text.back() == '\n';
        },
        "the X server");
    std::string text = readFile(number);
    text.pop_back();
    environment_["DISPLAY"] = ":" + text;
    start("window manager", {"openbox"});
    await([&] { return XServer(environment_["DISPLAY"]).hasWindowManager(); },
          "the window manager");
}

void PrivateSession::startTray() {
    start("tray",
          {"trayer", "--edge", "top", "--align", "right", "--width", "20", "--height", "32"});
    await([&] { return XServer(environment_["DISPLAY"]).hasTray(); }, "the tray");
}

void PrivateSession::need(const std::vector<std::string>& programs) const {
    for (const auto& program : programs) {
        bool found = false;
        std::istringstream folders(environment_.at("PATH"));
        for (std::string folder; !found && std::getline(folders, folder, ':');) {
            found = access((folder + "/" + program).c_str(), X_OK) == 0;
        }
        if (!found) {
            throw NotInstalled(program + " isn't installed");
        }
    }
}

void PrivateSession::needGStreamer() {
    // Without a version it wants GStreamer's own, which this plug-in needn't have.
    const auto looked =
        run({"gst-inspect-1.0", "--exists", "--atleast-version=0.0", "pipewiresrc"});
    if (looked.status == 1) {
        throw NotInstalled("GStreamer's plug-in for PipeWire isn't installed");
    }
    if (!looked.succeeded()) {
        throw std::runtime_error("gst-inspect-1.0 has failed\n" + looked.errors);
    }
}

void PrivateSession::stop(const std::string& name) {
    std::erase_if(children_, [&](const Named& child) { return child.name == name; });
}

std::vector<std::string> PrivateSession::names() const {
    std::vector<std::string> result;
    for (const auto& child : children_) {
        result.push_back(child.name);
    }
    return result;
}

ChildProcess* PrivateSession::child(const std::string& name) {
    const auto found = std::ranges::find(children_, name, &Named::name);
    return found == children_.end() ? nullptr : found->process.get();
}

ChildProcess& PrivateSession::start(const std::string& name,
                                    const std::vector<std::string>& arguments) {
    stop(name);
    std::string stem = name;
    std::ranges::replace(stem, '/', '-');
    std::filesystem::remove(file(stem + ".out"));
    auto process = std::make_unique<ChildProcess>(arguments, ChildProcess::Options{
                                                                 .environment = environment_,
                                                                 .output = file(stem + ".out"),
                                                                 .errors = file(stem + ".err"),
                                                                 .inheritsTerminal = false,
                                                             });
    checkIsThere(*process, arguments.front());
    children_.push_back({name, std::move(process)});
    return *children_.back().process;
}

Finished PrivateSession::run(const std::vector<std::string>& arguments, Bound bound) {
    const auto output = file("run" + std::to_string(runs_) + ".out");
    const auto errors = file("run" + std::to_string(runs_) + ".err");
    ++runs_;
    ChildProcess process(arguments, ChildProcess::Options{
                                        .environment = environment_,
                                        .output = output,
                                        .errors = errors,
                                        .inheritsTerminal = false,
                                    });
    checkIsThere(process, arguments.front());
    Finished result{.status = process.wait(bound), .output = {}, .errors = {}};
    process.stop(Bound{200});
    result.output = readFile(output);
    result.errors = readFile(errors);
    std::filesystem::remove(output);
    std::filesystem::remove(errors);
    return result;
}

std::string PrivateSession::graph() {
    Finished dump = run({"pw-dump"});
    return dump.succeeded() ? dump.output : std::string();
}

std::string PrivateSession::logs() const {
    std::string all;
    for (const auto& [name, process] : children_) {
        all += "== " + name + " (" + process->title() + ")" +
               (process->running() ? "" : ", has ended") + "\n" + process->errors();
    }
    return all;
}

void PrivateSession::await(const std::function<bool()>& ready, const std::string& what) {
    ChildProcess& server = *children_.back().process;
    if (!waitUntil([&] { return !server.running() || ready(); }) || !server.running()) {
        throw std::runtime_error(what + " didn't come up\n" + logs());
    }
}

} // namespace velmoran::support
