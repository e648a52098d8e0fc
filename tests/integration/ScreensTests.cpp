// The program while screens come, go and change their scale, and while there is no tray.
#include "support/PrivateSession.h"
#include "support/XServer.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <vector>
#include <xcb/xcb.h>

namespace velmoran {
namespace {

using support::waitUntil;

struct Frame {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    int right() const { return x + width; }
    int bottom() const { return y + height; }
    bool operator==(const Frame&) const = default;
};

void PrintTo(const Frame& frame, std::ostream* stream) {
    *stream << frame.width << " x " << frame.height << " at " << frame.x << ", " << frame.y;
}

/// The screen of 1280 x 800 is two of 640 side by side, "left" and "right".
class Screens : public ::testing::Test {
protected:
    Screens() {
        session_.startDisplay();
        session_.need({"xrandr", "xdotool"});
        display_ = std::make_unique<support::XServer>(session_.environment()["DISPLAY"]);
        support::writeFile(session_.home() / ".config/Velmoran/Velmoran.conf",
                           "[General]\nonboardingDone=true\n");
        std::ofstream(session_.file("recording.jsonl"))
            << "{\"at\": 0, \"snapshot\": {}}\n"
               "{\"at\": 0.1, \"snapshot\": {\"microphoneOn\": true, \"microphoneApps\": "
               "[{\"name\": \"Zoom\", \"path\": \"/opt/zoom\"}]}}\n"
               "{\"at\": 600, \"wait\": true}\n";
    }

    void screen(std::vector<std::string> does) {
        does.insert(does.begin(), "xrandr");
        const auto finished = session_.run(does);
        ASSERT_TRUE(finished.succeeded()) << finished.errors;
    }
    /// The first one is the main one.
    void split(const std::string& first) {
        const std::map<std::string, std::string> places{{"left", "640/170x800/212+0+0"},
                                                        {"right", "640/170x800/212+640+0"}};
        for (const auto& [name, place] : places) {
            screen({"--setmonitor", (name == first ? "*" : "") + name, place,
                    name == first ? "screen" : "none"});
        }
    }

    void play(const std::string& window) {
        session_.start("velmoran", {VELMORAN, "--demo", session_.file("recording.jsonl").string(),
                                    "--show", window});
    }

    std::string titleOf(std::uint32_t window) {
        auto title = session_.run({"xdotool", "getwindowname", std::to_string(window)}).output;
        return title.substr(0, title.find('\n'));
    }
    /// The program's window of that title; 0 without one. Cards are called as the program is.
    std::uint32_t find(const std::string& title) {
        for (const auto each : display_->visibleWindows("velmoran")) {
            if (!display_->isEmbedded(each) && titleOf(each) == title) {
                return each;
            }
        }
        return 0;
    }
    [[nodiscard]] bool comes(const std::string& title) {
        return waitUntil([&] { return find(title) != 0; });
    }
    /// Its content, without what the desktop puts around it.
    Frame frameOf(const std::string& title) {
        auto* x = display_->connection();
        Frame result;
        const auto window = find(title);
        auto* size = xcb_get_geometry_reply(x, xcb_get_geometry(x, window), nullptr);
        auto* place = xcb_translate_coordinates_reply(
            x, xcb_translate_coordinates(x, window, display_->root(), 0, 0), nullptr);
        if (size != nullptr && place != nullptr) {
            result = {place->dst_x, place->dst_y, size->width, size->height};
        }
        std::free(size);
        std::free(place);
        return result;
    }
    [[nodiscard]] bool becomes(const std::string& title,
                               const std::function<bool(const Frame&)>& condition) {
        return waitUntil([&] { return condition(frameOf(title)); });
    }
    static bool isLeft(const Frame& frame) {
        return frame.x >= 0 && frame.right() <= 640 && frame.y >= 0 && frame.bottom() <= 800 &&
               frame.width > 0;
    }
    static bool isRight(const Frame& frame) {
        return frame.x >= 640 && frame.right() <= 1280 && frame.y >= 0 && frame.bottom() <= 800;
    }
    void move(const std::string& title, int x, int y) {
        EXPECT_TRUE(session_
                        .run({"xdotool", "windowmove", std::to_string(find(title)),
                              std::to_string(x), std::to_string(y)})
                        .succeeded());
    }

    support::PrivateSession session_;
    std::unique_ptr<support::XServer> display_;
};

TEST_F(Screens, WindowsAndCardsComeBackFromAScreenThatGoes) {
    split("right");
    play("settings");
    ASSERT_TRUE(comes("Settings")) << session_.logs();
    ASSERT_TRUE(comes("Velmoran")) << session_.logs();
    EXPECT_TRUE(becomes("Settings", isRight)) << ::testing::PrintToString(frameOf("Settings"));
    EXPECT_TRUE(becomes("Velmoran", isRight)) << ::testing::PrintToString(frameOf("Velmoran"));
    const auto size = frameOf("Settings");
    screen({"--delmonitor", "right"});
    // One that is there can't be given the output.
    screen({"--delmonitor", "left"});
    screen({"--setmonitor", "*left", "640/170x800/212+0+0", "screen"});
    EXPECT_TRUE(becomes("Settings", isLeft)) << ::testing::PrintToString(frameOf("Settings"));
    EXPECT_TRUE(becomes("Velmoran", isLeft)) << ::testing::PrintToString(frameOf("Velmoran"));
    EXPECT_EQ(frameOf("Settings").width, size.width);
    EXPECT_EQ(frameOf("Settings").height, size.height);
    EXPECT_TRUE(session_.child("velmoran")->running()) << session_.logs();
}

/// The right one has two dots where the left one has one, so it is 320 points wide.
class ScreensOfTwoScales : public Screens {
protected:
    ScreensOfTwoScales() {
        session_.environment()["QT_SCREEN_SCALE_FACTORS"] = "left=1;right=2";
        split("left");
    }
};

TEST_F(ScreensOfTwoScales, AWindowIsLaidOutForTheScaleOfTheScreenItIsMovedTo) {
    play("settings");
    ASSERT_TRUE(comes("Settings")) << session_.logs();
    ASSERT_TRUE(becomes("Settings", [](const Frame& frame) {
        return isLeft(frame) && frame.width == 480 && frame.height == 620;
    })) << ::testing::PrintToString(frameOf("Settings"));
    move("Settings", 650, 0);
    // Of 960 x 1240 dots there is room for nearly all of the screen's.
    EXPECT_TRUE(becomes("Settings", [](const Frame& frame) {
        return frame.x >= 640 && frame.width > 600 && frame.width <= 640 && frame.height > 700 &&
               frame.height <= 800;
    })) << ::testing::PrintToString(frameOf("Settings"));
    move("Settings", 20, 20);
    EXPECT_TRUE(becomes("Settings", [](const Frame& frame) {
        return isLeft(frame) && frame.width == 480 && frame.height == 620;
    })) << ::testing::PrintToString(frameOf("Settings"));
}

/// What a desktop says of the scale, which programs hear of while they run.
class ScaleOfTheDesktop {
public:
    ScaleOfTheDesktop(xcb_connection_t* x, std::uint32_t root)
        : x_(x),
          window_(xcb_generate_id(x)) {
        xcb_create_window(x_, XCB_COPY_FROM_PARENT, window_, root, 0, 0, 1, 1, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
        say(96);
        xcb_set_selection_owner(x_, window_, atom("_XSETTINGS_S0"), XCB_CURRENT_TIME);
        xcb_flush(x_);
    }

    void say(int dotsPerInch) {
        std::string text;
        const auto add = [&text](auto number) {
            text.append(reinterpret_cast<const char*>(&number), sizeof number);
        };
        const std::string name = "Xft/DPI";
        add(std::uint32_t(XCB_IMAGE_ORDER_LSB_FIRST));
        add(++serial_);
        add(std::uint32_t(1));
        add(std::uint16_t(0));
        add(std::uint16_t(name.size()));
        text += name + '\0';
        add(serial_);
        add(std::int32_t(dotsPerInch * 1024));
        xcb_change_property(x_, XCB_PROP_MODE_REPLACE, window_, atom("_XSETTINGS_SETTINGS"),
                            atom("_XSETTINGS_SETTINGS"), 8, static_cast<std::uint32_t>(text.size()),
                            text.data());
        xcb_flush(x_);
    }

private:
    xcb_atom_t atom(const char* name) {
        auto* reply = xcb_intern_atom_reply(
            x_, xcb_intern_atom(x_, 0, static_cast<std::uint16_t>(std::strlen(name)), name),
            nullptr);
        const auto result = reply == nullptr ? xcb_atom_t(XCB_ATOM_NONE) : reply->atom;
        std::free(reply);
        return result;
    }

    xcb_connection_t* x_;
    xcb_window_t window_;
    std::uint32_t serial_ = 0;
};

TEST_F(Screens, WindowsAndCardsFollowAScaleThatChanges) {
    ScaleOfTheDesktop scale(display_->connection(), display_->root());
    play("settings");
    ASSERT_TRUE(comes("Settings")) << session_.logs();
    ASSERT_TRUE(comes("Velmoran")) << session_.logs();
    EXPECT_TRUE(becomes("Settings", [](const Frame& frame) {
        return frame.width == 480 && frame.height == 620;
    })) << ::testing::PrintToString(frameOf("Settings"));
    const auto card = frameOf("Velmoran");
    scale.say(192);
    EXPECT_TRUE(becomes("Settings", [](const Frame& frame) {
        return frame.width >= 960 && frame.width <= 1280 && frame.height > 700 && frame.y >= 0 &&
               frame.bottom() <= 800;
    })) << ::testing::PrintToString(frameOf("Settings"));
    EXPECT_TRUE(becomes("Velmoran", [&](const Frame& frame) {
        return frame.width == 2 * card.width && frame.right() <= 1280;
    })) << ::testing::PrintToString(frameOf("Velmoran"));
    scale.say(96);
    EXPECT_TRUE(becomes("Settings", [](const Frame& frame) {
        return frame.width == 480 && frame.height == 620;
    })) << ::testing::PrintToString(frameOf("Settings"));
    EXPECT_TRUE(becomes("Velmoran", [&](const Frame& frame) { return frame == card; }))
        << ::testing::PrintToString(frameOf("Velmoran"));
}

TEST_F(Screens, TheProgramIsReachableWithoutATrayAndDocksWhenOneComes) {
    auto& program = session_.start("velmoran", {VELMORAN, "--login-start"});
    ASSERT_TRUE(waitUntil([&] {
        return session_.logs().find("there is no tray on this desktop") != std::string::npos;
    })) << session_.logs();
    EXPECT_EQ(session_.run({VELMORAN}).status, 0);
    EXPECT_TRUE(comes("Velmoran")) << session_.logs();
    EXPECT_EQ(session_.run({VELMORAN, "--show", "settings"}).status, 0);
    EXPECT_TRUE(comes("Settings")) << session_.logs();
    for (const char* time : {"first", "second"}) {
        session_.startTray();
        EXPECT_TRUE(waitUntil([&] { return display_->dockedIcons().size() == 1; }))
            << time << session_.logs();
        session_.stop("tray");
        EXPECT_TRUE(waitUntil([&] { return !display_->hasTray(); })) << time;
    }
    EXPECT_EQ(session_.run({VELMORAN, "--show", "history"}).status, 0) << "and when it has gone";
    EXPECT_TRUE(comes("History")) << session_.logs();
    EXPECT_EQ(program.stop(), 0) << session_.logs();
}

} // namespace
} // namespace velmoran
