#include "app/shell/login/UserUnit.h"

#include "app/bus/BusEntry.h"
#include "system/bus/BusHandles.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <optional>
#include <string_view>
#include <unistd.h>
#include <utility>

namespace velmoran {

namespace {

constexpr const char* manager = "org.freedesktop.systemd1.Manager";
constexpr const char* managerPath = "/org/freedesktop/systemd1";
constexpr const char* unitInterface = "org.freedesktop.systemd1.Unit";
constexpr std::string_view unitFolder = "/lib/systemd/user/";

/// Of one process or one place in a shell, or given by systemd to each that it starts.
bool isOfOneProcess(std::string_view name) {
    constexpr std::string_view names =
        " _ COLUMNS DESKTOP_STARTUP_ID FDSTORE GIO_LAUNCHED_DESKTOP_FILE "
        "GIO_LAUNCHED_DESKTOP_FILE_PID INVOCATION_ID JOURNAL_STREAM LINES LISTEN_FDNAMES "
        "LISTEN_FDS LISTEN_PID LOGS_DIRECTORY MAINPID MANAGERPID NOTIFY_SOCKET OLDPWD PIDFILE PWD "
        "SHLVL SYSTEMD_EXEC_PID WATCHDOG_PID WATCHDOG_USEC XDG_ACTIVATION_TOKEN ";
    return names.find(' ' + std::string(name) + ' ') != std::string_view::npos;
}

bool isName(std::string_view name) {
    const auto isFirst = [](char c) {
        return c == '_' || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    };
    return !name.empty() && isFirst(name.front()) &&
           std::ranges::all_of(name, [&](char c) { return isFirst(c) || (c >= '0' && c <= '9'); });
}

/// Refused there, where a line's end and a tab aren't.
bool hasControlCharacter(std::string_view value) {
    return std::ranges::any_of(value, [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return (byte < ' ' && c != '\n' && c != '\t') || byte == 0x7f;
    });
}

/// Whole or not at all, and nobody else's to read.
bool writeWhole(const std::string& path, const std::string& text) {
    std::string made = path + ".XXXXXX";
    const int file = ::mkostemp(made.data(), O_CLOEXEC);
    if (file < 0) {
        return false;
    }
    std::string_view rest = text;
    while (!rest.empty()) {
        const auto written = ::write(file, rest.data(), rest.size());
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            break;
        }
        rest.remove_prefix(static_cast<std::size_t>(written));
    }
    const bool isWhole = ::close(file) == 0 && rest.empty();
    if (!isWhole || std::rename(made.c_str(), path.c_str()) != 0) {
        ::unlink(made.c_str());
        return false;
    }
    return true;
}

using End = std::chrono::steady_clock::time_point;

/// All but what may stand in an address as it is (D-Bus Specification, "Server Addresses").
std::string escapedForBus(std::string_view path) {
    constexpr std::string_view plain = "-_/.\\0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                       "abcdefghijklmnopqrstuvwxyz";
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const char c : path) {
        const auto byte = static_cast<unsigned char>(c);
        if (plain.find(c) != std::string_view::npos) {
            text += c;
        } else {
            text += {'%', digits[byte >> 4U], digits[byte & 15U]};
        }
    }
    return text;
}

/// The manager takes one to itself alone, without a bus between.
BusHandle connectTo(const std::string& socket) {
    sd_bus* made = nullptr;
    if (sd_bus_new(&made) < 0) {
        return nullptr;
    }
    BusHandle bus(made);
    const auto address = "unix:path=" + escapedForBus(socket);
    if (sd_bus_set_address(made, address.c_str()) < 0 || sd_bus_negotiate_fds(made, 0) < 0 ||
        sd_bus_start(made) < 0) {
        return nullptr;
    }
    return bus;
}

/// One who asks the manager, until a moment that holds for all questions.
class Asking {
public:
    Asking(sd_bus* bus, End end) : bus_(bus), end_(end) {}

    /// Nothing without an answer, and for an error.
    BusMessage call(const char* method, const char* first, const char* second = nullptr) const {
        BusMessage call = makeCall(managerPath, manager, method);
        if (!call || sd_bus_message_append(call.get(), "s", first) < 0 ||
            (second && sd_bus_message_append(call.get(), "s", second) < 0)) {
            return nullptr;
        }
        return send(call.get());
    }

    /// Of a unit; empty if it can't be had.
    std::string property(const char* path, const char* name) const {
        BusMessage call = makeCall(path, "org.freedesktop.DBus.Properties", "Get");
        if (!call || sd_bus_message_append(call.get(), "ss", unitInterface, name) < 0) {
            return {};
        }
        const auto reply = send(call.get());
        const char* text = nullptr;
        const bool isThere = reply && sd_bus_message_read(reply.get(), "v", "s", &text) > 0;
        return isThere && text ? text : "";
    }

private:
    BusMessage makeCall(const char* path, const char* interface, const char* method) const {
        sd_bus_message* call = nullptr;
        const int made = sd_bus_message_new_method_call(bus_, &call, "org.freedesktop.systemd1",
                                                        path, interface, method);
        return made < 0 ? nullptr : BusMessage(call);
    }

    BusMessage send(sd_bus_message* call) const {
        const auto left = std::chrono::duration_cast<std::chrono::microseconds>(
            end_ - std::chrono::steady_clock::now());
        sd_bus_message* reply = nullptr;
        if (left.count() <= 0 || sd_bus_call(bus_, call, static_cast<std::uint64_t>(left.count()),
                                             nullptr, &reply) < 0) {
            return nullptr;
        }
        return BusMessage(reply);
    }

    sd_bus* bus_;
    End end_;
};

/// One job of the manager's, and how it ended.
struct Job {
    std::string path;
    std::vector<std::pair<std::string, std::string>> ended; ///< it can end before it is known

    std::optional<std::string> result() const {
        const auto found =
            std::ranges::find(ended, path, &std::pair<std::string, std::string>::first);
        return found == ended.end() ? std::nullopt : std::optional(found->second);
    }

    static int hasEnded(sd_bus_message* signal, void* self, sd_bus_error* /*error*/) {
        std::uint32_t number = 0;
        const char* path = nullptr;
        const char* unit = nullptr;
        const char* result = nullptr;
        if (sd_bus_message_read(signal, "uoss", &number, &path, &unit, &result) > 0) {
            static_cast<Job*>(self)->ended.emplace_back(path, result);
        }
        return 0;
    }
};

} // namespace

std::string unitEnvironment(const std::vector<std::string>& environment) {
    std::string text;
    for (const std::string_view each : environment) {
        const auto equals = each.find('=');
        const auto name = each.substr(0, equals);
        if (equals == std::string_view::npos || !isName(name) || isOfOneProcess(name) ||
            hasControlCharacter(each)) {
            continue;
        }
        text += name;
        text += "=\"";
        for (const char c : each.substr(equals + 1)) {
            if (c == '"' || c == '\\' || c == '$' || c == '`') {
                text += '\\';
            }
            text += c;
        }
        text += "\"\n";
    }
    return text;
}

std::string unitFileOf(const std::string& program) {
    constexpr std::string_view place = "/bin/velmoran";
    return program.ends_with(place) ? program.substr(0, program.size() - place.size()) +
                                          std::string(unitFolder) + UserUnit::name
                                    : std::string();
}

bool UserUnit::start(const std::vector<std::string>& environment) const {
    const auto file = unitFileOf(program_);
    const auto socket = runtimeFolder_ + "/systemd/private";
    if (runtimeFolder_.empty() || file.empty() || ::access(file.c_str(), R_OK) != 0 ||
        ::access(socket.c_str(), W_OK) != 0) {
        return false;
    }
    const auto bus = connectTo(socket);
    if (!bus) {
        return false;
    }
    const auto end = inSeconds(patience_);
    const Asking asking(bus.get(), end);
    const auto loaded = asking.call("LoadUnit", name);
    const char* unit = nullptr;
    if (!loaded || sd_bus_message_read(loaded.get(), "o", &unit) <= 0 ||
        asking.property(unit, "LoadState") != "loaded") {
        return false;
    }
    // A copy of the administrator's or the user's own goes before ours and counts as it.
    const auto used = asking.property(unit, "FragmentPath");
    if (used != file && used.ends_with(std::string(unitFolder) + name)) {
        return false;
    }
    if (!writeWhole(runtimeFolder_ + '/' + environmentFile, unitEnvironment(environment))) {
        return false;
    }
    Job job;
    sd_bus_slot* slot = nullptr;
    if (sd_bus_match_signal(bus.get(), &slot, nullptr, managerPath, manager, "JobRemoved",
                            Job::hasEnded, &job) < 0) {
        return false;
    }
    const BusSlot listening(slot);
    // Crashes of an earlier login are none of this one's. One that runs has its own to answer for.
    if (asking.property(unit, "ActiveState") == "failed") {
        asking.call("ResetFailedUnit", name);
    }
    const auto begun = asking.call("StartUnit", name, "replace");
    const char* path = nullptr;
    if (!begun || sd_bus_message_read(begun.get(), "o", &path) <= 0) {
        return false;
    }
    job.path = path;
    runBusUntil(bus.get(), end, [&job] { return job.result().has_value(); });
    return job.result() == "done";
}

} // namespace velmoran
