// The program's view of the screen's lock in a session of a test's own, where the test plays logind
// and screen savers. The test's thread; what is told comes on the loop's.
#pragma once

#include "integration/MockedServices.h"
#include "system/linux/away/LinuxScreenLock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace velmoran {

class ScreenLockScene : public ::testing::Test {
public:
    using Words = std::vector<std::string>;

protected:
    void TearDown() override {
        changes_.reset();
        observer_.reset();
        lock_.reset();
    }

    /// Returns when logind has been asked for the lock of the own session, if there is logind.
    void observe(const std::string& sessionId = "") {
        lock_ = std::make_unique<LinuxScreenLock>(
            loop_, systemBus_, sessionBus_,
            OwnPlace{.sessionId = sessionId, .display = "", .loggedInto = ""});
        observer_ = lock_->observe([this] { tell("lock"); }, [this] { tell("unlock"); });
        changes_ = lock_->onAnnouncerChange([this] { ++announcerChanges_; });
        if (session_.child(support::MockedServices::logind) != nullptr) {
            ASSERT_TRUE(awaitAsked("Session.LockedHint", 1)) << session_.logs();
        }
    }
    /// What was asked before is in place by then: the bus keeps the order.
    bool awaitAsked(std::string_view what, int times) {
        return support::waitUntil([&] { return asked(what) >= times; });
    }
    int asked(std::string_view what) {
        const auto text = session_.child(support::MockedServices::logind)->output();
        int count = 0;
        for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) {
            ++count;
        }
        return count;
    }
    /// Another logind is heard of after all that the one before it, and others, have said.
    void awaitEndOfWords() {
        services_.stop(support::MockedServices::logind);
        services_.startLogind();
        ASSERT_TRUE(awaitAsked("ListSessions", 1)) << session_.logs();
    }
    void tell(const std::string& word) {
        const std::lock_guard guard(mutex_);
        told_.push_back(word);
    }
    Words told() {
        const std::lock_guard guard(mutex_);
        return told_;
    }
    bool awaitTold(const Words& words) {
        return support::waitUntil([&] { return told() == words; });
    }

    support::PrivateSession session_;
    support::MockedServices services_{session_};
    EventLoop loop_;
    BusKeeper systemBus_{loop_, session_.environment().at("DBUS_SYSTEM_BUS_ADDRESS")};
    BusKeeper sessionBus_{loop_, session_.environment().at("DBUS_SESSION_BUS_ADDRESS")};
    std::mutex mutex_;
    Words told_;
    std::atomic<int> announcerChanges_ = 0;
    std::unique_ptr<LinuxScreenLock> lock_;
    Subscription observer_;
    Subscription changes_;
};

} // namespace velmoran
