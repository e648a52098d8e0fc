// The away watch from the lock of the screen to the window that tells of it, in the real program on
// a desktop of its own.
#include "app/model/SettingsStore.h"
#include "app/qtbase/QtSettingsFile.h"
#include "core/away/AwayReport.h"
#include "core/base/Json.h"
#include "core/history/HistoryReader.h"
#include "integration/MockedServices.h"
#include "support/XServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace velmoran {
namespace {

using support::MockedServices;
using support::waitUntil;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class AwayStory : public ::testing::Test {
protected:
    AwayStory() {
        session_.need({"xdotool", "pw-cat"});
        services_.startLogind();
        services_.startUPower();
        session_.startPipeWire();
        session_.startWirePlumber();
        session_.startPulse();
        session_.addMicrophone("mic", "Mic");
        session_.startDisplay();
        session_.startTray();
        display_ = std::make_unique<support::XServer>(session_.environment()["DISPLAY"]);
        own_ = services_.addSession("c1", "x11", session_.environment()["DISPLAY"]);
        session_.environment()["XDG_SESSION_ID"] = "c1";
        QtSettingsFile file(
            QString::fromStdString((session_.home() / ".config/Velmoran/Velmoran.conf").string()));
        SettingsStore settings(file);
        settings.onboardingDone.set(true);
        settings.awayWatchOnLock.set(true);
    }

    void start() {
        // That of a killed one may still stand.
        ASSERT_TRUE(waitUntil([&] { return display_->dockedIcons().empty(); }));
        session_.start("velmoran", {VELMORAN, "--login-start"});
        ASSERT_TRUE(waitUntil([&] { return display_->dockedIcons().size() == 1; }))
            << session_.logs();
        // All of it runs.
        ASSERT_TRUE(waitUntil([&] {
            return session_.run({VELMORANCTL, "status"}).succeeded();
        })) << session_.logs();
    }
    void lock() {
        // The program asks for the session's lock anew when the bus has told it of that.
        ASSERT_TRUE(waitUntil([&] {
            services_.lock(own_);
            return ask("status", "--json").find("\"awayWatchOn\"") != std::string::npos;
        })) << session_.logs();
    }
    std::string ask(const std::string& command, const std::string& option = "") {
        std::vector<std::string> what = {VELMORANCTL, command};
        if (!option.empty()) {
            what.push_back(option);
        }
        const auto finished = session_.run(what);
        EXPECT_EQ(finished.status, 0) << command << ": " << finished.errors;
        return finished.output;
    }
    bool press(const std::string& key) { return session_.run({"xdotool", "key", key}).succeeded(); }

    /// Of the report that was begun last, as it stands in the file.
    std::vector<AwayEventKind> stored() {
        std::vector<AwayEventKind> kinds;
        HistoryReader(session_.home() / ".local/share/Velmoran/History.store")
            .eachAwayReport([&](const std::string& payload) {
                kinds.clear();
                for (const auto& event : decode<AwayReport>(payload).events) {
                    kinds.push_back(event.kind);
                }
                return true;
            });
        return kinds;
    }
    bool stands(AwayEventKind kind) {
        return waitUntil([&] {
            const auto all = stored();
            return std::ranges::find(all, kind) != all.end();
        });
    }
    /// With that title.
    bool isOpen(const std::string& title) {
        return std::ranges::any_of(display_->visibleWindows("velmoran"), [&](auto each) {
            return session_.run({"xdotool", "getwindowname", std::to_string(each)}).output ==
                   title + "\n";
        });
    }

    /// Of the whole screen, for a person to look at, in the folder that the environment names.
    void keepPicture() {
        if (const char* folder =
                std::getenv("VELMORAN_PICTURES")) { // NOLINT(concurrency-mt-unsafe)
            session_.run({"import", "-window", "root", std::string(folder) + "/away-story.png"});
        }
    }

    support::PrivateSession session_;
    MockedServices services_{session_};
    std::unique_ptr<support::XServer> display_;
    std::string own_;
};

TEST_F(AwayStory, IsToldInAWindowAfterUnlocking) {
    start();
    lock();
    ASSERT_TRUE(session_.run({"xdotool", "mousemove_relative", "--", "3", "-2"}).succeeded());
    ASSERT_TRUE(stands(AwayEventKind::mouseUsed)) << session_.logs();
    ASSERT_TRUE(press("a"));
    ASSERT_TRUE(stands(AwayEventKind::keyboardUsed)) << session_.logs();
    services_.setOnBattery(true);
    ASSERT_TRUE(stands(AwayEventKind::powerRemoved)) << session_.logs();
    session_.start("recorder", {"pw-cat", "--record", session_.file("sound.wav").string()});
    ASSERT_TRUE(stands(AwayEventKind::microphoneUsed)) << session_.logs();
    session_.stop("recorder");
    services_.setOnBattery(false);
    ASSERT_TRUE(stands(AwayEventKind::powerConnected)) << session_.logs();
    // As far as it is.
    EXPECT_THAT(ask("reports"), AllOf(HasSubstr(" to now.\n"), HasSubstr("Power cable removed")));

    services_.unlock(own_);
    ASSERT_TRUE(waitUntil([&] { return isOpen("Away watch"); })) << session_.logs();
    keepPicture();
    const auto told = ask("reports");
    EXPECT_THAT(told, AllOf(HasSubstr("Power cable removed"), Not(HasSubstr(" to now."))));
    EXPECT_THAT(told, HasSubstr("pw-cat"));
    // What the hand did last may have been its owner's, who was coming back.
    EXPECT_THAT(stored(), ElementsAre(AwayEventKind::powerRemoved, AwayEventKind::microphoneUsed,
                                      AwayEventKind::powerConnected));
    EXPECT_EQ(session_.child("velmoran")->stop(), 0) << session_.logs();
}

TEST_F(AwayStory, ThatAKillHasCutShortIsKeptAndNotListed) {
    start();
    lock();
    services_.setOnBattery(true);
    ASSERT_TRUE(stands(AwayEventKind::powerRemoved)) << session_.logs();
    session_.child("velmoran")->signal(SIGKILL);
    EXPECT_EQ(session_.child("velmoran")->wait(), -SIGKILL);
    EXPECT_THAT(stored(), ElementsAre(AwayEventKind::powerRemoved));
    EXPECT_THAT(ask("reports"), Not(HasSubstr("Power")));

    start();
    EXPECT_THAT(ask("reports"), Not(HasSubstr("Power")));
    EXPECT_THAT(stored(), ElementsAre(AwayEventKind::powerRemoved));
    EXPECT_EQ(session_.child("velmoran")->stop(), 0) << session_.logs();
}

TEST_F(AwayStory, IsNoneWhereNothingHappened) {
    start();
    lock();
    ASSERT_TRUE(press("a"));
    ASSERT_TRUE(stands(AwayEventKind::keyboardUsed)) << session_.logs();
    services_.unlock(own_);
    ASSERT_TRUE(waitUntil([&] {
        return ask("status", "--json").find("\"awayWatchOn\"") == std::string::npos;
    })) << session_.logs();
    EXPECT_THAT(stored(), IsEmpty());
    EXPECT_FALSE(isOpen("Away watch"));
    EXPECT_EQ(session_.child("velmoran")->stop(), 0) << session_.logs();
}

} // namespace
} // namespace velmoran
