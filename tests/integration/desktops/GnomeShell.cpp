// GNOME's shell, which is its compositor, bar and notifications in one.
#include "integration/desktops/WholeDesktop.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <sstream>
#include <string_view>

namespace velmoran {

namespace {

using support::waitUntil;

/// It takes a second alone, but much more beside other tests.
constexpr support::Bound shellPatience{60000};
const std::map<std::string, int> keys{{"a", 30}, {"b", 48}, {"c", 46}, {"d", 32}, {"Escape", 1}};

/// The one file there that begins so.
std::string inFolder(const std::filesystem::path& folder, const std::string& begin) {
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().filename().string().starts_with(begin)) {
            return entry.path();
        }
    }
    return {};
}

class GnomeShell final : public WholeDesktop {
public:
    explicit GnomeShell(bool withX) : withX_(withX) {
        session.need(withX ? std::vector<std::string>{"gnome-shell", "gjs", "Xwayland"}
                           : std::vector<std::string>{"gnome-shell", "gjs"});
        startSound();
        session.startSystemBus();
        session.start("logind",
                      {"/usr/bin/python3", "-m", "dbusmock", "--system", "--template", "logind"});
        auto& environment = session.environment();
        environment["XDG_SESSION_TYPE"] = "wayland";
        environment["XDG_CURRENT_DESKTOP"] = "GNOME";
        environment["GSETTINGS_BACKEND"] = "memory";
        startShell();
        // By this name programs reach them.
        session.start("notifications",
                      {"gjs", "/usr/share/gnome-shell/org.gnome.Shell.Notifications"});
        isTrue("!(Main.messageTray.getSources().forEach(s => s.destroy()))");
        askGnomeShell(session, "Main.overview.hide()");
        if (!waitUntil([&] { return isTrue("!Main.overview.visible"); })) {
            throw std::runtime_error("GNOME's overview stays\n" + session.logs());
        }
        askGnomeShell(session,
                      "globalThis.hand = {pointer: imports.gi.Clutter.get_default_backend()"
                      ".get_default_seat().create_virtual_device(imports.gi.Clutter.InputDeviceType"
                      ".POINTER_DEVICE), keys: imports.gi.Clutter.get_default_backend()"
                      ".get_default_seat().create_virtual_device(imports.gi.Clutter.InputDeviceType"
                      ".KEYBOARD_DEVICE), now: () => imports.gi.GLib.get_monotonic_time()}; 1");
    }
    void hand(const std::vector<std::string>& lines) override {
        for (const auto& line : lines) {
            std::istringstream words(line);
            std::string what;
            words >> what;
            if (what == "move") {
                int x = 0;
                int y = 0;
                words >> x >> y;
                say("pointer.notify_absolute_motion(hand.now(), " + std::to_string(x * scale_) +
                    ", " + std::to_string(y * scale_) + ')');
            } else if (what == "key") {
                std::string name;
                words >> name;
                for (const char* state : {"1", "0"}) {
                    say("keys.notify_key(hand.now(), " + std::to_string(keys.at(name)) + ", " +
                        state + ')');
                }
            }
            constexpr const char* button = "pointer.notify_button(hand.now(), 1, ";
            if (what == "press" || what == "click") {
                say(button + std::string("1)"));
            }
            if (what == "release" || what == "click") {
                say(button + std::string("0)"));
            }
        }
    }
    QImage picture() override {
        const auto file = session.file("picture.png");
        const auto taken =
            session.run({"gdbus", "call", "--session", "-d", "org.gnome.Shell.Screenshot", "-o",
                         "/org/gnome/Shell/Screenshot", "-m",
                         "org.gnome.Shell.Screenshot.Screenshot", "false", "false", file});
        EXPECT_TRUE(taken.output.starts_with("(true")) << taken.output << taken.errors;
        return QImage(QString::fromStdString(file.string()));
    }
    /// It wants no smaller one at scale 2.
    QSize size() const override { return QSize(1600, 1000) / scale_; }
    void setScale(int scale) override {
        scale_ = scale;
        const auto set = session.run({"/usr/bin/python3", GNOME_SCALE, std::to_string(scale)});
        EXPECT_TRUE(set.succeeded()) << set.errors;
        if (withX_) {
            // Else its settings daemon tells X programs.
            const auto file = session.file("resources");
            support::writeFile(file, "Xft.dpi: " + std::to_string(96 * scale) + '\n');
            EXPECT_TRUE(session.run({"xrdb", "-merge", file}).succeeded());
        }
    }
    int bar() const override { return 32; }

private:
    bool isTrue(const std::string& line) { return askGnomeShell(session, line) == "true"; }
    void say(const std::string& line) {
        EXPECT_NE(askGnomeShell(session, "hand." + line + "; 1"), "") << line;
    }
    void startShell() {
        auto& environment = session.environment();
        std::vector<std::string> command{"gnome-shell",  "--headless",        "--virtual-monitor",
                                         "1600x1000",    "--wayland-display", "wayland-1",
                                         "--unsafe-mode"};
        if (!withX_) {
            command.emplace_back("--no-x11");
        }
        auto& shell = session.start("shell", command);
        if (!waitUntil(
                [&] { return !shell.running() || isTrue("!Main.layoutManager._startingUp"); }) ||
            !shell.running()) {
            throw std::runtime_error("GNOME's shell didn't come up\n" + session.logs());
        }
        environment["WAYLAND_DISPLAY"] = "wayland-1";
        if (withX_) {
            environment["DISPLAY"] = askGnomeShell(session, "imports.gi.GLib.getenv('DISPLAY')");
            environment["XAUTHORITY"] = inFolder(session.runtimeFolder(), ".mutter-Xwaylandauth");
        }
    }

    bool withX_;
};

} // namespace

std::string askGnomeShell(support::PrivateSession& session, const std::string& line) {
    const auto answer = session.run({"gdbus", "call", "--session", "-d", "org.gnome.Shell", "-o",
                                     "/org/gnome/Shell", "-m", "org.gnome.Shell.Eval", line});
    constexpr std::string_view begin = "(true, '";
    constexpr std::string_view end = "')\n";
    if (!answer.output.starts_with(begin) || !answer.output.ends_with(end)) {
        return {};
    }
    auto text =
        answer.output.substr(begin.size(), answer.output.size() - begin.size() - end.size());
    std::erase(text, '"');
    return text;
}

std::unique_ptr<WholeDesktop> startGnomeShell(bool withX) {
    return std::make_unique<GnomeShell>(withX);
}

} // namespace velmoran
