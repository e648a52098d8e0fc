// Notices as a desktop's notifications, with a service that answers rightly, wrongly, late or
// never.
#include "app/shell/notifications/DesktopNotices.h"
#include "integration/desktop/Desktop.h"

#include <csignal>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <sstream>

namespace velmoran {
namespace {

using ::testing::ElementsAre;
using ::testing::SizeIs;

struct NoticesOfTheDesktop : DesktopFixture {
    QtEventLoop loop;
    NoticeCenter notices{loop};
    std::unique_ptr<DesktopNotices> shown;
    std::vector<std::string> complaints;
    int opened = 0;
    int presses = 0;
    int closes = 0;

    static void SetUpTestSuite() { desktopSession().need({"gdbus", "xdotool"}); }

    void startService(const std::string& manner) {
        session.start("notifications", {"/usr/bin/python3", FAKE_NOTIFICATIONS, manner});
        ASSERT_TRUE(eventually([&] {
            return session.child("notifications")->output().starts_with("ready");
        })) << session.logs();
    }
    void begin() {
        shown = std::make_unique<DesktopNotices>(
            notices, DesktopNotices::Options{
                         .opened = [this] { ++opened; },
                         .complain = [this](const std::string& why) { complaints.push_back(why); },
                         .patience = std::chrono::milliseconds(100),
                         .pause = std::chrono::milliseconds(100)});
    }
    NoticeItem item(const std::string& title, const std::string& message = "") {
        NoticeItem made;
        made.id = Uuid::random();
        made.title = title;
        if (!message.empty()) {
            made.message = message;
        }
        made.buttons.push_back({.title = "Stop", .action = [this] {
                                    ++presses;
                                }});
        made.onClose = [this] {
            ++closes;
        };
        return made;
    }
    /// What the service was asked for, of the kind that has that name.
    std::vector<nlohmann::json> asked(const std::string& kind) {
        std::vector<nlohmann::json> all;
        std::istringstream lines(session.child("notifications")->output());
        for (std::string line; std::getline(lines, line);) {
            const auto one = nlohmann::json::parse(line, nullptr, false);
            if (one.is_object() && one.contains(kind)) {
                all.push_back(one);
            }
        }
        return all;
    }
    [[nodiscard]] bool comes(const std::string& kind, std::size_t count) {
        return eventually([&] { return asked(kind).size() == count; });
    }
    void tell(const std::string& method, const std::vector<std::string>& arguments = {}) {
        std::vector<std::string> command{"gdbus",
                                         "call",
                                         "--session",
                                         "-d",
                                         "org.freedesktop.Notifications",
                                         "-o",
                                         "/org/freedesktop/Notifications",
                                         "-m",
                                         "org.velmoran.FakeNotifications." + method};
        command.insert(command.end(), arguments.begin(), arguments.end());
        const auto finished = session.run(command);
        ASSERT_TRUE(finished.succeeded()) << finished.errors;
    }
};

TEST_F(NoticesOfTheDesktop, AreUrgentAndButtonedAsCards) {
    startService("plain");
    begin();
    notices.show(item("Zoom turned on the camera", "You haven't seen it before."));
    ASSERT_TRUE(comes("notify", 1));
    const auto told = asked("notify").front();
    EXPECT_EQ(told["notify"], "Zoom turned on the camera");
    EXPECT_EQ(told["body"], "You haven't seen it before.");
    EXPECT_EQ(told["urgency"], 2);
    EXPECT_EQ(told["timeout"], 0);
    EXPECT_TRUE(told["resident"].get<bool>());
    EXPECT_EQ(told["actions"], (nlohmann::json{"default", "Velmoran", "0", "Stop"}));
    EXPECT_THAT(complaints, SizeIs(0));
}

TEST_F(NoticesOfTheDesktop, ArePlainTextWhateverTheDesktopReads) {
    const std::string name = "<b>Zoom</b> & <a href=\"https://a.example\">https://a.example</a>";
    for (const std::string manner : {"markup", "plain"}) {
        startService(manner);
        begin();
        notices.show(item(name, name));
        ASSERT_TRUE(comes("notify", 1));
        const auto body = asked("notify").front()["body"].get<std::string>();
        EXPECT_EQ(body.find('<') == std::string::npos, manner == "markup") << body;
        EXPECT_EQ(body.find("https://"), std::string::npos) << body;
        EXPECT_EQ(asked("notify").front()["notify"].get<std::string>().find("https://"),
                  std::string::npos);
        shown.reset();
        notices.dismiss(notices.items().front().id);
        session.stop("notifications");
    }
}

TEST_F(NoticesOfTheDesktop, AreTakenBackWhenTheirCardWouldGo) {
    startService("plain");
    begin();
    const auto first = item("Zoom turned on the camera");
    notices.show(first);
    ASSERT_TRUE(comes("notify", 1));
    auto merged = first;
    merged.title = "Zoom turned on the camera and microphone";
    // The answer to the first may not have come yet.
    notices.show(merged);
    ASSERT_TRUE(comes("notify", 2));
    EXPECT_EQ(asked("notify").back()["replaces"], 1);
    notices.dismiss(first.id);
    ASSERT_TRUE(comes("close", 1));
    EXPECT_EQ(asked("close").front()["close"], 1);
}

TEST_F(NoticesOfTheDesktop, AreOneForEachApp) {
    startService("plain");
    begin();
    const AppIdentity zoom{.id = "zoom", .name = "Zoom", .bundleID = {}, .path = {}, .teamID = {}};
    for (const auto* title : {"Zoom turned on the camera", "Zoom turned on the microphone"}) {
        auto card = item(title);
        card.app = zoom;
        notices.show(card);
    }
    // The older one goes as soon as its number is known.
    ASSERT_TRUE(eventually([&] {
        return !asked("notify").empty() &&
               asked("notify").back()["notify"] == "Zoom turned on the microphone" &&
               asked("notify").size() == asked("close").size() + 1;
    }));
    EXPECT_EQ(asked("notify").back()["body"], "2 times");
    notices.show(item("Another"));
    ASSERT_TRUE(eventually([&] { return asked("notify").back()["notify"] == "Another"; }));
    EXPECT_EQ(notices.items().size(), 3U);
}

TEST_F(NoticesOfTheDesktop, HearPressesClicksAndClosing) {
    startService("plain");
    begin();
    notices.show(item("Zoom turned on the camera"));
    ASSERT_TRUE(comes("notify", 1));
    // Until the answer has come nobody knows whose press it is.
    ASSERT_TRUE(eventually([&] {
        tell("Press", {"1", "default"});
        return opened > 0;
    }));
    tell("Press", {"1", "0"});
    EXPECT_TRUE(eventually([&] { return presses == 1; }));
    tell("Press", {"1", "7"});
    tell("Press", {"2", "0"});
    tell("Press", {"1", "0"});
    EXPECT_TRUE(eventually([&] { return presses == 2; }));
    EXPECT_EQ(closes, 0);
    tell("Dismiss", {"1"});
    EXPECT_TRUE(eventually([&] { return closes == 1 && notices.items().empty(); }));
}

TEST_F(NoticesOfTheDesktop, ThatGoByThemselvesTakeNoNoticeAway) {
    startService("plain");
    begin();
    const auto first = item("Zoom turned on the camera");
    notices.show(first);
    ASSERT_TRUE(comes("notify", 1));
    ASSERT_TRUE(eventually([&] {
        tell("Press", {"1", "0"});
        return presses > 0;
    }));
    tell("Expire", {"1"});
    notices.show(item("Teams turned on the microphone"));
    ASSERT_TRUE(comes("notify", 2));
    EXPECT_EQ(notices.items().size(), 2U);
    EXPECT_EQ(closes, 0);
    // One that changes is new again.
    auto merged = first;
    merged.title = "Zoom turned on the camera and microphone";
    notices.show(merged);
    ASSERT_TRUE(comes("notify", 3));
    EXPECT_EQ(asked("notify").back()["replaces"], 0);
}

TEST_F(NoticesOfTheDesktop, WithoutAServiceAreMissedOnceAndToldWhenItComes) {
    begin();
    notices.show(item("Zoom turned on the camera"));
    ASSERT_TRUE(eventually([&] { return complaints.size() == 1; }));
    startService("plain");
    EXPECT_TRUE(comes("notify", 1));
    EXPECT_THAT(complaints, ElementsAre("this desktop has no notifications"));
}

TEST_F(NoticesOfTheDesktop, AreToldAnewToAServiceThatBeginsAnew) {
    startService("plain");
    begin();
    notices.show(item("Zoom turned on the camera"));
    ASSERT_TRUE(comes("notify", 1));
    session.stop("notifications");
    startService("markup");
    EXPECT_TRUE(comes("notify", 1));
}

TEST_F(NoticesOfTheDesktop, AreSentOnceToAServiceThatIsLateAndMissedOnce) {
    startService("late");
    begin();
    const auto first = item("Zoom turned on the camera");
    notices.show(first);
    ASSERT_TRUE(comes("notify", 1));
    EXPECT_TRUE(eventually([&] { return complaints.size() == 1; }));
    notices.dismiss(first.id);
    notices.show(item("Teams turned on the microphone"));
    ASSERT_TRUE(comes("notify", 2));
    EXPECT_THAT(asked("close"), SizeIs(0));
    tell("Answer");
    // Its card has gone, so it goes as soon as anybody can name it.
    ASSERT_TRUE(comes("close", 1));
    EXPECT_EQ(asked("close").front()["close"], 1);
    EXPECT_EQ(asked("notify").size(), 2U);
    EXPECT_THAT(complaints, ElementsAre("the desktop's notifications don't answer"));
}

TEST_F(NoticesOfTheDesktop, AreTriedAgainWhereTheyWereRefused) {
    startService("error");
    begin();
    notices.show(item("Zoom turned on the camera"));
    EXPECT_TRUE(comes("notify", 2));
    EXPECT_EQ(complaints.size(), 1U);
}

TEST_F(NoticesOfTheDesktop, AreOnlyComplainedOfOnceWhereTheAnswerIsWrong) {
    startService("wrong");
    begin();
    notices.show(item("Zoom turned on the camera"));
    EXPECT_TRUE(eventually([&] { return asked("notify").size() > 2; }));
    EXPECT_EQ(complaints.size(), 1U);
    EXPECT_EQ(notices.items().size(), 1U);
}

TEST_F(NoticesOfTheDesktop, APressIsOfTheOneThatWasShownInTheOthersPlace) {
    startService("single");
    begin();
    int newest = 0;
    auto second = item("Meet turned on the camera");
    second.buttons.front().action = [&newest] {
        ++newest;
    };
    const auto first = item("Zoom turned on the camera");
    notices.show(first);
    ASSERT_TRUE(comes("notify", 1));
    notices.show(second);
    ASSERT_TRUE(comes("notify", 2));
    ASSERT_TRUE(eventually([&] {
        tell("Press", {"1", "0"});
        return newest > 0 || presses > 0;
    }));
    EXPECT_EQ(presses, 0);
    notices.dismiss(first.id);
    notices.dismiss(second.id);
    EXPECT_TRUE(comes("close", 1));
}

TEST_F(NoticesOfTheDesktop, AnotherProgramsWordIsNothing) {
    startService("plain");
    begin();
    notices.show(item("Zoom turned on the camera"));
    ASSERT_TRUE(comes("notify", 1));
    const auto emit = [&](const std::string& signal, const std::vector<std::string>& arguments) {
        std::vector<std::string> command{"gdbus",
                                         "emit",
                                         "--session",
                                         "-o",
                                         "/org/freedesktop/Notifications",
                                         "-s",
                                         "org.freedesktop.Notifications." + signal};
        command.insert(command.end(), arguments.begin(), arguments.end());
        ASSERT_TRUE(session.run(command).succeeded());
    };
    emit("ActionInvoked", {"uint32 1", "'0'"});
    emit("NotificationClosed", {"uint32 1", "uint32 2"});
    ASSERT_TRUE(eventually([&] {
        tell("Press", {"1", "default"});
        return opened > 0;
    }));
    EXPECT_EQ(presses, 0);
    EXPECT_EQ(notices.items().size(), 1U);
}

} // namespace
} // namespace velmoran
