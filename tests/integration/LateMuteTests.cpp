// A stop whose mute a real sound server doesn't answer to while the mute before it is kept up: what
// its card says once the server does as it was told.
#include "integration/RunningModel.h"
#include "support/AroundLoop.h"

#include <algorithm>
#include <csignal>

namespace velmoran {
namespace {

/// The real loop, with the keeper's beat in the test's hand.
class BeatByHand final : public support::AroundLoop {
public:
    using AroundLoop::AroundLoop;
    Subscription every(Seconds interval, std::function<void()> action) override {
        if (interval != MuteKeeper::interval) {
            return AroundLoop::every(interval, std::move(action));
        }
        beat = std::move(action);
        return Subscription([this] { beat = nullptr; });
    }

    std::function<void()> beat; ///< while a keeper runs
};

class LateMute : public RunningModel {
protected:
    static constexpr const char* failed = "No app was using the camera or microphone.";
    static constexpr const char* muted =
        "Microphone muted. No app was using the camera or microphone.";

    ~LateMute() override {
        if (model_) {
            quit(); // before the scheduler below goes
        }
    }

    /// A mute stands, and the sound server has gone silent since.
    void startMuted() {
        session_.addMicrophone("mic", "Mic");
        start(scheduler_);
        awaitMicrophones();
        stop();
        ASSERT_NE(card(muted), nullptr) << report();
        ASSERT_TRUE(scheduler_.beat);
        model_->notices.dismiss(card(muted)->id);
        session_.child("pulse")->signal(SIGSTOP);
    }
    void stop() {
        model_->stopEverything();
        ASSERT_TRUE(becomes([&] { return !*model_->isStopping; })) << report();
    }
    auto cards(const std::string& title) const {
        const auto& items = model_->notices.items();
        return std::count_if(items.begin(), items.end(),
                             [&](const NoticeItem& item) { return item.title == title; });
    }
    bool isMuted() {
        return session_.run({"pactl", "get-source-mute", "mic"}).output == "Mute: yes\n";
    }

    BeatByHand scheduler_{loop_};
};

TEST_F(LateMute, SetsEveryCardRightWhenTheServerGoesOn) {
    startMuted();
    model_->stopEverything();
    scheduler_.beat(); // before the answer to the stop's mute
    ASSERT_TRUE(becomes([&] { return !*model_->isStopping; })) << report();
    ASSERT_EQ(cards(failed), 1) << report();
    stop();
    ASSERT_EQ(cards(failed), 2) << report();
    scheduler_.beat(); // and after it
    session_.child("pulse")->signal(SIGCONT);
    EXPECT_TRUE(becomes([&] { return cards(muted) == 2; })) << report();
    EXPECT_EQ(cards(failed), 0) << report();
    EXPECT_TRUE(becomes([&] { return isMuted(); }));
}

TEST_F(LateMute, SetsTheCardRightWhenAServerThatDiedIsBack) {
    startMuted();
    stop();
    ASSERT_EQ(cards(failed), 1) << report();
    scheduler_.beat();
    session_.child("pulse")->signal(SIGKILL);
    session_.stop("pulse");
    session_.startPulse();
    EXPECT_TRUE(becomes([&] { return cards(muted) == 1; })) << report();
    EXPECT_EQ(cards(failed), 0) << report();
    EXPECT_TRUE(becomes([&] { return isMuted(); }));
}

} // namespace
} // namespace velmoran
