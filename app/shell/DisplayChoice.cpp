#include "app/shell/DisplayChoice.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QDir>
#include <QJsonArray>
#include <QJsonObject>
#include <QLibrary>
#include <QLibraryInfo>
#include <QPluginLoader>
#include <QStringList>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <xcb/xcb.h>

namespace velmoran {

namespace {

constexpr unsigned patienceSeconds = 3;

/// In another process, since libxcb waits for ever for a server that takes a connection and then
/// says nothing.
bool xAnswers() {
    const pid_t asking = ::fork();
    if (asking == 0) {
        std::signal(SIGALRM, SIG_DFL);
        sigset_t alarm;
        sigemptyset(&alarm);
        sigaddset(&alarm, SIGALRM);
        ::sigprocmask(SIG_UNBLOCK, &alarm, nullptr);
        ::alarm(patienceSeconds);
        ::_exit(xcb_connection_has_error(xcb_connect(nullptr, nullptr)) == 0 ? 0 : 1);
    }
    int status = 1;
    while (asking > 0 && ::waitpid(asking, &status, 0) < 0 && errno == EINTR) {
    }
    return asking > 0 && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

/// Whether the compositor at that socket answers wl_display.sync, its protocol's question for a
/// sign of life. A connection alone may be one to a socket that nobody serves any more.
bool waylandAnswers(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof address.sun_path) {
        return false;
    }
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    // Not blocking: with a full queue the connection itself would wait.
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (socket < 0) {
        return false;
    }
    constexpr std::uint32_t display = 1;
    constexpr std::uint32_t sizeAndSync = 12U << 16U;
    constexpr std::uint32_t callback = 2;
    const std::array<std::uint32_t, 3> question{display, sizeAndSync, callback};
    bool answers = false;
    if (::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
        ::send(socket, question.data(), sizeof question, MSG_NOSIGNAL) == sizeof question) {
        pollfd reply{.fd = socket, .events = POLLIN, .revents = 0};
        std::array<std::byte, 8> header{};
        answers = ::poll(&reply, 1, patienceSeconds * 1000) > 0 &&
                  ::recv(socket, header.data(), header.size(), 0) > 0;
    }
    ::close(socket);
    return answers;
}

std::string waylandSocket(const std::string& display) {
    const auto folder = qgetenv("XDG_RUNTIME_DIR").toStdString();
    return display.starts_with('/') || folder.empty() ? display : folder + '/' + display;
}

/// By what the plug-ins say of themselves, without loading one.
bool hasPlatform(const std::string& platform) {
    const auto key = QString::fromStdString(platform);
    // "wayland-egl" may be one of several in a file for all of Wayland.
    const QString name = 'q' + key.section('-', 0, 0);
    QStringList folders = QCoreApplication::libraryPaths();
    folders << QLibraryInfo::path(QLibraryInfo::PluginsPath);
    for (auto& folder : folders) {
        folder += QStringLiteral("/platforms");
    }
    folders << qEnvironmentVariable("QT_QPA_PLATFORM_PLUGIN_PATH");
    folders.removeAll(QString());
    for (const auto& folder : folders) {
        const QDir place(folder);
        // Without a pattern, for which Qt would load a library of regular expressions and keep it.
        for (const auto& file : place.entryList(QDir::Files)) {
            if (!file.contains(name) || !QLibrary::isLibrary(file)) {
                continue;
            }
            const auto about = QPluginLoader(place.filePath(file)).metaData();
            const auto own = about.value(QLatin1String("MetaData")).toObject();
            if (own.value(QLatin1String("Keys")).toArray().contains(key)) {
                return true;
            }
        }
    }
    return false;
}

/// Asks once at most.
auto once(std::function<bool()> ask) {
    return [ask = std::move(ask), answer = std::optional<bool>()]() mutable {
        if (!answer) {
            answer = ask();
        }
        return *answer;
    };
}

std::string why(const DisplayFacts& facts, bool xAnswers, bool waylandAnswers) {
    const auto x = "the display \"" + facts.xDisplay + '"';
    const auto wayland = "the Wayland display \"" + facts.waylandDisplay + '"';
    if (facts.xDisplay.empty() && facts.waylandDisplay.empty()) {
        return "there is no display";
    }
    if (waylandAnswers) {
        const std::string missing = "Qt can't show anything on " + wayland +
                                    " without its plug-in for it (the package qt6-wayland)";
        return facts.xDisplay.empty() ? missing : x + " can't be reached, and " + missing;
    }
    if (xAnswers) {
        return "Qt can't show anything on " + x + " without its plug-in for it (xcb)";
    }
    if (facts.waylandDisplay.empty()) {
        return x + " can't be reached";
    }
    return facts.xDisplay.empty() ? wayland + " can't be reached"
                                  : "neither " + x + " nor " + wayland + " can be reached";
}

} // namespace

DisplayChoice chooseDisplay(const DisplayFacts& facts) {
    auto x = once([&] { return !facts.xDisplay.empty() && facts.xAnswers(); });
    auto wayland = once([&] { return !facts.waylandDisplay.empty() && facts.waylandAnswers(); });
    const auto usable = [&](const std::string& platform) {
        return (platform != "xcb" || x()) && (!platform.starts_with("wayland") || wayland()) &&
               facts.hasPlatform(platform);
    };
    for (const auto& one : QString::fromStdString(facts.wanted).split(';', Qt::SkipEmptyParts)) {
        // After a colon stand the platform's own options.
        if (usable(one.section(':', 0, 0).toStdString())) {
            return {.platform = one.toStdString(), .problem = {}};
        }
    }
    for (const char* platform : {"xcb", "wayland"}) {
        if (usable(platform)) {
            return {.platform = platform, .problem = {}};
        }
    }
    return {.platform = {}, .problem = why(facts, x(), wayland())};
}

DisplayFacts displayFacts() {
    DisplayFacts facts;
    facts.wanted = qgetenv("QT_QPA_PLATFORM").toStdString();
    facts.xDisplay = qgetenv("DISPLAY").toStdString();
    facts.waylandDisplay = qgetenv("WAYLAND_DISPLAY").toStdString();
    // What Wayland's own library takes where nothing is named. Nobody who hasn't asked for Wayland
    // is brought there by it, as from another machine's terminal.
    if (const std::string first = "wayland-0"; facts.waylandDisplay.empty() &&
                                               facts.wanted.find("wayland") != std::string::npos &&
                                               ::access(waylandSocket(first).c_str(), F_OK) == 0) {
        facts.waylandDisplay = first;
    }
    facts.xAnswers = xAnswers;
    facts.waylandAnswers = [display = facts.waylandDisplay] {
        return waylandAnswers(waylandSocket(display));
    };
    facts.hasPlatform = hasPlatform;
    return facts;
}

} // namespace velmoran
