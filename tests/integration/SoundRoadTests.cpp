// The running program with a real sound server: the mute that it keeps up, and the speakers that it
// guards.
#include "integration/RunningModel.h"
#include "support/AroundLoop.h"
#include "support/NullSinks.h"
#include "support/SessionFiles.h"

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

namespace velmoran {
namespace {

/// The real loop, but nothing is ever repeated: what happens then, an event has brought about.
class WithoutRepeats final : public support::AroundLoop {
public:
    using AroundLoop::AroundLoop;
    Subscription every(Seconds, std::function<void()>) override {
        return Subscription([] {});
    }
};

class SoundRoad : public RunningModel {
protected:
    ~SoundRoad() override {
        if (model_) {
            quit(); // before the scheduler below goes
        }
    }

    void startWithoutRepeats() { start(withoutRepeats_); }

    bool isMuted(const std::string& kind, const std::string& name) {
        return session_.run({"pactl", "get-" + kind + "-mute", name}).output == "Mute: yes\n";
    }
    void run(const std::vector<std::string>& arguments) {
        const auto finished = session_.run(arguments);
        EXPECT_TRUE(finished.succeeded()) << finished.errors;
    }
    /// Makes it the default and waits until the program knows.
    bool choose(const std::string& name, const std::string& description) {
        run({"pactl", "set-default-sink", name});
        return outputBecomes(description);
    }
    bool outputBecomes(const std::string& description, support::Bound bound = support::patience) {
        return becomes(
            [&] {
                const auto& output = model_->snapshot->output;
                return output && output->name == description;
            },
            bound);
    }
    std::string soundServer() {
        return report() + '\n' + session_.run({"pactl", "get-default-sink"}).output +
               session_.run({"pactl", "list", "short", "sinks"}).output +
               session_.run({"pw-metadata", "0"}).output;
    }

    WithoutRepeats withoutRepeats_{loop_};
    support::NullSinks sinks_{session_};
};

// MARK: - The mute

TEST_F(SoundRoad, MutesWithOnePressUntilTheUserUnmutes) {
    session_.addMicrophone("mic", "Mic");
    startWithoutRepeats();
    awaitMicrophones();
    model_->stopEverything();
    ASSERT_TRUE(becomes([&] { return !*model_->isStopping; }));
    EXPECT_TRUE(becomes([&] { return isMuted("source", "mic"); })) << report();
    EXPECT_TRUE(settings_.boolean("microphoneMuted").value_or(false));
    EXPECT_NE(card("Microphone muted. No app was using the camera or microphone."), nullptr)
        << report();
    model_->unmuteMicrophone();
    EXPECT_TRUE(becomes([&] { return !isMuted("source", "mic"); })) << report();
}

TEST_F(SoundRoad, MutesAMicrophoneThatAppearsUnderAMute) {
    session_.addMicrophone("mic", "Mic");
    settings_.setBoolean("microphoneMuted", true);
    startWithoutRepeats();
    EXPECT_TRUE(becomes([&] { return isMuted("source", "mic"); })) << report();
    session_.addMicrophone("headset", "Headset");
    EXPECT_TRUE(becomes([&] { return isMuted("source", "headset"); })) << report();
}

TEST_F(SoundRoad, MutesAgainWhatAnotherProgramUnmutes) {
    session_.addMicrophone("mic", "Mic");
    settings_.setBoolean("microphoneMuted", true);
    start();
    ASSERT_TRUE(becomes([&] { return isMuted("source", "mic"); })) << report();
    const auto* title = "Another program keeps unmuting the microphone";
    EXPECT_EQ(card(title), nullptr);
    EXPECT_TRUE(becomes([&] {
        run({"pactl", "set-source-mute", "mic", "0"});
        return card(title) != nullptr;
    })) << report();
    EXPECT_TRUE(becomes([&] { return isMuted("source", "mic"); })) << report();
    model_->unmuteMicrophone();
    EXPECT_TRUE(becomes([&] { return !isMuted("source", "mic"); })) << report();
}

TEST_F(SoundRoad, SaysThatADyingServerMutedNothingAndMutesWhenItIsBack) {
    session_.addMicrophone("mic", "Mic");
    settings_.setBoolean("microphoneMuted", true);
    startWithoutRepeats();
    ASSERT_TRUE(becomes([&] { return isMuted("source", "mic"); })) << report();
    session_.child("pulse")->signal(SIGSTOP);
    model_->stopEverything();
    session_.child("pulse")->signal(SIGKILL);
    ASSERT_TRUE(becomes([&] { return !*model_->isStopping; }));
    const auto* result = card("No app was using the camera or microphone.");
    ASSERT_NE(result, nullptr) << report();
    EXPECT_NE(result->message.value_or("").find("The microphone couldn't be muted."),
              std::string::npos)
        << result->message.value_or("");

    // All of the sound server comes anew, with a microphone that knows of no mute.
    for (const char* part : {"mic", "pulse", "wireplumber", "pipewire"}) {
        session_.stop(part);
    }
    std::filesystem::remove_all(session_.home() / ".local/state/wireplumber");
    session_.startPipeWire();
    session_.startWirePlumber();
    session_.startPulse();
    session_.addMicrophone("mic", "Mic");
    EXPECT_TRUE(becomes([&] { return isMuted("source", "mic"); })) << report();
}

// MARK: - The speakers

class GuardedSpeakers : public SoundRoad {
protected:
    static constexpr const char* mutedTitle = "Headphones disconnected, so the speakers were muted";

    GuardedSpeakers() {
        sinks_.add("speakers", "Laptop Speakers",
                   "device.bus=pci device.form_factor=internal priority.session=3000");
    }
    void listen(const std::string& headphones, const std::string& properties) {
        settings_.setBoolean("speakerAutoMute", true);
        start();
        sinks_.add("headphones", headphones, properties);
        ASSERT_TRUE(choose("headphones", headphones)) << soundServer();
        ASSERT_EQ(model_->snapshot->output->kind, OutputDeviceInfo::Kind::headphones);
    }
    void unplugHeadphones() {
        sinks_.remove("headphones");
        ASSERT_TRUE(outputBecomes("Laptop Speakers")) << soundServer();
    }
};

TEST_F(GuardedSpeakers, AreMutedWhenHeadphonesGoWhileAnAppPlays) {
    settings_.setBoolean("monitorSpeakerUse", true);
    listen("Buds", "device.bus=bluetooth");
    support::writeFile(session_.file("tone.wav"), support::files::tone(std::chrono::minutes(10)));
    // It plays there all the time, so that its use doesn't depend on how fast a stream is moved.
    session_.start("player", {"paplay", "--device=speakers", session_.file("tone.wav")});
    ASSERT_TRUE(becomes([&] { return model_->sessions(Device::speaker).size() == 1; }))
        << soundServer();
    unplugHeadphones();
    ASSERT_NE(card(mutedTitle), nullptr) << soundServer();
    EXPECT_EQ(card(mutedTitle)->message, "paplay would have played out loud.");
    EXPECT_TRUE(becomes([&] { return isMuted("sink", "speakers"); })) << soundServer();

    ASSERT_EQ(card(mutedTitle)->buttons.size(), 1U);
    EXPECT_EQ(card(mutedTitle)->buttons[0].title, "Unmute speakers");
    const auto unmute = card(mutedTitle)->buttons[0].action;
    unmute();
    EXPECT_EQ(card(mutedTitle), nullptr);
    EXPECT_TRUE(becomes([&] { return !isMuted("sink", "speakers"); })) << soundServer();
}

TEST_F(GuardedSpeakers, AreMutedWithNothingToNameWhenNobodyPlays) {
    listen("Built-in Headphones", "device.bus=pci device.form_factor=internal");
    unplugHeadphones();
    ASSERT_NE(card(mutedTitle), nullptr) << soundServer();
    EXPECT_EQ(card(mutedTitle)->message, std::nullopt);
    EXPECT_TRUE(becomes([&] { return isMuted("sink", "speakers"); })) << soundServer();
}

TEST_F(GuardedSpeakers, AreLeftAloneWhenTheyArePickedByHand) {
    listen("Buds", "device.bus=bluetooth");
    ASSERT_TRUE(choose("speakers", "Laptop Speakers")) << soundServer();
    EXPECT_EQ(model_->snapshot->output->kind, OutputDeviceInfo::Kind::builtInSpeakers);
    EXPECT_TRUE(model_->notices.items().empty()) << soundServer();
    EXPECT_FALSE(isMuted("sink", "speakers"));
}

TEST_F(GuardedSpeakers, AreLeftAloneWhenTheyAreSilentAlready) {
    listen("Buds", "device.bus=bluetooth");
    run({"pactl", "set-sink-mute", "speakers", "1"});
    unplugHeadphones();
    EXPECT_TRUE(model_->snapshot->output->isMuted);
    EXPECT_TRUE(model_->notices.items().empty()) << soundServer();
}

TEST_F(GuardedSpeakers, AreLeftAloneUnlessTheUserWantsThat) {
    listen("Buds", "device.bus=bluetooth");
    model_->settings.speakerAutoMute.set(false);
    unplugHeadphones();
    EXPECT_TRUE(model_->notices.items().empty()) << soundServer();
    EXPECT_FALSE(isMuted("sink", "speakers"));
}

} // namespace
} // namespace velmoran
