#include "app/shell/DisplayChoice.h"

#include "app/shell/CompositorWord.h"
#include "support/TemporaryDirectory.h"

#include <QByteArray>
#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <iterator>
#include <optional>
#include <set>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace velmoran {
namespace {

struct Choice : ::testing::Test {
    bool x = false;
    bool wayland = false;
    bool layers = false;
    std::set<std::string> plugins{"xcb", "offscreen"};
    int questions = 0;
    DisplayFacts facts;

    Choice() {
        facts.xDisplay = ":7";
        facts.waylandDisplay = "wayland-3";
        facts.xAnswers = [this] {
            ++questions;
            return x;
        };
        facts.waylandAnswers = [this] {
            ++questions;
            return wayland;
        };
        facts.hasLayers = [this] {
            return layers;
        };
        facts.hasPlatform = [this](const std::string& name) {
            return plugins.contains(name);
        };
    }

    std::string platform() const { return chooseDisplay(facts).platform; }
    std::string problem() const {
        const auto choice = chooseDisplay(facts);
        EXPECT_EQ(choice.platform, "");
        return choice.problem;
    }
};

TEST_F(Choice, IsXWhereverThatAnswers) {
    x = wayland = true;
    plugins.insert("wayland");
    EXPECT_EQ(platform(), "xcb");
    wayland = false;
    EXPECT_EQ(platform(), "xcb");
    questions = 0;
    plugins.erase("wayland");
    facts.desktop = "GNOME";
    EXPECT_EQ(platform(), "xcb");
    EXPECT_EQ(questions, 1) << "nobody else is asked";
}

TEST_F(Choice, IsWaylandWithLayersButOnDesktopsThatDoBetterByX) {
    x = wayland = layers = true;
    plugins.insert("wayland");
    EXPECT_EQ(
        chooseDisplay(facts),
        (DisplayChoice{.platform = "wayland", .problem = {}, .notices = NoticeForm::layered}));
    EXPECT_EQ(questions, 1) << "X isn't asked";
    for (const auto* desktop : {"GNOME", "ubuntu:GNOME", "KDE"}) {
        facts.desktop = desktop;
        EXPECT_EQ(chooseDisplay(facts), (DisplayChoice{.platform = "xcb", .problem = {}}));
    }
    x = false;
    EXPECT_EQ(chooseDisplay(facts).notices, NoticeForm::layered);
    facts.desktop = "sway";
    x = true;
    plugins.erase("wayland");
    EXPECT_EQ(chooseDisplay(facts), (DisplayChoice{.platform = "xcb", .problem = {}}));
}

TEST_F(Choice, TellsByTheDesktopWhereNothingOfOursCanStand) {
    wayland = true;
    plugins.insert("wayland");
    facts.desktop = "GNOME";
    EXPECT_EQ(
        chooseDisplay(facts),
        (DisplayChoice{.platform = "wayland", .problem = {}, .notices = NoticeForm::byDesktop}));
    // Also where somebody wishes it so.
    x = true;
    facts.wanted = "wayland";
    EXPECT_EQ(chooseDisplay(facts).notices, NoticeForm::byDesktop);
    layers = true;
    EXPECT_EQ(chooseDisplay(facts).notices, NoticeForm::layered);
    facts.wanted = "xcb";
    EXPECT_EQ(chooseDisplay(facts).notices, NoticeForm::placed);
}

TEST_F(Choice, KnowsAWaylandDesktopByEachOfItsSigns) {
    facts.waylandDisplay.clear();
    EXPECT_FALSE(isWaylandDesktop(facts, true));
    EXPECT_TRUE(isWaylandDesktop(facts, false));
    facts.sessionType = "x11";
    EXPECT_FALSE(isWaylandDesktop(facts, true));
    facts.sessionType = "wayland";
    EXPECT_TRUE(isWaylandDesktop(facts, true));
    facts.sessionType.clear();
    facts.waylandDisplay = "wayland-1";
    EXPECT_TRUE(isWaylandDesktop(facts, true));
}

TEST_F(Choice, IsWaylandBesideADeadXAndWithoutOne) {
    wayland = true;
    plugins.insert("wayland");
    EXPECT_EQ(platform(), "wayland");
    facts.xDisplay.clear();
    EXPECT_EQ(platform(), "wayland");
}

TEST_F(Choice, NamesWhatIsMissingForWayland) {
    wayland = true;
    const std::string missing =
        "Qt can't show anything on the Wayland display \"wayland-3\" without "
        "its plug-in for it (the package qt6-wayland)";
    EXPECT_EQ(problem(), "the display \":7\" can't be reached, and " + missing);
    facts.xDisplay.clear();
    EXPECT_EQ(problem(), missing);
}

TEST_F(Choice, SaysWhichDisplaysAreDead) {
    EXPECT_EQ(problem(),
              "neither the display \":7\" nor the Wayland display \"wayland-3\" can be reached");
    EXPECT_EQ(questions, 2);
    facts.xDisplay.clear();
    EXPECT_EQ(problem(), "the Wayland display \"wayland-3\" can't be reached");
    facts.waylandDisplay.clear();
    EXPECT_EQ(problem(), "there is no display");
    facts.xDisplay = ":7";
    EXPECT_EQ(problem(), "the display \":7\" can't be reached");
}

TEST_F(Choice, TakesTheFirstWishThatWorks) {
    x = wayland = true;
    plugins.insert("wayland");
    facts.wanted = "wayland;xcb";
    EXPECT_EQ(platform(), "wayland");
    wayland = false;
    EXPECT_EQ(platform(), "xcb");
    facts.wanted = "offscreen:size=3x4";
    EXPECT_EQ(platform(), "offscreen:size=3x4");
    // What works is better than what was wanted.
    facts.wanted = "wayland";
    EXPECT_EQ(platform(), "xcb");
    facts.wanted = "nonsense";
    EXPECT_EQ(platform(), "xcb");
}

TEST_F(Choice, NeedsNoServerForAPlatformWithoutOne) {
    facts.wanted = "offscreen";
    EXPECT_EQ(platform(), "offscreen");
    EXPECT_EQ(questions, 0);
}

/// A socket that takes connections and, if it is told to, answers the first like a compositor. A
/// path that begins with a zero stands in no folder.
class Server {
public:
    Server(const std::string& path, bool answers, std::string globals = {})
        : globals_(std::move(globals)),
          socket_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        EXPECT_LT(path.size(), sizeof address.sun_path);
        std::copy(path.begin(), path.end(), std::begin(address.sun_path));
        const auto size = offsetof(sockaddr_un, sun_path) + path.size();
        EXPECT_EQ(::bind(socket_, reinterpret_cast<const sockaddr*>(&address),
                         static_cast<socklen_t>(size)),
                  0);
        EXPECT_EQ(::listen(socket_, 4), 0);
        if (answers) {
            thread_.emplace([this] { answer(); });
        }
    }
    ~Server() {
        ::shutdown(socket_, SHUT_RDWR);
        if (thread_) {
            thread_->join();
        }
        ::close(socket_);
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    std::array<std::uint32_t, 6> asked{};

private:
    void answer() {
        const int client = ::accept(socket_, nullptr, nullptr);
        if (client >= 0 && ::read(client, asked.data(), sizeof asked) == sizeof asked) {
            const std::array<std::uint32_t, 3> done{3, 12U << 16U, 0};
            for (const char byte : globals_) {
                EXPECT_EQ(::write(client, &byte, 1), 1);
            }
            EXPECT_EQ(::write(client, done.data(), sizeof done), ssize_t{sizeof done});
        }
        ::close(client);
    }

    const std::string globals_;
    int socket_;
    std::optional<std::thread> thread_;
};

struct Environment : ::testing::Test {
    TemporaryDirectory folder;
    QByteArray runtime = qgetenv("XDG_RUNTIME_DIR");
    QByteArray display = qgetenv("DISPLAY");
    QByteArray wanted = qgetenv("QT_QPA_PLATFORM");
    std::string socket = folder.path() + "/wayland-9";

    Environment() {
        qputenv("XDG_RUNTIME_DIR", QByteArray::fromStdString(folder.path()));
        qputenv("WAYLAND_DISPLAY", "wayland-9");
    }
    ~Environment() override {
        qputenv("XDG_RUNTIME_DIR", runtime);
        qunsetenv("WAYLAND_DISPLAY");
        qputenv("DISPLAY", display);
        qputenv("QT_QPA_PLATFORM", wanted);
    }
};

TEST_F(Environment, HasACompositorThatAnswers) {
    const Server compositor(socket, true);
    EXPECT_TRUE(displayFacts().waylandAnswers());
    EXPECT_EQ(compositor.asked,
              (std::array<std::uint32_t, 6>{1, 12U << 16U | 1U, 2, 1, 12U << 16U, 3}));
}

/// What a compositor says of one thing that it offers.
std::string global(std::uint32_t name, const std::string& interface) {
    const auto number = [](std::uint32_t value) {
        std::string bytes(sizeof value, '\0');
        std::memcpy(bytes.data(), &value, sizeof value);
        return bytes;
    };
    auto text = interface + '\0';
    const auto length = static_cast<std::uint32_t>(text.size());
    text.resize((text.size() + 3) / 4 * 4);
    const auto body = number(name) + number(length) + text + number(4);
    return number(2) + number(static_cast<std::uint32_t>(body.size() + 8) << 16U) + body;
}

TEST_F(Environment, HasTheLayersOfItsCompositor) {
    const Server compositor(socket, true,
                            global(1, "wl_compositor") + global(2, "zwlr_layer_shell_v1"));
    EXPECT_EQ(
        askCompositor(socket, 3000),
        (CompositorWord{.answers = true, .protocols = {"wl_compositor", "zwlr_layer_shell_v1"}}));
}

TEST_F(Environment, BelievesNothingThatMakesNoSense) {
    std::string broken = global(1, "wl_compositor") + global(2, "zwlr_layer_shell_v1");
    broken[broken.size() - 28] = '\x7f'; // a length beyond the message
    const Server compositor(socket, true, broken);
    const auto word = askCompositor(socket, 3000);
    EXPECT_TRUE(word.answers);
    EXPECT_TRUE(word.protocols.contains("wl_compositor"));
    EXPECT_FALSE(word.protocols.contains("zwlr_layer_shell_v1"));
}

TEST_F(Environment, HasNoneWhereNobodyAnswersWhoeverListens) {
    EXPECT_FALSE(displayFacts().waylandAnswers());
    const Server silent(socket, false);
    EXPECT_FALSE(displayFacts().waylandAnswers());
}

TEST_F(Environment, HasTheFirstCompositorForWhomAWishNamesWayland) {
    qunsetenv("WAYLAND_DISPLAY");
    qputenv("QT_QPA_PLATFORM", "wayland");
    EXPECT_EQ(displayFacts().waylandDisplay, "");
    const Server compositor(folder.path() + "/wayland-0", true);
    const auto facts = displayFacts();
    EXPECT_EQ(facts.waylandDisplay, "wayland-0");
    EXPECT_TRUE(facts.waylandAnswers());
    qputenv("QT_QPA_PLATFORM", "xcb");
    EXPECT_EQ(displayFacts().waylandDisplay, "");
}

TEST_F(Environment, HasNoXServerWhereNobodyAnswersWhoeverListens) {
    const auto number = std::to_string(40000 + ::getpid() % 20000);
    qputenv("DISPLAY", QByteArray::fromStdString(":" + number));
    EXPECT_FALSE(displayFacts().xAnswers());
    using namespace std::string_literals;
    const Server silent("\0/tmp/.X11-unix/X"s + number, false);
    const auto begun = std::chrono::steady_clock::now();
    EXPECT_FALSE(displayFacts().xAnswers());
    // It was there, and was waited for.
    EXPECT_GE(std::chrono::steady_clock::now() - begun, std::chrono::seconds(1));
}

TEST_F(Environment, KnowsThePlatformsThatQtHas) {
    const auto facts = displayFacts();
    EXPECT_TRUE(facts.hasPlatform("offscreen"));
    EXPECT_TRUE(facts.hasPlatform("xcb"));
    EXPECT_FALSE(facts.hasPlatform("semaphore"));
}

} // namespace
} // namespace velmoran
