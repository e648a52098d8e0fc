// "Restart now", pressed in the real program on a desktop of its own.
#include "app/model/SettingsStore.h"
#include "app/qtbase/QtSettingsFile.h"
#include "core/base/Json.h"
#include "core/trust/TrustList.h"
#include "support/PrivateSession.h"
#include "support/XServer.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace velmoran {
namespace {

using support::waitUntil;

class RestartNow : public ::testing::Test {
protected:
    RestartNow() {
        session_.startSound();
        session_.addMicrophone("mic", "Mic");
        session_.startDisplay();
        session_.startTray();
        session_.need({"xdotool", "gdbus", "pactl"});
        display_ = std::make_unique<support::XServer>(session_.environment()["DISPLAY"]);
        trustSomebody();
    }

    void trustSomebody() {
        QtSettingsFile file(
            QString::fromStdString((session_.home() / ".config/Velmoran/Velmoran.conf").string()));
        SettingsStore settings(file);
        TrustList trust;
        AppIdentity app;
        app.id = "/opt/zoom";
        app.name = "Zoom";
        app.path = "/opt/zoom";
        trust.setTrusted(true, app, {Device::camera});
        settings.trustRulesData.set(encode(trust));
        settings.onboardingDone.set(true);
    }

    void start(const std::string& program = VELMORAN) {
        session_.start("velmoran", {program, "--login-start"});
        ASSERT_TRUE(waitUntil([&] {
            return display_->dockedIcons().size() == 1 && !busOwner().empty();
        })) << session_.logs();
    }

    bool isMuted() {
        return session_.run({"pactl", "get-source-mute", "mic"}).output == "Mute: yes\n";
    }

    std::string busAnswer(const std::string& method, const std::string& argument) {
        return session_
            .run({"gdbus", "call", "--session", "-d", "org.freedesktop.DBus", "-o",
                  "/org/freedesktop/DBus", "-m", "org.freedesktop.DBus." + method, argument})
            .output;
    }
    /// Of Velmoran's name; empty if nobody has it.
    std::string busOwner() { return busAnswer("GetNameOwner", "org.velmoran.Velmoran"); }

    std::string ask(std::vector<std::string> what) {
        what.insert(what.begin(), VELMORANCTL);
        const auto finished = session_.run(what);
        EXPECT_EQ(finished.status, 0) << what[1] << ": " << finished.errors;
        return finished.output;
    }

    /// With that title; 0 if there is none.
    std::uint32_t window(const std::string& title) {
        for (const auto each : display_->visibleWindows("velmoran")) {
            if (session_.run({"xdotool", "getwindowname", std::to_string(each)}).output ==
                title + "\n") {
                return each;
            }
        }
        return 0;
    }

    void press(const std::vector<std::string>& keys) {
        for (const auto& key : keys) {
            const auto finished = session_.run({"xdotool", "key", key});
            ASSERT_TRUE(finished.succeeded()) << finished.errors;
        }
    }

    support::PrivateSession session_;
    std::unique_ptr<support::XServer> display_;
};

TEST_F(RestartNow, SpeaksTheNewLanguageAndKeepsAMuteAndTrust) {
    start();
    ask({"stop"});
    ASSERT_TRUE(waitUntil([&] { return isMuted(); })) << session_.logs();
    const auto owner = busOwner();

    ask({"status"}); // it answers, so its window comes when it is asked for
    ASSERT_EQ(session_.run({VELMORAN, "--show", "settings"}).status, 0);
    ASSERT_TRUE(waitUntil([&] { return window("Settings") != 0; })) << session_.logs();
    ASSERT_TRUE(
        session_.run({"xdotool", "windowactivate", "--sync", std::to_string(window("Settings"))})
            .succeeded());
    const auto before = display_->visibleWindows("velmoran").size();
    // From "Open at login" to "Language", whose list opens.
    press({"Tab", "Down"});
    ASSERT_TRUE(waitUntil([&] { return display_->visibleWindows("velmoran").size() > before; }));
    press({"Down", "Return"});
    ASSERT_TRUE(waitUntil([&] {
        return ask({"settings", "get", "language"}) == "de\n";
    })) << session_.logs();
    EXPECT_EQ(busOwner(), owner) << "nothing starts by itself";
    press({"Tab", "space"});

    ASSERT_TRUE(waitUntil([&] {
        const auto now = busOwner();
        return !now.empty() && now != owner;
    })) << session_.logs();
    auto& program = *session_.child("velmoran");
    EXPECT_TRUE(program.running()) << "the next one has taken its place";
    EXPECT_EQ(busAnswer("GetConnectionUnixProcessID", "org.velmoran.Velmoran"),
              "(uint32 " + std::to_string(program.pid()) + ",)\n");
    EXPECT_TRUE(waitUntil([&] {
        return display_->dockedIcons().size() == 1 && window("Settings") == 0;
    })) << session_.logs();

    // It has the place of the one program that runs, and says so in its language.
    EXPECT_EQ(session_.run({VELMORAN, "--show", "settings"}).status, 0);
    EXPECT_TRUE(waitUntil([&] { return window("Einstellungen") != 0; })) << session_.logs();
    EXPECT_EQ(display_->dockedIcons().size(), 1U);

    EXPECT_NE(ask({"trust", "list"}).find("Zoom"), std::string::npos);
    EXPECT_TRUE(isMuted());
    // Not merely left as it was: what unmutes it meets the mute that stands.
    ASSERT_TRUE(session_.run({"pactl", "set-source-mute", "mic", "0"}).succeeded());
    EXPECT_TRUE(waitUntil([&] { return isMuted(); })) << session_.logs();
    ask({"unmute"});
    EXPECT_TRUE(waitUntil([&] { return !isMuted(); })) << session_.logs();
    EXPECT_EQ(program.stop(), 0) << session_.logs();
}

/// What a package does: the new file takes the old one's name, and the old one is open without one.
TEST_F(RestartNow, IsDoneByASecondStartAfterAnUpgrade) {
    namespace fs = std::filesystem;
    const auto installed = session_.folder() / "velmoran";
    const auto unpacked = session_.folder() / "velmoran.dpkg-new";
    fs::copy_file(VELMORAN, installed);
    start(installed.string());
    auto& program = *session_.child("velmoran");
    const auto owner = busOwner();
    const auto runs = [&program] {
        return fs::read_symlink("/proc/" + std::to_string(program.pid()) + "/exe").string();
    };
    ask({"--velmoran", installed.string(), "stop"});
    ASSERT_TRUE(waitUntil([&] { return isMuted(); })) << session_.logs();

    fs::copy_file(VELMORAN, unpacked);
    fs::rename(unpacked, installed);
    EXPECT_EQ(runs(), installed.string() + " (deleted)");
    EXPECT_EQ(session_.run({installed.string(), "--login-start"}).status, 0);
    EXPECT_EQ(busOwner(), owner) << "a login asks for nothing";

    EXPECT_EQ(session_.run({installed.string(), "--show", "history"}).status, 0);
    EXPECT_TRUE(waitUntil([&] { return window("History") != 0; })) << session_.logs();
    EXPECT_TRUE(program.running()) << "the new one has its place";
    EXPECT_EQ(runs(), installed.string());
    EXPECT_TRUE(waitUntil([&] {
        const auto now = busOwner();
        return !now.empty() && now != owner && display_->dockedIcons().size() == 1;
    })) << session_.logs();
    EXPECT_TRUE(isMuted());

    // From here on nothing is new.
    const auto next = busOwner();
    EXPECT_EQ(session_.run({installed.string(), "--show", "settings"}).status, 0);
    EXPECT_TRUE(waitUntil([&] { return window("Settings") != 0; })) << session_.logs();
    EXPECT_NE(window("History"), 0U);
    EXPECT_EQ(busOwner(), next);
    EXPECT_EQ(program.stop(), 0) << session_.logs();
}

} // namespace
} // namespace velmoran
