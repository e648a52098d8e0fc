#include "app/shell/DisplayChoice.h"

#include "app/shell/CompositorWord.h"
#include "app/shell/layers/LayeredOverlays.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QDir>
#include <QJsonArray>
#include <QJsonObject>
#include <QLibrary>
#include <QLibraryInfo>
#include <QPluginLoader>
#include <QStringList>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <memory>
#include <optional>
#include <sys/wait.h>
#include <thread>
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

/// GNOME has no layers, and KDE gives a layer that is clicked the keyboard, or puts it below
/// windows that fill the screen.
bool isBetterOnX(const std::string& desktop) {
    const auto names = QString::fromStdString(desktop).split(':');
    return names.contains(QLatin1String("GNOME")) || names.contains(QLatin1String("KDE"));
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
    auto layers = once([&] { return facts.hasLayers && facts.hasLayers(); });
    const auto isWayland = [](const std::string& platform) {
        return platform.starts_with("wayland");
    };
    const auto usable = [&](const std::string& platform) {
        return (platform != "xcb" || x()) && (!isWayland(platform) || wayland()) &&
               facts.hasPlatform(platform);
    };
    const auto chosen = [&](const std::string& platform) -> DisplayChoice {
        return {.platform = platform,
                .problem = {},
                .notices = !isWayland(platform) ? NoticeForm::placed
                           : layers()           ? NoticeForm::layered
                                                : NoticeForm::byDesktop};
    };
    for (const auto& one : QString::fromStdString(facts.wanted).split(';', Qt::SkipEmptyParts)) {
        // After a colon stand the platform's own options.
        if (usable(one.section(':', 0, 0).toStdString())) {
            return chosen(one.toStdString());
        }
    }
    if (isBetterOnX(facts.desktop) && usable("xcb")) {
        return chosen("xcb");
    }
    if (wayland() && layers() && usable("wayland")) {
        return chosen("wayland");
    }
    for (const char* platform : {"xcb", "wayland"}) {
        if (usable(platform)) {
            return chosen(platform);
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
    facts.desktop = qgetenv("XDG_CURRENT_DESKTOP").toStdString();
    facts.sessionType = qgetenv("XDG_SESSION_TYPE").toStdString();
    facts.xAnswers = xAnswers;
    const auto word = [display = facts.waylandDisplay,
                       heard = std::make_shared<std::optional<CompositorWord>>()]() -> auto& {
        if (!*heard) {
            *heard = askCompositor(waylandSocket(display), patienceSeconds * 1000);
        }
        return **heard;
    };
    facts.waylandAnswers = [word] {
        return word().answers;
    };
    facts.hasLayers = [word] {
        return isBuiltWithLayers() && word().protocols.contains("zwlr_layer_shell_v1");
    };
    facts.hasPlatform = hasPlatform;
    return facts;
}

DisplayChoice chooseDisplayAfterLoss() {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    do {
        if (auto choice = chooseDisplay(displayFacts()); !choice.platform.empty()) {
            return choice;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    } while (std::chrono::steady_clock::now() < deadline);
    return noDisplay();
}

DisplayChoice noDisplay() {
    return {.platform = "offscreen", .problem = {}, .notices = NoticeForm::byDesktop};
}

bool isDisplayBack() {
    constexpr int moment = 200;
    return askCompositor(waylandSocket(qgetenv("WAYLAND_DISPLAY").toStdString()), moment).answers;
}

bool isWaylandDesktop(const DisplayFacts& facts, bool isXReal) {
    return !facts.waylandDisplay.empty() || facts.sessionType == "wayland" || !isXReal;
}

} // namespace velmoran
