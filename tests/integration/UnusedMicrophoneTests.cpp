// A microphone that nobody has recorded from yet, since it was plugged in: some servers don't know
// whether such a one is muted. What is told of it is what its first recorder hears.
#include "integration/RunningModel.h"
#include "support/Recorder.h"

#include <functional>
#include <string>
#include <vector>

namespace velmoran {
namespace {

using support::Recorder;

class UnusedMicrophone : public RunningModel {
protected:
    UnusedMicrophone() { plugIn(); }

    void plugIn() { session_.addMicrophone("mic", "Mic"); }
    void unplug() {
        session_.stop("mic");
        ASSERT_TRUE(becomes([&] { return serversWord().empty(); }));
    }
    void startWithMicrophone() {
        start();
        awaitMicrophones();
        ASSERT_FALSE(HasFatalFailure());
    }
    void mute() {
        model_->stopEverything();
        ASSERT_TRUE(becomes([&] { return !*model_->isStopping; })) << report();
        ASSERT_TRUE(settings_.boolean("microphoneMuted").value_or(false)) << report();
    }
    void unmute(int count = 1) {
        int unmuted = -1;
        const auto answers = model_->onMicrophonesMuted.subscribe(
            [&](bool, const MuteOutcome& outcome) { unmuted = outcome.mutedCount; });
        model_->unmuteMicrophone();
        ASSERT_TRUE(becomes([&] { return unmuted >= 0; })) << report();
        EXPECT_EQ(unmuted, count);
    }
    /// Empty when there is none.
    std::string serversWord() { return session_.run({"pactl", "get-source-mute", "mic"}).output; }
    bool isSaidToBe(bool muted) {
        return becomes([&] { return serversWord() == (muted ? "Mute: yes\n" : "Mute: no\n"); });
    }
    void run(const std::vector<std::string>& arguments) {
        const auto finished = session_.run(arguments);
        EXPECT_TRUE(finished.succeeded()) << finished.errors;
    }
    /// A program that is told of every change from now on.
    void startMixer() {
        const auto sources = session_.run({"pactl", "list", "short", "sources"}).output;
        const auto end = sources.find("\tmic\t");
        ASSERT_NE(end, std::string::npos) << sources;
        const auto begin = sources.rfind('\n', end) + 1;
        change_ = "Event 'change' on source #" + sources.substr(begin, end - begin) + "\n";
        session_.start("mixer", {"pactl", "subscribe"});
        ASSERT_TRUE(becomes([&] {
            run({"pactl", "set-source-volume", "mic", "50%"});
            run({"pactl", "set-source-volume", "mic", "60%"});
            return isMixerNotified(change_);
        }));
    }
    /// Whether the mixer is told of a change of the microphone while that is done. Its begin and
    /// end are a source that comes and goes.
    bool isChangedBy(const std::function<void()>& action) {
        const auto loaded = session_.run({"pactl", "load-module", "module-null-sink",
                                          "media.class=Audio/Source/Virtual", "sink_name=mark"});
        EXPECT_TRUE(becomes([&] { return isMixerNotified(begin_); }));
        action();
        run({"pactl", "unload-module", loaded.output.substr(0, loaded.output.find('\n'))});
        EXPECT_TRUE(becomes([&] { return isMixerNotified(end_); }));
        const auto events = session_.child("mixer")->output();
        return events.find(change_, events.find(begin_)) < events.find(end_);
    }
    bool isMixerNotified(const std::string& event) {
        return session_.child("mixer")->output().find(event) != std::string::npos;
    }

    const std::string begin_ = "Event 'new' on source ";
    const std::string end_ = "Event 'remove' on source ";
    std::string change_;
};

TEST_F(UnusedMicrophone, IsHeardAfterItsUnmute) {
    startWithMicrophone();
    mute();
    EXPECT_TRUE(isSaidToBe(true));
    unmute();
    EXPECT_TRUE(isSaidToBe(false));
    const Recorder recorder(session_, "mic");
    EXPECT_TRUE(recorder.hearsSound()) << session_.logs();
}

TEST_F(UnusedMicrophone, IsSilentFromTheFirstSampleOn) {
    startWithMicrophone();
    mute();
    const Recorder recorder(session_, "mic");
    EXPECT_TRUE(recorder.hearsSilence()) << session_.logs();
    EXPECT_TRUE(recorder.hasHeardNothing());
}

TEST_F(UnusedMicrophone, IsHeardWhenItHasComeBackMutedAndIsUnmutedThen) {
    startWithMicrophone();
    mute();
    EXPECT_TRUE(isSaidToBe(true));
    unplug();
    plugIn();
    EXPECT_TRUE(isSaidToBe(true)) << "the mute still stands";
    unmute();
    const Recorder recorder(session_, "mic");
    EXPECT_TRUE(recorder.hearsSound()) << session_.logs();
    EXPECT_TRUE(isSaidToBe(false));
}

TEST_F(UnusedMicrophone, IsHeardWhenItWasAwayDuringTheUnmute) {
    startWithMicrophone();
    mute();
    EXPECT_TRUE(isSaidToBe(true));
    unplug();
    unmute(0);
    plugIn();
    EXPECT_TRUE(isSaidToBe(false));
    const Recorder recorder(session_, "mic");
    EXPECT_TRUE(recorder.hearsSound()) << session_.logs();
}

TEST_F(UnusedMicrophone, StaysAsTheUserHadMutedIt) {
    run({"pactl", "set-source-mute", "mic", "1"});
    startWithMicrophone();
    mute();
    unmute(0);
    EXPECT_TRUE(isSaidToBe(true));
    const Recorder recorder(session_, "mic");
    EXPECT_TRUE(recorder.hearsSilence()) << session_.logs();
}

TEST_F(UnusedMicrophone, IsHeardAfterTheUnmuteOfAMuteOfWhichNobodyKnowsWhatItMuted) {
    run({"pactl", "set-source-mute", "mic", "1"});
    settings_.setBoolean("microphoneMuted", true);
    start();
    mute();
    ASSERT_NE(card("Microphone muted. No app was using the camera or microphone."), nullptr)
        << report();
    unmute();
    const Recorder recorder(session_, "mic");
    EXPECT_TRUE(recorder.hearsSound()) << session_.logs();
}

TEST_F(UnusedMicrophone, IsUnmutedAfterARestartThatRemembersIt) {
    run({"pactl", "load-module", "module-null-sink", "media.class=Audio/Source/Virtual",
         "sink_name=users"});
    run({"pactl", "set-source-mute", "users", "1"});
    startWithMicrophone();
    mute();
    EXPECT_TRUE(isSaidToBe(true));
    EXPECT_TRUE(becomes([&] { return settings_.bytes("mutedByVelmoran").has_value(); }));
    quit();
    start();
    mute();
    unmute();
    EXPECT_TRUE(isSaidToBe(false));
    EXPECT_EQ(session_.run({"pactl", "get-source-mute", "users"}).output, "Mute: yes\n");
}

TEST_F(UnusedMicrophone, IsUnmutedAtTheNextStartIfItWasAwayDuringTheUnmute) {
    startWithMicrophone();
    mute();
    EXPECT_TRUE(isSaidToBe(true));
    EXPECT_TRUE(becomes([&] { return settings_.bytes("mutedByVelmoran").has_value(); }));
    unplug();
    unmute(0);
    quit();
    start();
    plugIn();
    EXPECT_TRUE(isSaidToBe(false));
    EXPECT_TRUE(becomes([&] { return settings_.bytes("mutedByVelmoran") == "[]"; }));
}

TEST_F(UnusedMicrophone, IsSaidToBeMutedAlsoWhereTheServerMakesIt) {
    run({"pactl", "load-module", "module-null-sink", "media.class=Audio/Source/Virtual",
         "sink_name=made"});
    startWithMicrophone();
    const auto serversWordOnIt = [&] {
        return session_.run({"pactl", "get-source-mute", "made"}).output;
    };
    mute();
    EXPECT_TRUE(becomes([&] { return serversWordOnIt() == "Mute: yes\n"; }));
    unmute(2);
    EXPECT_TRUE(becomes([&] { return serversWordOnIt() == "Mute: no\n"; }));
}

TEST_F(UnusedMicrophone, IsAnnouncedOnceHoweverOftenItIsMuted) {
    startWithMicrophone();
    startMixer();
    mute();
    ASSERT_TRUE(isSaidToBe(true));
    const auto muteAgain = [&] {
        int repeats = 0;
        const auto answers =
            model_->onMicrophonesMuted.subscribe([&](bool muted, const MuteOutcome& outcome) {
                repeats += muted && outcome.mutedCount > 0;
            });
        EXPECT_TRUE(becomes([&] {
            mute();
            return repeats >= 5;
        }));
    };
    EXPECT_FALSE(isChangedBy(muteAgain)) << session_.child("mixer")->output();
}

TEST_F(UnusedMicrophone, IsLeftAloneOnceItIsUsed) {
    const Recorder recorder(session_, "mic");
    ASSERT_TRUE(recorder.hearsSound()) << session_.logs();
    startMixer();
    EXPECT_FALSE(isChangedBy([&] { start(); })) << session_.child("mixer")->output();
    EXPECT_TRUE(recorder.hearsSound());
}

} // namespace
} // namespace velmoran
