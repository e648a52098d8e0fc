// A desktop with a window manager, a tray and a mouse, on which the program shows its icon, its
// panel and its cards. What is told comes from a recording, so that no sound server is needed.
#pragma once

#include "support/PrivateSession.h"
#include "support/XServer.h"

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace velmoran {

using support::PrivateSession;
using support::waitUntil;

struct Place {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

class Desktop : public ::testing::Test {
protected:
    Desktop() {
        session_.startDisplay();
        display_ = std::make_unique<support::XServer>(session_.environment()["DISPLAY"]);
        std::ofstream(session_.file("recording.jsonl"))
            << "{\"at\": 0, \"snapshot\": {}}\n"
               "{\"at\": 0.5, \"snapshot\": {\"microphoneOn\": true, \"microphoneApps\": "
               "[{\"name\": \"Zoom\", \"path\": \"/opt/zoom\"}]}}\n"
               "{\"at\": 600, \"wait\": true}\n";
    }

    void startTray(const std::string& edge) {
        session_.start("tray", {"trayer", "--edge", edge, "--align", "right", "--width", "20",
                                "--height", "32"});
        ASSERT_TRUE(waitUntil([&] { return display_->hasTray(); })) << session_.logs();
    }

    void startVelmoran() {
        session_.start("velmoran", {VELMORAN, "--demo", session_.file("recording.jsonl").string()});
    }

    /// And the panel, and windows.
    std::vector<std::uint32_t> cards() {
        auto windows = display_->visibleWindows("velmoran");
        std::erase_if(windows, [&](std::uint32_t window) { return display_->isEmbedded(window); });
        return windows;
    }

    [[nodiscard]] bool cardComes() {
        return waitUntil([&] { return cards().size() == 1; });
    }

    /// Waits until two looks at it give the same, since a window manager moves what it is handed.
    Place placeOf(std::uint32_t window) {
        Place place;
        EXPECT_TRUE(waitUntil([&] {
            const auto before = place;
            std::map<std::string, int> numbers;
            std::istringstream lines(
                session_.run({"xdotool", "getwindowgeometry", "--shell", std::to_string(window)})
                    .output);
            for (std::string line; std::getline(lines, line);) {
                const auto equals = line.find('=');
                numbers[line.substr(0, equals)] = std::atoi(line.c_str() + equals + 1);
            }
            place = {numbers["X"], numbers["Y"], numbers["WIDTH"], numbers["HEIGHT"]};
            return place.width > 0 && place.x == before.x && place.y == before.y;
        }));
        return place;
    }

    void playNothing() {
        std::ofstream(session_.file("recording.jsonl"))
            << "{\"at\": 0, \"snapshot\": {}}\n{\"at\": 600, \"wait\": true}\n";
    }

    bool isListed(std::uint32_t window) {
        auto listed = session_.run({"xprop", "-root", "_NET_CLIENT_LIST"}).output;
        std::ranges::replace(listed, '\n', ',');
        EXPECT_NE(listed.find("window id"), std::string::npos) << listed;
        std::ostringstream id;
        id << std::hex << "0x" << window;
        return listed.find(id.str() + ",") != std::string::npos;
    }

    std::string focused() { return session_.run({"xdotool", "getwindowfocus"}).output; }

    void click(int x, int y) {
        EXPECT_TRUE(
            session_
                .run({"xdotool", "mousemove", std::to_string(x), std::to_string(y), "click", "1"})
                .succeeded());
    }

    PrivateSession session_;
    std::unique_ptr<support::XServer> display_;
};

} // namespace velmoran
