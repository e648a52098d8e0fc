// Screen lockers as they are, and the lines of docs/linux.md that let them announce what they do.
#include "integration/ScreenLockScene.h"
#include "support/ChildProcess.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <unistd.h>

namespace velmoran {
namespace {

using support::MockedServices;
using support::waitUntil;

/// A session of logind in which everything runs.
class LockersTest : public ScreenLockScene {
protected:
    void startSession(const std::string& type) {
        services_.startLogind();
        own_ = services_.addSession("auto", type);
        services_.addMethod("GetSessionByPID", "u", "o", "ret = '" + own_ + "'");
        observe("auto");
        ASSERT_TRUE(waitUntil([&] { return !lock_->isAnnounced(); }));
    }

    /// In the place of systemd's own, which does nothing where systemd isn't what the machine runs
    /// on.
    void playLoginctl() {
        const auto folder = session_.file("bin");
        std::filesystem::create_directory(folder);
        support::writeFile(folder / "loginctl",
                           "#!/bin/sh\n"
                           "case $1 in lock-session) word=Lock ;; unlock-session) word=Unlock ;; "
                           "*) exit 1 ;; esac\n"
                           "exec gdbus call --system -d org.freedesktop.login1 -o " +
                               own_ + " -m org.freedesktop.login1.Session.$word\n");
        std::filesystem::permissions(folder / "loginctl", std::filesystem::perms::owner_all);
        auto& path = session_.environment()["PATH"];
        path = folder.string() + ":" + path;
    }
    /// The first process of that name that one of the session's programs has started; 0 if there is
    /// none. Lockers have another one for the password.
    pid_t processOf(const std::string& name) {
        pid_t first = 0;
        for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
            const pid_t pid = std::atoi(entry.path().filename().c_str());
            if (pid <= 0 || support::readFile(entry.path() / "comm") != name + "\n") {
                continue;
            }
            for (const auto& child : session_.names()) {
                const bool isIts = ::getpgid(pid) == session_.child(child)->pid();
                first = isIts && (first == 0 || pid < first) ? pid : first;
            }
        }
        return first;
    }
    bool awaitProcess(const std::string& name) {
        return waitUntil([&] { return processOf(name) > 0; });
    }
    /// As one ends to whom the password was typed.
    void end(const std::string& name) {
        const pid_t pid = processOf(name);
        ASSERT_GT(pid, 0) << session_.logs();
        ::kill(pid, SIGTERM);
    }
    /// Whether somebody holds the keyboard.
    bool isKeyboardHeld() {
        return session_.run({"xdotool", "search", "--onlyvisible", "--class", "i3lock"})
            .succeeded();
    }

    std::string own_;
};

TEST_F(LockersTest, NothingAnnouncesI3lockAlone) {
    session_.need({"i3lock", "xdotool"});
    session_.startDisplay();
    startSession("x11");
    session_.start("i3lock", {"i3lock", "-n"});
    ASSERT_TRUE(waitUntil([&] { return isKeyboardHeld(); })) << session_.logs();
    awaitEndOfWords();
    EXPECT_FALSE(lock_->isAnnounced());
    EXPECT_EQ(told(), Words());
}

TEST_F(LockersTest, XssLockAnnouncesI3lock) {
    session_.need({"i3lock", "xss-lock", "xset"});
    session_.startDisplay();
    startSession("x11");
    const auto startXssLock = [&] {
        session_.stop("xss-lock");
        session_.start("xss-lock", {"xss-lock", "--", "i3lock", "-n"});
    };
    startXssLock();
    // It may not be ready for the first word, and doesn't survive one before it knows its session.
    ASSERT_TRUE(waitUntil([&] {
        if (!session_.child("xss-lock")->running()) {
            if (processOf("i3lock") > 0) {
                end("i3lock");
            }
            startXssLock();
        }
        (void)session_.run({"xset", "s", "activate"});
        return told() == Words{"lock"};
    })) << session_.logs();
    EXPECT_TRUE(lock_->isAnnounced());
    end("i3lock");
    EXPECT_TRUE(awaitTold({"lock", "unlock"})) << session_.logs();
}

TEST_F(LockersTest, TwoWordsToLogindAnnounceI3lock) {
    session_.need({"i3lock", "gdbus"});
    session_.startDisplay();
    startSession("x11");
    playLoginctl();
    session_.start("line",
                   {"sh", "-c", "loginctl lock-session; i3lock -n; loginctl unlock-session"});
    ASSERT_TRUE(awaitProcess("i3lock")) << session_.logs();
    EXPECT_TRUE(awaitTold({"lock"})) << session_.logs();
    end("i3lock");
    EXPECT_TRUE(awaitTold({"lock", "unlock"})) << session_.logs();
}

/// sway runs for nobody who is root, so root is somebody else there.
class WaylandLockersTest : public LockersTest {
protected:
    void SetUp() override {
        session_.need({"sway", "swaylock"});
        support::writeFile(session_.file("sway.conf"),
                           "output HEADLESS-1 resolution 640x480\nxwayland disable\n");
        auto& environment = session_.environment();
        environment["WLR_BACKENDS"] = "headless";
        environment["WLR_RENDERER"] = "pixman";
        environment["WLR_LIBINPUT_NO_DEVICES"] = "1";
        std::vector<std::string> command = {"sway", "-c", session_.file("sway.conf")};
        if (::geteuid() == 0) {
            command.insert(command.begin(),
                           {"unshare", "-U", "--map-user=1000", "--map-group=1000"});
        }
        session_.start("sway", command);
        std::string display;
        ASSERT_TRUE(waitUntil([&] {
            for (const auto& entry :
                 std::filesystem::directory_iterator(session_.runtimeFolder())) {
                const auto name = entry.path().filename().string();
                if (name.starts_with("wayland-") && !name.ends_with(".lock")) {
                    display = name;
                }
            }
            return !display.empty() || !session_.child("sway")->running();
        }));
        ASSERT_FALSE(display.empty()) << session_.logs();
        environment["WAYLAND_DISPLAY"] = display;
    }
};

TEST_F(WaylandLockersTest, NothingAnnouncesSwaylockAlone) {
    startSession("wayland");
    session_.start("swaylock", {"swaylock", "-d"});
    ASSERT_TRUE(waitUntil([&] {
        return session_.child("swaylock")->errors().find("Prepared to authorize") !=
                   std::string::npos ||
               !session_.child("swaylock")->running();
    })) << session_.logs();
    awaitEndOfWords();
    EXPECT_TRUE(session_.child("swaylock")->running()) << session_.logs();
    EXPECT_FALSE(lock_->isAnnounced());
    EXPECT_EQ(told(), Words());
}

TEST_F(WaylandLockersTest, TwoWordsToLogindAnnounceSwaylock) {
    session_.need({"gdbus"});
    startSession("wayland");
    playLoginctl();
    session_.start("line",
                   {"sh", "-c", "loginctl lock-session; swaylock; loginctl unlock-session"});
    ASSERT_TRUE(awaitProcess("swaylock")) << session_.logs();
    EXPECT_TRUE(awaitTold({"lock"})) << session_.logs();
    end("swaylock");
    EXPECT_TRUE(awaitTold({"lock", "unlock"})) << session_.logs();
}

TEST_F(WaylandLockersTest, SwayidleWithAWordToLogindAnnouncesSwaylock) {
    session_.need({"gdbus", "swayidle"});
    startSession("wayland");
    playLoginctl();
    session_.start("swayidle", {"swayidle", "-d", "lock", "swaylock; loginctl unlock-session"});
    ASSERT_TRUE(waitUntil([&] { // it may not listen yet to the first word
        services_.lock(own_);
        return processOf("swaylock") > 0;
    })) << session_.logs();
    EXPECT_TRUE(awaitTold({"lock"})) << session_.logs();
    end("swaylock");
    EXPECT_TRUE(awaitTold({"lock", "unlock"})) << session_.logs();
}

} // namespace
} // namespace velmoran
