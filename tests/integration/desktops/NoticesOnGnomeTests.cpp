// GNOME without an X server: no surface of our own, so its notifications, and no tray.
#include "integration/desktops/WholeDesktop.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <optional>
#include <sstream>
#include <utility>

namespace velmoran {
namespace {

using support::waitUntil;

class NoticesOnGnome : public ::testing::Test {
protected:
    static void SetUpTestSuite() { desktop() = startGnomeShell(false); }
    static void TearDownTestSuite() { desktop().reset(); }
    static std::unique_ptr<WholeDesktop>& desktop() {
        static std::unique_ptr<WholeDesktop> started;
        return started;
    }
    std::string ask(const std::string& line) { return askGnomeShell(desktop()->session, line); }
    /// Title, urgency and whether a press leaves it, of each.
    std::string notices() {
        return ask("Main.messageTray.getSources().map(s => s.notifications.map(n => "
                   "`${n.title}|${n.urgency}|${n.resident}`).join()).join()");
    }
    bool noticeIsThere() {
        return notices().find("pw-record turned on the microphone|3|true") != std::string::npos;
    }
    /// The middle of what is shown on the banner's button of that name, or of the banner.
    std::optional<QPoint> placeOf(const std::string& button) {
        std::istringstream answer(ask(
            "const all = a => [a, ...a.get_children().flatMap(all)];"
            "const banner = Main.messageTray._banner;"
            "const one = banner && Main.messageTray._notificationState == 2 ? " +
            (button.empty() ? std::string("banner")
                            : "all(banner).find(a => a.mapped && a.label == '" + button + "')") +
            " : null; one ? `${Math.round(one.get_transformed_position()[0] + one.width / 2)} "
            "${Math.round(one.get_transformed_position()[1] + " +
            (button.empty() ? "30" : "one.height / 2") + ")}` : ''"));
        int x = 0;
        int y = 0;
        return answer >> x >> y ? std::optional(QPoint(x, y)) : std::nullopt;
    }
    void press(const std::string& button) {
        std::optional<QPoint> before;
        // It slides in.
        ASSERT_TRUE(waitUntil([&] {
            const auto now = placeOf(button);
            return now && now == std::exchange(before, now);
        })) << notices()
            << person.log();
        person.clickAt(*before);
    }
    /// The titles of Velmoran's windows.
    std::string windows() {
        return ask("global.get_window_actors().map(a => a.meta_window)"
                   ".filter(w => `${w.get_wm_class()}`.toLowerCase().includes('velmoran'))"
                   ".map(w => w.get_title()).join()");
    }
    void startAll(const std::vector<std::string>& settings = {}) {
        person.startEditor();
        person.startVelmoran(settings);
        person.expectTyped("a", "a");
        person.startRecorder();
        ASSERT_TRUE(waitUntil([&] { return noticeIsThere(); })) << notices() << person.log();
    }

    AtADesktop person{*desktop()};
};

TEST_F(NoticesOnGnome, AreUrgentAboveAFullScreenWindowAndLeaveTheKeyboard) {
    startAll();
    ASSERT_TRUE(waitUntil([&] { return placeOf("Stop").has_value(); })) << person.log();
    EXPECT_TRUE(waitUntil([&] { return !person.shapes().empty(); })) << "it can be seen";
    person.expectTyped("ab", "b");
    press("Stop");
    EXPECT_TRUE(waitUntil([&] { return !person.recorderRuns(); })) << person.log();
    person.expectTyped("abc", "c");
}

TEST_F(NoticesOnGnome, GoWhenACardWould) {
    startAll({"standardNoticesStay=false"});
    EXPECT_TRUE(waitUntil([&] { return !noticeIsThere(); })) << notices();
    EXPECT_TRUE(person.recorderRuns());
}

TEST_F(NoticesOnGnome, OpenTheWindowByAClick) {
    startAll();
    press("");
    EXPECT_TRUE(waitUntil([&] { return windows() == "Velmoran"; })) << windows() << person.log();
    EXPECT_TRUE(person.recorderRuns());
}

TEST_F(NoticesOnGnome, AreBesideWindowsThatAnotherStartOpens) {
    person.startEditor();
    person.startVelmoran();
    EXPECT_EQ(windows(), "");
    for (const std::string window : {"main", "history", "settings"}) {
        EXPECT_EQ(desktop()->session.run({VELMORAN, "--show", window}).status, 0);
    }
    EXPECT_TRUE(waitUntil([&] {
        const auto all = windows();
        return std::count(all.begin(), all.end(), ',') == 2;
    })) << windows();
}

} // namespace
} // namespace velmoran
