// The lock of the screen as a played logind and played screen savers announce it, on buses of the
// test's own.
#include "integration/ScreenLockScene.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <future>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace velmoran {
namespace {

using support::MockedServices;
using support::waitUntil;
using Where = MockedServices::Where;
using Words = ScreenLockScene::Words;

constexpr const char* gnomeSaver = "org.gnome.ScreenSaver";
constexpr const char* gnomePath = "/org/gnome/ScreenSaver";
constexpr const char* desktopSaver = "org.freedesktop.ScreenSaver";

class ScreenLockTest : public ScreenLockScene {};

TEST_F(ScreenLockTest, IsHeardFromLogindsRequests) {
    services_.startLogind();
    const auto own = services_.addSession("7");
    observe();
    services_.lock(own);
    EXPECT_TRUE(awaitTold({"lock"}));
    services_.unlock(own);
    EXPECT_TRUE(awaitTold({"lock", "unlock"}));
}

TEST_F(ScreenLockTest, IsHeardFromTheLockersWordToLogind) {
    services_.startLogind();
    const auto own = services_.addSession("7");
    observe();
    services_.hint(own, true);
    EXPECT_TRUE(awaitTold({"lock"}));
    services_.hint(own, false);
    EXPECT_TRUE(awaitTold({"lock", "unlock"}));
}

TEST_F(ScreenLockTest, IsNeverCountedTwice) {
    services_.startLogind();
    const auto own = services_.addSession("7");
    services_.startSaver(gnomeSaver, gnomePath);
    observe();
    ASSERT_TRUE(waitUntil([&] {
        return session_.child(gnomeSaver)->output().find("GetActive") != std::string::npos;
    }));
    services_.lock(own);
    services_.setActive(gnomeSaver, gnomePath, true);
    services_.hint(own, true);
    ASSERT_TRUE(awaitTold({"lock"}));
    services_.hint(own, false);
    services_.setActive(gnomeSaver, gnomePath, false);
    ASSERT_TRUE(awaitTold({"lock", "unlock"}));
    services_.setActive(gnomeSaver, gnomePath, true);
    EXPECT_TRUE(awaitTold({"lock", "unlock", "lock"}));
}

TEST_F(ScreenLockTest, OfAnotherSeatIsNothing) {
    services_.startLogind();
    const auto others = services_.addSession("8", "x11", ":1", "seat1");
    const auto own = services_.addSession("7", "x11", ":0");
    observe("7");
    services_.lock(others);
    services_.hint(others, true);
    services_.unlock(others);
    services_.hint(others, false);
    services_.lock(own);
    EXPECT_TRUE(awaitTold({"lock"}));
    services_.unlock(others);
    services_.unlock(own);
    EXPECT_TRUE(awaitTold({"lock", "unlock"}));
    services_.lock(others);
    services_.lock(own);
    EXPECT_TRUE(awaitTold({"lock", "unlock", "lock"}));
}

// The environment of what the user's service manager starts names no session.
TEST_F(ScreenLockTest, IsHeardOfTheSessionThatLogindSeesUsIn) {
    services_.startLogind();
    const auto others = services_.addSession("8", "x11", ":1", "seat1");
    const auto own = services_.addSession("auto", "wayland");
    observe();
    services_.lock(others);
    services_.lock(own);
    services_.unlock(own);
    ASSERT_TRUE(waitUntil([&] { return !told().empty() && told().back() == "unlock"; }));
    EXPECT_EQ(told(), (Words{"lock", "unlock"}));
}

TEST_F(ScreenLockTest, IsHeardOfASessionThatBeginsLater) {
    services_.startLogind();
    lock_ = std::make_unique<LinuxScreenLock>(loop_, systemBus_, sessionBus_, OwnPlace{});
    observer_ = lock_->observe([this] { tell("lock"); }, [this] { tell("unlock"); });
    ASSERT_TRUE(awaitAsked("ListSessions", 1)) << session_.logs();
    const auto own = services_.addSession("9", "wayland");
    ASSERT_TRUE(awaitAsked("Session.LockedHint", 1)) << session_.logs();
    services_.lock(own);
    EXPECT_TRUE(awaitTold({"lock"}));
}

TEST_F(ScreenLockTest, OfAScreenThatIsLockedAlreadyIsNone) {
    services_.startLogind();
    const auto own = services_.addSession("7");
    services_.hint(own, true);
    observe();
    services_.lock(own);
    services_.unlock(own);
    services_.hint(own, false);
    services_.hint(own, true);
    EXPECT_TRUE(awaitTold({"lock"}));
    services_.hint(own, false);
    EXPECT_TRUE(awaitTold({"lock", "unlock"}));
}

TEST_F(ScreenLockTest, IsHeardFromAnyScreenSaver) {
    const std::vector<std::pair<const char*, const char*>> savers = {
        {gnomeSaver, gnomePath},
        {desktopSaver, "/ScreenSaver"},
        {"org.cinnamon.ScreenSaver", "/org/cinnamon/ScreenSaver"},
        {"org.mate.ScreenSaver", "/ScreenSaver"},
        {"org.xfce.ScreenSaver", "/"}};
    for (const auto& [name, path] : savers) {
        services_.startSaver(name, path);
    }
    observe();
    for (const auto& [name, path] : savers) {
        ASSERT_TRUE(waitUntil([&, saver = name] {
            return session_.child(saver)->output().find("GetActive") != std::string::npos;
        })) << name;
        told_.clear();
        services_.setActive(name, path, true);
        EXPECT_TRUE(awaitTold({"lock"})) << name;
        services_.setActive(name, path, false);
        EXPECT_TRUE(awaitTold({"lock", "unlock"})) << name;
    }
}

// Whoever obeys logind's word may have none for it when somebody comes back.
TEST_F(ScreenLockTest, ThatWasAskedForEndsWithTheDesktopsSaver) {
    services_.startLogind();
    const auto own = services_.addSession("7");
    constexpr const char* xfce = "org.xfce.ScreenSaver";
    services_.startSaver(xfce, "/org/xfce/ScreenSaver");
    observe();
    ASSERT_TRUE(waitUntil(
        [&] { return session_.child(xfce)->output().find("GetActive") != std::string::npos; }));
    services_.lock(own);
    services_.setActive(xfce, "/org/xfce/ScreenSaver", true);
    ASSERT_TRUE(awaitTold({"lock"}));
    services_.setActive(xfce, "/org/xfce/ScreenSaver", false);
    EXPECT_TRUE(awaitTold({"lock", "unlock"}));
}

TEST_F(ScreenLockTest, EndsWithTheSaverThatSaidSo) {
    services_.startSaver(gnomeSaver, gnomePath);
    observe();
    ASSERT_TRUE(waitUntil([&] {
        return session_.child(gnomeSaver)->output().find("GetActive") != std::string::npos;
    }));
    services_.setActive(gnomeSaver, gnomePath, true);
    ASSERT_TRUE(awaitTold({"lock"}));
    services_.stop(gnomeSaver);
    EXPECT_TRUE(awaitTold({"lock", "unlock"}));
}

TEST_F(ScreenLockTest, IsAnnouncedWhileASaverAnswersThatItTells) {
    observe();
    ASSERT_TRUE(waitUntil([&] { return !lock_->isAnnounced(); }));
    EXPECT_EQ(announcerChanges_, 1);
    services_.startSaver(gnomeSaver, gnomePath);
    ASSERT_TRUE(waitUntil([&] { return lock_->isAnnounced(); }));
    EXPECT_EQ(announcerChanges_, 2);
    services_.stop(gnomeSaver);
    ASSERT_TRUE(waitUntil([&] { return !lock_->isAnnounced(); }));
}

// As i3lock and swaylock leave it, with logind there.
TEST_F(ScreenLockTest, IsNotAnnouncedUntilALockIsHeard) {
    services_.startLogind();
    const auto own = services_.addSession("7");
    observe();
    ASSERT_TRUE(waitUntil([&] { return !lock_->isAnnounced(); }));
    services_.lock(own);
    ASSERT_TRUE(waitUntil([&] { return lock_->isAnnounced(); }));
    services_.unlock(own);
    ASSERT_TRUE(awaitTold({"lock", "unlock"}));
    EXPECT_TRUE(lock_->isAnnounced());
}

TEST_F(ScreenLockTest, IsNotAnnouncedByWhoeverOnlyKeepsTheScreenAwake) {
    session_.start(desktopSaver, {"/usr/bin/python3", "-m", "dbusmock", "--session", desktopSaver,
                                  "/org/freedesktop/ScreenSaver", desktopSaver});
    ASSERT_TRUE(waitUntil([&] {
        return sd_bus_get_name_creds(services_.bus(Where::session), desktopSaver, 0, nullptr) >= 0;
    })) << session_.logs();
    observe();
    EXPECT_TRUE(waitUntil([&] { return !lock_->isAnnounced(); }));
}

TEST_F(ScreenLockTest, IsNotAnnouncedWithoutBuses) {
    session_.stop("bus");
    session_.stop("system bus");
    observe();
    EXPECT_TRUE(waitUntil([&] { return !lock_->isAnnounced(); }));
    EXPECT_EQ(told(), Words());
}

TEST_F(ScreenLockTest, IsHeardAgainWhenLogindIsBack) {
    services_.startLogind();
    auto own = services_.addSession("7");
    observe();
    services_.lock(own);
    ASSERT_TRUE(awaitTold({"lock"}));
    {
        // The real one knows its sessions when it is back.
        std::promise<void> knowsSessions;
        loop_.post([ready = knowsSessions.get_future().share()] { ready.wait(); });
        services_.stop(MockedServices::logind);
        services_.startLogind();
        own = services_.addSession("7");
        knowsSessions.set_value();
    }
    ASSERT_TRUE(awaitAsked("Session.LockedHint", 1)) << session_.logs();
    EXPECT_EQ(told(), Words{"lock"}) << "nobody has unlocked it";
    services_.unlock(own);
    EXPECT_TRUE(awaitTold({"lock", "unlock"}));
}

TEST_F(ScreenLockTest, IsHeardAgainWhenTheBusIsBack) {
    services_.startLogind();
    auto own = services_.addSession("7");
    observe();
    services_.stop(MockedServices::logind);
    session_.stop("system bus");
    session_.startSystemBus();
    services_.reconnect();
    services_.startLogind();
    own = services_.addSession("7");
    ASSERT_TRUE(awaitAsked("Session.LockedHint", 1)) << session_.logs();
    services_.lock(own);
    EXPECT_TRUE(awaitTold({"lock"}));
}

TEST_F(ScreenLockTest, ThatCameWhileLogindWasAwayIsHeardThen) {
    services_.startLogind();
    auto own = services_.addSession("7");
    observe();
    services_.stop(MockedServices::logind);
    services_.startLogind();
    own = services_.addSession("other", "tty");
    services_.hint(own, true);
    own = services_.addSession("7");
    services_.hint(own, true);
    EXPECT_TRUE(awaitTold({"lock"})) << session_.logs();
}

TEST_F(ScreenLockTest, WordsOfAnotherTypeAreNone) {
    services_.startLogind();
    const auto own = services_.addSession("7");
    services_.startSaver(gnomeSaver, gnomePath);
    observe();
    constexpr const char* session = "org.freedesktop.login1.Session";
    services_.setProperty(MockedServices::logind, own, session, "LockedHint", std::string("yes"));
    services_.setProperty(MockedServices::logind, own, session, "LockedHint", 1);
    services_.setProperty(MockedServices::logind, own, session, "IdleHint", true);
    services_.emit(Where::system, MockedServices::logind, own, "org.freedesktop.DBus.Properties",
                   "PropertiesChanged", std::string("LockedHint"));
    services_.emit(Where::session, gnomeSaver, gnomePath, gnomeSaver, "ActiveChanged",
                   std::string("true"));
    services_.emit(Where::session, gnomeSaver, gnomePath, gnomeSaver, "ActiveChanged", 1);
    services_.setActive(gnomeSaver, gnomePath, true);
    ASSERT_TRUE(awaitTold({"lock"}));
    services_.setActive(gnomeSaver, gnomePath, false);
    ASSERT_TRUE(awaitTold({"lock", "unlock"}));
    services_.hint(own, true);
    EXPECT_TRUE(awaitTold({"lock", "unlock", "lock"}));
}

TEST_F(ScreenLockTest, OfAThousandWordsIsToldOneAtATime) {
    services_.startLogind();
    const auto own = services_.addSession("7");
    observe();
    services_.repeat(own, "self.EmitSignal('', 'Lock', '', [])", 1000);
    services_.unlock(own);
    ASSERT_TRUE(awaitTold({"lock", "unlock"}));
    services_.repeat(own,
                     "self.EmitSignal('', 'Lock', '', [])\n"
                     "    self.EmitSignal('', 'Unlock', '', [])",
                     500);
    awaitEndOfWords();
    ASSERT_TRUE(waitUntil([&] { return told().size() % 2 == 0; }));
    const auto words = told();
    for (std::size_t i = 0; i < words.size(); ++i) {
        EXPECT_EQ(words[i], i % 2 == 0 ? "lock" : "unlock");
    }
    EXPECT_LT(words.size(), 500U);
    const auto anew = services_.addSession("7");
    ASSERT_TRUE(awaitAsked("Session.LockedHint", 1)) << session_.logs();
    services_.lock(anew);
    EXPECT_TRUE(waitUntil([&] { return told().size() == words.size() + 1; }));
}

/// Any program may send any other a signal; only its sender's name is the bus's own word.
TEST_F(ScreenLockTest, OfSomebodyElsesWordIsNone) {
    services_.startLogind();
    const auto own = services_.addSession("7");
    observe();
    ASSERT_TRUE(waitUntil([&] { return !lock_->isAnnounced(); }));
    sd_bus* bus = services_.bus(Where::system);
    char** names = nullptr;
    ASSERT_GE(sd_bus_list_names(bus, &names, nullptr), 0);
    int sent = 0;
    for (char** name = names; *name != nullptr; ++name) {
        if (**name == ':') {
            sd_bus_message* made = nullptr;
            sd_bus_message_new_signal(bus, &made, own.c_str(), "org.freedesktop.login1.Session",
                                      "Lock");
            const BusMessage forged(made);
            ASSERT_GE(sd_bus_message_set_destination(made, *name), 0);
            ASSERT_GE(sd_bus_send(bus, made, nullptr), 0);
            ++sent;
        }
        std::free(*name);
    }
    std::free(names);
    EXPECT_GE(sent, 3) << "the mock, the test, and the program's own connection";
    awaitEndOfWords();
    EXPECT_FALSE(lock_->isAnnounced());
    EXPECT_EQ(told(), Words());
}

} // namespace
} // namespace velmoran
