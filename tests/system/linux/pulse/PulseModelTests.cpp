#include "system/linux/pulse/PulseModel.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

constexpr std::uint32_t microphone = 1;
constexpr std::uint32_t speaker = 2;
constexpr std::uint32_t monitor = 3;
constexpr std::uint32_t appClient = 40;

PulseModel::Device device(std::optional<std::uint32_t> monitorOfSink = std::nullopt) {
    PulseModel::Device result;
    result.monitorOfSink = monitorOfSink;
    result.isRunning = true;
    return result;
}

PulseModel::Stream stream(std::optional<std::uint32_t> client, std::optional<std::uint32_t> at,
                          bool isPaused = false) {
    PulseModel::Stream result;
    result.client = client;
    result.module = 9; // of clients too: the one that speaks with them
    result.device = at;
    result.isPaused = isPaused;
    return result;
}

PulseModel machine() {
    PulseModel model;
    model.sources = {{microphone, device()}, {monitor, device(speaker)}};
    model.sinks = {{speaker, device()}};
    return model;
}

TEST(PulseModel, TellsRecordingFromPlaying) {
    auto model = machine();
    model.recordings[5] = stream(appClient, microphone);
    model.playbacks[6] = stream(appClient + 1, speaker);
    const auto uses = model.uses();
    EXPECT_EQ(uses.at(appClient), (PulseModel::Use{true, false}));
    EXPECT_EQ(uses.at(appClient + 1), (PulseModel::Use{false, true}));
}

TEST(PulseModel, KeepsAPausedClientInTheListWithoutAUse) {
    auto model = machine();
    model.recordings[5] = stream(appClient, microphone, true);
    model.playbacks[6] = stream(appClient, speaker, true);
    EXPECT_EQ(model.uses().at(appClient), PulseModel::Use());
}

TEST(PulseModel, WaitsForAStreamThatIsBeingSetUp) {
    auto model = machine();
    model.recordings[5] = stream(appClient, std::nullopt);
    model.recordings[6] = stream(appClient, 77); // a source that isn't listed yet
    EXPECT_EQ(model.uses().at(appClient), PulseModel::Use());
}

TEST(PulseModel, HearsNothingFromASuspendedSource) {
    auto model = machine();
    model.sources[microphone].isRunning = false;
    model.recordings[5] = stream(appClient, microphone);
    EXPECT_EQ(model.uses().at(appClient), PulseModel::Use());
}

TEST(PulseModel, TakesWhatOthersPlayForNoMicrophone) {
    auto model = machine();
    model.recordings[5] = stream(appClient, monitor);
    EXPECT_EQ(model.uses().at(appClient), PulseModel::Use());
}

TEST(PulseModel, FollowsAMicrophoneThatAModulePlaysToASink) {
    auto model = machine();
    model.recordings[5] = stream(std::nullopt, microphone);
    model.playbacks[6] = stream(std::nullopt, speaker);
    model.recordings[7] = stream(appClient, monitor);
    EXPECT_TRUE(model.uses().at(appClient).microphone);
    model.playbacks[6].module = 10; // of another module
    EXPECT_FALSE(model.uses().at(appClient).microphone);
}

TEST(PulseModel, IsNotCaughtInACircleOfModules) {
    auto model = machine();
    model.recordings[5] = stream(std::nullopt, monitor);
    model.playbacks[6] = stream(std::nullopt, speaker);
    model.recordings[7] = stream(appClient, monitor);
    EXPECT_FALSE(model.uses().at(appClient).microphone);
}

TEST(PulseModel, HasNoUserForTheServersOwnStreams) {
    auto model = machine();
    model.recordings[5] = stream(std::nullopt, microphone);
    EXPECT_TRUE(model.uses().empty());
}

TEST(PulseModel, JoinsTheStreamsOfAClient) {
    auto model = machine();
    model.recordings[5] = stream(appClient, microphone);
    model.recordings[6] = stream(appClient, monitor, true);
    model.playbacks[7] = stream(appClient, speaker);
    EXPECT_EQ(model.uses().at(appClient), (PulseModel::Use{true, true}));
}

} // namespace
} // namespace velmoran
