// Microphones of real sound servers, muted and heard by real recorders.
#include "support/GraphWatcher.h"
#include "support/PrivateSession.h"
#include "support/Recorder.h"
#include "support/SessionFiles.h"
#include "support/Waiting.h"
#include "system/linux/pulse/PulseMicrophones.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <ostream>

namespace velmoran {
namespace {

using support::PrivateSession;
using support::Recorder;
using support::waitUntil;

enum class Server { pipeWire, pulseAudio };

void PrintTo(Server server, std::ostream* stream) {
    *stream << (server == Server::pipeWire ? "PipeWire" : "PulseAudio");
}

const MuteAnswer notAnswered{{}, false};
const MuteAnswer nothingToUnmute{{}, true, true};

class PulseMicrophonesTest : public ::testing::TestWithParam<Server> {
protected:
    struct Answer {
        MuteAnswer outcome;
        double seconds = 0;
    };

    bool isPulseAudio() const { return GetParam() == Server::pulseAudio; }
    std::string address() const {
        return "unix:" + (session_.runtimeFolder() / "pulse/native").string();
    }

    void startServer() {
        if (isPulseAudio()) {
            startPulseAudio();
        } else {
            session_.startSound();
            session_.enter();
        }
    }
    void startPulseAudio() { session_.startPulseAudio({"module-device-restore"}); }
    /// The same server again after `session_.stop("pulse")`; PulseAudio's comes without sources.
    void startServerAgain() { isPulseAudio() ? startPulseAudio() : session_.startPulse(); }

    /// A microphone that gives a tone, and silence once muted.
    void addMicrophone(const std::string& name) {
        if (isPulseAudio()) {
            const auto tone = session_.file("tone.wav");
            support::writeFile(tone, support::files::tone(std::chrono::minutes(2)));
            run({"pactl", "load-module", "module-null-sink", "sink_name=behind-" + name});
            plugIn(name);
            session_.start("player " + name, {"paplay", "--device=behind-" + name, tone});
        } else {
            session_.addMicrophone(name, name);
        }
    }
    /// A microphone that was added and unplugged.
    void plugIn(const std::string& name) {
        if (isPulseAudio()) {
            const auto loaded =
                session_.run({"pactl", "load-module", "module-remap-source", "source_name=" + name,
                              "master=behind-" + name + ".monitor"});
            EXPECT_TRUE(loaded.succeeded()) << loaded.errors;
            modules_[name] = loaded.output;
        } else {
            session_.addMicrophone(name, name);
        }
    }
    void unplug(const std::string& name) {
        if (isPulseAudio()) {
            run({"pactl", "unload-module", modules_[name].substr(0, modules_[name].find('\n'))});
        } else {
            session_.stop(name);
        }
        EXPECT_TRUE(waitUntil([&] {
            return !session_.run({"pactl", "get-source-mute", name}).succeeded();
        }));
    }
    /// The mute of its last time, before anybody else has had a say.
    void plugInAsItWas(const std::string& name) {
        const int before = arrivals_;
        plugIn(name);
        EXPECT_TRUE(waitUntil([&] { return arrivals_ > before; }));
    }
    /// One with a left and a right channel.
    void addStereo(const std::string& name) {
        if (isPulseAudio()) {
            run({"pactl", "load-module", "module-null-source", "source_name=" + name,
                 "channels=2"});
        } else {
            run({"pactl", "load-module", "module-null-sink", "media.class=Audio/Source/Virtual",
                 "sink_name=" + name, "channel_map=front-left,front-right"});
        }
    }
    void run(const std::vector<std::string>& arguments) {
        const auto finished = session_.run(arguments);
        EXPECT_TRUE(finished.succeeded()) << finished.errors;
    }
    /// The device obeys, and says so, a moment after the server has taken the word.
    bool becomes(bool muted, const std::string& source) {
        const std::string wanted = muted ? "Mute: yes\n" : "Mute: no\n";
        return waitUntil([&] {
            return session_.run({"pactl", "get-source-mute", source}).output == wanted;
        });
    }
    std::string volumes(const std::string& source) {
        return session_.run({"pactl", "get-source-volume", source}).output;
    }

    /// As in the machine. What is changed of a microphone is told of from then on.
    void readGraph() {
        if (!graph_ && session_.child("pipewire")) {
            graph_ = std::make_unique<support::GraphWatcher>();
        }
    }
    void connect() {
        readGraph();
        pulse_ = std::make_unique<PulseContext>(address());
        microphones_ = std::make_unique<PulseMicrophones>(*pulse_);
        arrival_ = microphones_->onArrival([this] { ++arrivals_; });
        telling_ = microphones_->onMutedHere([this](const auto& places) {
            const std::lock_guard lock(toldMutex_);
            told_ = places;
        });
    }
    /// The same, once `count` microphones can be muted; they are unmuted then.
    void connectTo(int count) {
        connect();
        ASSERT_TRUE(waitUntil([&] { return set(true).outcome.mutedCount == count; }))
            << session_.logs();
        ASSERT_EQ(set(false).outcome.mutedCount, count);
        ASSERT_TRUE(waitUntil([&] {
            const auto sources = session_.run({"pactl", "list", "sources"}).output;
            return sources.find("Mute: yes") == std::string::npos;
        }));
        arrivals_ = lateMutes_ = 0;
    }
    /// The names, as far as that is known.
    std::vector<std::string> mutedHere() {
        const std::lock_guard lock(toldMutex_);
        std::vector<std::string> names;
        for (const auto& place : told_.value_or(MutedPlaces())) {
            names.push_back(place.name);
        }
        return names;
    }
    std::future<Answer> begin(bool muted) {
        auto promise = std::make_shared<std::promise<Answer>>();
        const auto begun = std::chrono::steady_clock::now();
        microphones_->setMuted(
            muted,
            [promise, begun](const MuteAnswer& outcome) {
                const std::chrono::duration<double> passed =
                    std::chrono::steady_clock::now() - begun;
                promise->set_value({outcome, passed.count()});
            },
            [this, muted](const MuteOutcome& outcome) {
                lateMutes_ += muted ? outcome.mutedCount : 0;
            });
        return promise->get_future();
    }
    Answer set(bool muted) {
        auto answer = begin(muted);
        if (answer.wait_for(support::patience) != std::future_status::ready) {
            ADD_FAILURE() << "no answer";
            return {};
        }
        return answer.get();
    }

    PrivateSession session_;
    std::unique_ptr<support::GraphWatcher> graph_; ///< where the server has one
    std::unique_ptr<PulseContext> pulse_;
    std::unique_ptr<PulseMicrophones> microphones_;
    std::mutex toldMutex_;
    std::optional<MutedPlaces> told_; ///< what the next run is to recall
    Subscription telling_;
    Subscription arrival_;
    std::atomic<int> arrivals_ = 0;
    std::atomic<int> lateMutes_ = 0;
    std::map<std::string, std::string> modules_; ///< PulseAudio's, by the microphone
};

TEST_P(PulseMicrophonesTest, FallSilentForARealRecorderAndAreHeardAgain) {
    startServer();
    addMicrophone("mic");
    addMicrophone("webcam");
    const Recorder first(session_, "mic");
    const Recorder second(session_, "webcam");
    ASSERT_TRUE(first.hearsSound()) << session_.logs();
    ASSERT_TRUE(second.hearsSound()) << session_.logs();
    connectTo(2);
    ASSERT_TRUE(first.hearsSound());

    EXPECT_EQ(set(true).outcome, (MuteAnswer{{2, {}}}));
    EXPECT_TRUE(first.hearsSilence());
    EXPECT_TRUE(second.hearsSilence());
    EXPECT_EQ(set(true).outcome, (MuteAnswer{{2, {}}}));
    EXPECT_TRUE(first.hearsSilence());
    EXPECT_EQ(set(false).outcome, (MuteAnswer{{2, {}}}));
    EXPECT_TRUE(first.hearsSound());
    EXPECT_TRUE(second.hearsSound());
}

TEST_P(PulseMicrophonesTest, FallSilentAgainWheneverOthersUnmuteThem) {
    startServer();
    addMicrophone("mic");
    const Recorder recorder(session_, "mic");
    ASSERT_TRUE(recorder.hearsSound()) << session_.logs();
    connectTo(1);
    std::atomic<int> unmutes = 0;
    const auto unmuting = microphones_->onUnmuted([&] { ++unmutes; });
    ASSERT_EQ(set(true).outcome.mutedCount, 1);
    ASSERT_TRUE(becomes(true, "mic"));
    for (int times = 1; times <= 5; ++times) {
        run({"pactl", "set-source-mute", "mic", "0"});
        EXPECT_TRUE(waitUntil([&] { return unmutes == times; })) << unmutes;
        EXPECT_TRUE(becomes(true, "mic"));
    }
    EXPECT_TRUE(recorder.hearsSilence());
    ASSERT_EQ(set(false).outcome.mutedCount, 1);
    EXPECT_TRUE(becomes(false, "mic"));
    EXPECT_TRUE(recorder.hearsSound());
    EXPECT_EQ(unmutes, 5) << "the own unmute is none of others";
    // An unmute is repeated a few times, should others mute right after it.
    EXPECT_TRUE(waitUntil([&] {
        run({"pactl", "set-source-mute", "mic", "1"});
        return session_.run({"pactl", "get-source-mute", "mic"}).output == "Mute: yes\n";
    }));
    run({"pactl", "set-source-mute", "mic", "0"});
    EXPECT_TRUE(becomes(false, "mic"));
    EXPECT_TRUE(recorder.hearsSound()) << "there is no mute to keep up";
    EXPECT_EQ(unmutes, 5);
}

TEST_P(PulseMicrophonesTest, LeaveMonitorsOfOutputsAlone) {
    startServer();
    connect();
    const std::string monitor = isPulseAudio() ? "speaker.monitor" : "virtual-speaker.monitor";
    ASSERT_EQ(session_.run({"pactl", "get-source-mute", monitor}).output, "Mute: no\n");
    ASSERT_TRUE(waitUntil([&] { return set(true).outcome.serverAnswered; }));
    EXPECT_EQ(set(true).outcome, (MuteAnswer{{0, {}}}));
    EXPECT_TRUE(becomes(false, monitor));
}

TEST_P(PulseMicrophonesTest, KeepTheUsersVolumeOfEachChannel) {
    startServer();
    addStereo("stereo");
    readGraph();
    run({"pactl", "set-source-volume", "stereo", "37%", "81%"});
    ASSERT_TRUE(waitUntil([&] {
        const auto text = volumes("stereo");
        return text.find(" 37% ") != std::string::npos && text.find(" 81% ") != std::string::npos;
    })) << volumes("stereo");
    const auto before = volumes("stereo");
    connectTo(1);
    EXPECT_EQ(set(true).outcome, (MuteAnswer{{1, {}}}));
    EXPECT_TRUE(becomes(true, "stereo"));
    EXPECT_EQ(volumes("stereo"), before);
    set(true);
    EXPECT_EQ(set(false).outcome, (MuteAnswer{{1, {}}}));
    EXPECT_TRUE(becomes(false, "stereo"));
    EXPECT_EQ(volumes("stereo"), before);
}

TEST_P(PulseMicrophonesTest, TellOfOneThatAppears) {
    startServer();
    addMicrophone("mic");
    connectTo(1);
    addMicrophone("headset");
    EXPECT_TRUE(waitUntil([&] { return arrivals_ == 1; })) << arrivals_;
    EXPECT_EQ(set(true).outcome, (MuteAnswer{{2, {}}}));
    EXPECT_TRUE(becomes(true, "headset"));
    // Changes of what is known are no arrivals.
    set(false);
    run({"pactl", "set-source-volume", "headset", "40%"});
    const Recorder recorder(session_, "headset");
    EXPECT_TRUE(recorder.hearsSound());
    EXPECT_EQ(arrivals_, 1);
    arrival_.reset();
    addMicrophone("third");
    EXPECT_TRUE(waitUntil([&] { return set(true).outcome.mutedCount == 3; }));
    EXPECT_EQ(arrivals_, 1);
}

TEST_P(PulseMicrophonesTest, TakeTheLastOfManyCalls) {
    startServer();
    addMicrophone("mic");
    connectTo(1);
    std::vector<std::future<Answer>> answers;
    for (int time = 0; time < 101; ++time) {
        answers.push_back(begin(time % 2 == 0));
    }
    for (auto& answer : answers) {
        ASSERT_EQ(answer.wait_for(support::patience), std::future_status::ready);
        EXPECT_EQ(answer.get().outcome, (MuteAnswer{{1, {}}}));
    }
    EXPECT_TRUE(becomes(true, "mic"));
    EXPECT_EQ(set(false).outcome.mutedCount, 1);
    EXPECT_TRUE(becomes(false, "mic"));
}

TEST_P(PulseMicrophonesTest, AnswerAtOnceWithoutAServer) {
    connect();
    for (const bool muted : {true, false}) {
        const auto answer = set(muted);
        EXPECT_EQ(answer.outcome, notAnswered);
        EXPECT_LT(answer.seconds, 1.0);
    }
}

TEST_P(PulseMicrophonesTest, AnswerInTimeWhenTheServerHangsAndObeyInOrderWhenItWakes) {
    startServer();
    addMicrophone("mic");
    connectTo(1);
    session_.child("pulse")->signal(SIGSTOP);
    auto first = begin(true);
    auto second = begin(false);
    auto third = begin(true);
    for (auto* answer : {&first, &second, &third}) {
        ASSERT_EQ(answer->wait_for(support::patience), std::future_status::ready);
        const auto got = answer->get();
        EXPECT_EQ(got.outcome.mutedCount, 0);
        EXPECT_EQ(got.outcome.unmutable.size(), 1U);
        EXPECT_FALSE(got.outcome.serverAnswered);
        EXPECT_LT(got.seconds, 2.0);
    }
    EXPECT_EQ(lateMutes_, 0);
    session_.child("pulse")->signal(SIGCONT);
    EXPECT_TRUE(becomes(true, "mic"));
    EXPECT_TRUE(waitUntil([&] { return lateMutes_ > 0; }));
    EXPECT_EQ(set(false).outcome.mutedCount, 1);
    EXPECT_TRUE(becomes(false, "mic"));
    EXPECT_EQ(lateMutes_, 1) << "only the last call's answer counts";
}

TEST_P(PulseMicrophonesTest, SayNothingOfALateMuteThatWasUndone) {
    startServer();
    addMicrophone("mic");
    connectTo(1);
    session_.child("pulse")->signal(SIGSTOP);
    EXPECT_EQ(set(true).outcome.mutedCount, 0);
    auto unmute = begin(false);
    session_.child("pulse")->signal(SIGCONT);
    ASSERT_EQ(unmute.wait_for(support::patience), std::future_status::ready);
    EXPECT_TRUE(becomes(false, "mic"));
    EXPECT_EQ(set(false).outcome, nothingToUnmute);
    EXPECT_EQ(lateMutes_, 0);
}

TEST_P(PulseMicrophonesTest, MakeUpForAMuteThatNoServerTook) {
    startServer();
    addMicrophone("mic");
    connectTo(1);
    session_.stop("pulse");
    ASSERT_TRUE(waitUntil([&] { return set(true).outcome == notAnswered; }));
    startServerAgain();
    if (isPulseAudio()) {
        EXPECT_EQ(lateMutes_, 0) << "there is no microphone yet";
        addMicrophone("mic");
    }
    EXPECT_TRUE(waitUntil([&] { return lateMutes_ == 1; }));
    EXPECT_TRUE(becomes(true, "mic"));
}

TEST_P(PulseMicrophonesTest, AreGivenBackWhenTheyReturnAfterTheUnmute) {
    startServer();
    addMicrophone("mic");
    addMicrophone("headset");
    connectTo(2);
    EXPECT_EQ(set(true).outcome, (MuteAnswer{{2, {}}}));
    ASSERT_TRUE(becomes(true, "headset"));
    unplug("headset");
    EXPECT_EQ(set(false).outcome, (MuteAnswer{{1, {}}}));
    plugInAsItWas("headset");
    EXPECT_TRUE(becomes(false, "headset"));
    const Recorder recorder(session_, "headset");
    EXPECT_TRUE(recorder.hearsSound());
    // Once: what the user does with it from then on is his own.
    unplug("headset");
    plugInAsItWas("headset");
    run({"pactl", "set-source-mute", "headset", "1"});
    ASSERT_TRUE(becomes(true, "headset"));
    unplug("headset");
    plugInAsItWas("headset");
    const Recorder another(session_, "headset");
    EXPECT_TRUE(another.hearsSilence());
    EXPECT_TRUE(becomes(true, "headset"));
}

TEST_P(PulseMicrophonesTest, StayMutedWhenTheyReturnUnderTheMute) {
    startServer();
    addMicrophone("mic");
    addMicrophone("headset");
    connectTo(2);
    EXPECT_EQ(set(true).outcome, (MuteAnswer{{2, {}}}));
    ASSERT_TRUE(becomes(true, "headset"));
    unplug("headset");
    EXPECT_EQ(set(false).outcome, (MuteAnswer{{1, {}}}));
    EXPECT_EQ(set(true).outcome, (MuteAnswer{{1, {}}}));
    plugInAsItWas("headset");
    const Recorder recorder(session_, "headset");
    EXPECT_TRUE(recorder.hearsSilence());
    EXPECT_TRUE(becomes(true, "headset"));
    // And again, as often as it goes.
    unplug("headset");
    EXPECT_EQ(set(false).outcome, (MuteAnswer{{1, {}}}));
    plugInAsItWas("headset");
    EXPECT_TRUE(becomes(false, "headset"));
}

TEST_P(PulseMicrophonesTest, StayAsTheUserHadMutedThemHimself) {
    startServer();
    addMicrophone("mic");
    addMicrophone("headset");
    readGraph();
    run({"pactl", "set-source-mute", "headset", "1"});
    ASSERT_TRUE(becomes(true, "headset"));
    connect();
    ASSERT_TRUE(waitUntil([&] { return set(true).outcome.mutedCount == 2; }));
    unplug("headset");
    EXPECT_EQ(set(false).outcome, (MuteAnswer{{1, {}}}));
    plugInAsItWas("headset");
    const Recorder recorder(session_, "headset");
    EXPECT_TRUE(recorder.hearsSilence());
    EXPECT_TRUE(becomes(true, "headset"));
}

TEST_P(PulseMicrophonesTest, AreUnmutedOnlyWhereTheyWereMutedHere) {
    startServer();
    addMicrophone("mic");
    addMicrophone("headset");
    readGraph();
    run({"pactl", "set-source-mute", "headset", "1"});
    ASSERT_TRUE(becomes(true, "headset"));
    connect();
    microphones_->recall(MutedPlaces(), false);
    ASSERT_TRUE(waitUntil([&] { return set(true).outcome.mutedCount == 2; }));
    EXPECT_TRUE(becomes(true, "mic"));
    EXPECT_TRUE(waitUntil([&] { return mutedHere() == std::vector<std::string>{"mic"}; }));
    EXPECT_EQ(set(false).outcome, (MuteAnswer{{1, {}}}));
    EXPECT_TRUE(becomes(false, "mic"));
    EXPECT_TRUE(waitUntil([&] { return mutedHere().empty(); }));
    EXPECT_EQ(set(false).outcome, nothingToUnmute);
    const Recorder recorder(session_, "headset");
    EXPECT_TRUE(recorder.hearsSilence());
    EXPECT_TRUE(becomes(true, "headset")) << "the user's own mute";
}

TEST_P(PulseMicrophonesTest, AreUnmutedAsAnEarlierRunHadMutedThem) {
    startServer();
    addMicrophone("mic");
    addMicrophone("headset");
    readGraph();
    for (const auto* name : {"mic", "headset"}) {
        run({"pactl", "set-source-mute", name, "1"});
        ASSERT_TRUE(becomes(true, name));
    }
    connect();
    microphones_->recall(std::nullopt, true);
    ASSERT_TRUE(waitUntil([&] { return set(true).outcome.mutedCount == 2; }));
    EXPECT_EQ(told_, std::nullopt) << "nobody knows which";
    EXPECT_EQ(set(false).outcome, (MuteAnswer{{2, {}}}));
    EXPECT_TRUE(becomes(false, "mic"));
    EXPECT_TRUE(becomes(false, "headset"));
    EXPECT_EQ(set(true).outcome, (MuteAnswer{{2, {}}}));
    EXPECT_TRUE(becomes(true, "headset"));
    microphones_.reset();
    ASSERT_EQ(mutedHere(), (std::vector<std::string>{"headset", "mic"}));
    auto places = told_.value();
    std::erase_if(places, [](const MicrophonePlace& place) { return place.name == "headset"; });

    microphones_ = std::make_unique<PulseMicrophones>(*pulse_);
    microphones_->recall(places, true);
    ASSERT_TRUE(waitUntil([&] { return set(true).outcome.mutedCount == 2; }));
    EXPECT_EQ(set(false).outcome, (MuteAnswer{{1, {}}}));
    EXPECT_TRUE(becomes(false, "mic"));
    EXPECT_TRUE(becomes(true, "headset"));
}

TEST_P(PulseMicrophonesTest, AreTheirsWhoUnmuteThemUnderTheMute) {
    startServer();
    addMicrophone("mic");
    readGraph();
    run({"pactl", "set-source-mute", "mic", "1"});
    ASSERT_TRUE(becomes(true, "mic"));
    connect();
    microphones_->recall(MutedPlaces(), false);
    ASSERT_TRUE(waitUntil([&] { return set(true).outcome.mutedCount == 1; }));
    std::atomic<int> unmutes = 0;
    const auto unmuting = microphones_->onUnmuted([&] { ++unmutes; });
    run({"pactl", "set-source-mute", "mic", "0"});
    EXPECT_TRUE(waitUntil([&] { return unmutes == 1; }));
    EXPECT_TRUE(becomes(true, "mic"));
    EXPECT_EQ(set(false).outcome, (MuteAnswer{{1, {}}})) << "nobody wants the old mute any more";
    EXPECT_TRUE(becomes(false, "mic"));
}

TEST_P(PulseMicrophonesTest, AnswerInTimeWhenTheServerDiesAndTellWhenItIsBack) {
    startServer();
    addMicrophone("mic");
    connectTo(1);
    session_.child("pulse")->signal(SIGSTOP);
    auto answer = begin(true);
    session_.child("pulse")->signal(SIGKILL);
    ASSERT_EQ(answer.wait_for(support::patience), std::future_status::ready);
    const auto got = answer.get();
    EXPECT_EQ(got.outcome.mutedCount, 0);
    EXPECT_FALSE(got.outcome.serverAnswered);
    EXPECT_LT(got.seconds, 2.0);

    session_.stop("pulse");
    EXPECT_EQ(set(true).outcome, notAnswered);
    EXPECT_EQ(arrivals_, 0);
    startServerAgain();
    if (isPulseAudio()) {
        addMicrophone("mic");
    }
    ASSERT_TRUE(waitUntil([&] { return arrivals_ > 0; }));
    EXPECT_EQ(set(true).outcome, (MuteAnswer{{1, {}}}));
    EXPECT_TRUE(becomes(true, "mic"));
}

// Where the mute outlives the server that was asked for it.
class LastingMicrophonesTest : public PulseMicrophonesTest {};

TEST_P(LastingMicrophonesTest, MakeUpForAnUnmuteThatNoServerTook) {
    startServer();
    addMicrophone("mic");
    connectTo(1);
    EXPECT_EQ(set(true).outcome, (MuteAnswer{{1, {}}}));
    session_.stop("pulse");
    ASSERT_TRUE(waitUntil([&] { return set(false).outcome.mutedCount == 0; }));
    startServerAgain();
    EXPECT_TRUE(becomes(false, "mic"));
}

TEST_P(PulseMicrophonesTest, GoWhileAnAnswerIsDue) {
    startServer();
    addMicrophone("mic");
    connectTo(1);
    session_.child("pulse")->signal(SIGSTOP);
    auto answer = begin(true);
    microphones_.reset();
    pulse_.reset();
    EXPECT_NE(answer.wait_for(std::chrono::seconds(0)), std::future_status::timeout)
        << "the receiver is still held";
}

INSTANTIATE_TEST_SUITE_P(Servers, PulseMicrophonesTest,
                         ::testing::Values(Server::pipeWire, Server::pulseAudio),
                         ::testing::PrintToStringParamName());
INSTANTIATE_TEST_SUITE_P(Servers, LastingMicrophonesTest, ::testing::Values(Server::pipeWire),
                         ::testing::PrintToStringParamName());

} // namespace
} // namespace velmoran
