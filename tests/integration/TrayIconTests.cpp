// The icon in trays of both kinds: that it gets there, and that it can be read.
#include "integration/TrayDesktop.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace velmoran {
namespace {

/// A docked icon as the server shows it: points with four bytes each, of which the first three are
/// colours.
class Shown {
public:
    Shown(const support::XServer& server, std::uint32_t icon)
        : pixels_(server.picture(icon)),
          width_(server.width(icon)) {}

    [[nodiscard]] bool isThere() const { return width_ > 0 && pixels_.size() >= 4 * width_; }
    /// From 0 (black) to 1 (white), as the eye has it.
    [[nodiscard]] double middle() const {
        const auto rows = pixels_.size() / 4 / width_;
        return luminance(rows / 2 * width_ + width_ / 2);
    }
    /// The best ratio of contrast between any point and the ground in the corner (WCAG 2).
    [[nodiscard]] double contrast() const {
        double best = 1;
        const double ground = luminance(0) + 0.05;
        for (std::size_t at = 0; at < pixels_.size() / 4; ++at) {
            const double light = luminance(at) + 0.05;
            best = std::max({best, light / ground, ground / light});
        }
        return best;
    }

private:
    [[nodiscard]] double luminance(std::size_t at) const {
        const auto part = [&](std::size_t which) {
            const double value = static_cast<unsigned char>(pixels_[4 * at + which]) / 255.0;
            return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
        };
        return 0.0722 * part(0) + 0.7152 * part(1) + 0.2126 * part(2);
    }

    std::string pixels_;
    std::size_t width_;
};

TEST_F(Desktop, TheIconDocksIntoATrayThatComesLate) {
    playNothing();
    startVelmoran();
    ASSERT_TRUE(waitUntil([&] {
        return session_.logs().find("there is no tray on this desktop") != std::string::npos;
    })) << session_.logs();
    startTray("top");
    EXPECT_TRUE(waitUntil([&] { return display_->dockedIcons().size() == 1; })) << session_.logs();
}

TEST_F(Desktop, TheIconTakesTheColourThatTheTraySaysWhileItRuns) {
    startTray("top");
    playNothing();
    startVelmoran();
    ASSERT_TRUE(waitUntil([&] { return display_->dockedIcons().size() == 1; })) << session_.logs();
    const auto icon = display_->dockedIcons().front();
    const auto say = [&](std::uint32_t part) {
        display_->sayTrayColors(std::vector<std::uint32_t>(12, part));
    };
    const auto dotIs = [&](double least, double most) {
        return waitUntil([&] {
            const Shown shown(*display_, icon);
            return shown.isThere() && shown.middle() >= least && shown.middle() <= most;
        });
    };
    for (int time = 0; time < 2; ++time) {
        say(65535);
        EXPECT_TRUE(dotIs(0.9, 1)) << session_.logs();
        say(0);
        EXPECT_TRUE(dotIs(0, 0.1)) << session_.logs();
    }
}

TEST_F(Desktop, TheIconCanBeReadWhateverColourThePanelHas) {
    playNothing();
    for (const std::string tint : {"0x000000", "0xffffff", "0x808080", "0x3b6ea5", "0xc02020"}) {
        session_.start("tray",
                       {"trayer", "--edge", "top", "--align", "right", "--width", "20", "--height",
                        "32", "--transparent", "true", "--alpha", "0", "--tint", tint});
        ASSERT_TRUE(waitUntil([&] { return display_->hasTray(); })) << session_.logs();
        startVelmoran();
        ASSERT_TRUE(waitUntil([&] { return display_->dockedIcons().size() == 1; }))
            << session_.logs();
        const auto icon = display_->dockedIcons().front();
        EXPECT_TRUE(waitUntil([&] {
            const Shown shown(*display_, icon);
            return shown.isThere() && shown.contrast() >= 3;
        })) << tint;
        session_.stop("velmoran");
        session_.stop("tray");
        ASSERT_TRUE(waitUntil([&] { return !display_->hasTray(); }));
    }
}

/// A tray of the new kind, played on the session bus: a watcher to which items announce themselves.
class NotifierDesktop : public Desktop {
protected:
    NotifierDesktop() { session_.startBus(); }

    void startWatcher() {
        session_.start("watcher",
                       {"/usr/bin/python3", "-m", "dbusmock", "--session", service, path, service});
        ASSERT_TRUE(waitUntil([&] {
            return session_.run({"gdbus", "introspect", "--session", "-d", service, "-o", path})
                .succeeded();
        })) << session_.logs();
        mock({"AddMethod", "", "RegisterStatusNotifierItem", "s", "", ""});
    }

    /// A bar comes that shows items.
    void startBar() {
        mock({"AddProperty", service, "IsStatusNotifierHostRegistered", "<true>"});
        mock({"EmitSignal", service, "StatusNotifierHostRegistered", "", "@av []"});
    }

    void mock(std::vector<std::string> call) {
        std::vector<std::string> arguments{"gdbus", "call", "--session", "-d",
                                           service, "-o",   path,        "-m"};
        call.front() = "org.freedesktop.DBus.Mock." + call.front();
        arguments.insert(arguments.end(), call.begin(), call.end());
        const auto finished = session_.run(arguments);
        ASSERT_TRUE(finished.succeeded()) << finished.errors;
    }

    [[nodiscard]] bool itemIsRegistered() {
        return session_.child("watcher")->output().find("RegisterStatusNotifierItem") !=
               std::string::npos;
    }

    /// The name under which the item has announced itself.
    std::string registeredItem() {
        const auto log = session_.child("watcher")->output();
        const auto call = log.find("RegisterStatusNotifierItem");
        const auto begin = log.find('"', call);
        return begin == std::string::npos
                   ? std::string()
                   : log.substr(begin + 1, log.find('"', begin + 1) - begin - 1);
    }

    const std::string service = "org.kde.StatusNotifierWatcher";
    const std::string path = "/StatusNotifierWatcher";
};

TEST_F(NotifierDesktop, TheIconGoesToATrayOfTheNewKind) {
    startWatcher();
    startBar();
    startVelmoran();
    EXPECT_TRUE(waitUntil([&] { return itemIsRegistered(); })) << session_.logs();
}

TEST_F(NotifierDesktop, TheIconGoesToABarThatComesAfterTheProgram) {
    startVelmoran();
    ASSERT_TRUE(cardComes()) << session_.logs();
    startWatcher();
    EXPECT_FALSE(itemIsRegistered());
    startBar();
    EXPECT_TRUE(waitUntil([&] { return itemIsRegistered(); })) << session_.logs();
    EXPECT_EQ(session_.logs().find("there is no tray"), std::string::npos);
}

TEST_F(NotifierDesktop, TheIconGoesToABarThatComesLate) {
    startVelmoran();
    ASSERT_TRUE(waitUntil([&] {
        return session_.logs().find("there is no tray on this desktop") != std::string::npos;
    })) << session_.logs();
    startWatcher();
    startBar();
    EXPECT_TRUE(waitUntil([&] { return itemIsRegistered(); })) << session_.logs();
}

TEST_F(NotifierDesktop, TheIconMovesToATrayOfTheOtherKind) {
    startTray("top");
    session_.start("velmoran", {VELMORAN, "--login-start"});
    ASSERT_TRUE(waitUntil([&] { return display_->dockedIcons().size() == 1; })) << session_.logs();
    session_.stop("tray");
    startWatcher();
    EXPECT_FALSE(itemIsRegistered());
    startBar();
    EXPECT_TRUE(waitUntil([&] { return itemIsRegistered(); })) << session_.logs();
    EXPECT_TRUE(session_.child("velmoran")->running());
}

TEST_F(NotifierDesktop, TheIconMovesBackToATrayOfTheOldKind) {
    startWatcher();
    startBar();
    session_.start("velmoran", {VELMORAN, "--login-start"});
    ASSERT_TRUE(waitUntil([&] { return itemIsRegistered(); })) << session_.logs();
    session_.stop("watcher");
    startTray("top");
    EXPECT_TRUE(waitUntil([&] { return display_->dockedIcons().size() == 1; })) << session_.logs();
}

TEST_F(NotifierDesktop, ThePanelStandsWhereTheIconWasClickedIfABarCanBeThere) {
    playNothing();
    startWatcher();
    startBar();
    startVelmoran();
    ASSERT_TRUE(waitUntil([&] { return itemIsRegistered(); })) << session_.logs();
    const auto press = [&](int x, int y) {
        ASSERT_TRUE(session_.run({"xdotool", "mousemove", std::to_string(x), std::to_string(y)})
                        .succeeded());
        // As a bar says it, without its knowing where.
        const auto finished = session_.run({"gdbus", "call", "--session", "-d", registeredItem(),
                                            "-o", "/StatusNotifierItem", "-m",
                                            "org.kde.StatusNotifierItem.Activate", "0", "0"});
        ASSERT_TRUE(finished.succeeded()) << finished.errors;
    };
    const auto panelAfter = [&](int x, int y) {
        press(x, y);
        EXPECT_TRUE(cardComes()) << session_.logs();
        const auto card = placeOf(cards().front());
        press(x, y);
        EXPECT_TRUE(waitUntil([&] { return cards().empty(); }));
        return card;
    };
    const auto low = panelAfter(200, 790);
    EXPECT_EQ(low.x, 200 - low.width / 2);
    EXPECT_EQ(low.y + low.height, 790 - 2);
    const auto middle = panelAfter(640, 400);
    EXPECT_EQ(middle.x + middle.width, 1280 - 4);
    EXPECT_EQ(middle.y, 2);
}

} // namespace
} // namespace velmoran
