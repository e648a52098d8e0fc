// Whom an app talks to while it uses a device, on a scripted machine.
#include "tests/app/model/ModelFixture.h"

namespace velmoran {
namespace {

using testing::appRef;

struct ConnectionSamplingTest : testing::ModelFixture {
    ConnectionSamplingTest() {
        machine.onPeersAsked = [this](const std::vector<AppIdentity>& apps) {
            auto& ids = asked.emplace_back();
            for (const auto& app : apps) {
                ids.push_back(app.id);
            }
        };
    }

    std::vector<std::vector<std::string>> asked; ///< the apps' ids, each time
    const std::string path = appRef("Zoom").path.value();
    std::vector<Connection>& peers() { return machine.script.connections[path]; }
    const std::vector<ConnectionRecord>& noted() {
        return model->openSessions->front().connections;
    }
};

TEST_F(ConnectionSamplingTest, NotesThePeersOfANewSessionAtOnce) {
    peers() = {{"192.0.2.1", 443, "TCP"}};
    launchWatching();
    time.advanceTo(2);
    receive(camera({appRef("Zoom")}));
    ASSERT_EQ(noted().size(), 1U);
    EXPECT_EQ(
        noted()[0],
        (ConnectionRecord{
            .address = "192.0.2.1", .port = 443, .transport = "TCP", .firstSeen = time.now()}));
    EXPECT_EQ(store->sessions().front().connections, noted());
    EXPECT_EQ((*model->historySessions)[0].connections, noted());
}

TEST_F(ConnectionSamplingTest, AddsWhatIsNewAtEachTick) {
    peers() = {{"192.0.2.1", 443, "TCP"}};
    launchWatching();
    receive(camera({appRef("Zoom")}));
    peers() = {{"192.0.2.1", 443, "TCP"}, {"192.0.2.1", 443, "UDP"}};
    time.advanceTo(14.9);
    EXPECT_EQ(noted().size(), 1U);
    time.advanceTo(15);
    ASSERT_EQ(noted().size(), 2U);
    EXPECT_EQ(noted()[1].transport, "UDP");
    EXPECT_EQ(noted()[1].firstSeen, time.now());
    peers().clear();
    time.advanceTo(60);
    EXPECT_EQ(noted().size(), 2U) << "a peer that was seen stays";
}

TEST_F(ConnectionSamplingTest, AsksForNobodyOnTheSpeaker) {
    settings.setBoolean("monitorSpeakerUse", true);
    peers() = {{"192.0.2.1", 443, "TCP"}};
    launchWatching();
    SystemSnapshot playing;
    playing.speakerOn = true;
    playing.speakerApps = {appRef("Zoom")};
    receive(playing);
    time.advanceTo(20);
    ASSERT_EQ(model->openSessions->size(), 1U);
    EXPECT_TRUE(noted().empty());
    EXPECT_TRUE(asked.empty());
}

TEST_F(ConnectionSamplingTest, AsksForNobodyWithoutAPath) {
    launchWatching();
    receive(camera({AppRef{.name = "Zoom", .bundleID = "zoom", .path = std::nullopt}}));
    model->sampleConnections();
    time.runPosted();
    ASSERT_EQ(model->openSessions->size(), 1U);
    EXPECT_TRUE(noted().empty());
    EXPECT_TRUE(asked.empty());
}

TEST_F(ConnectionSamplingTest, AsksOnceForAnAppOnBothDevices) {
    peers() = {{"192.0.2.1", 443, "TCP"}};
    launchWatching();
    auto both = camera({appRef("Zoom"), appRef("Surf")});
    both.microphoneOn = true;
    both.microphoneApps = {appRef("Zoom")};
    receive(both);
    EXPECT_EQ(asked,
              (std::vector<std::vector<std::string>>{{appRef("Zoom").id(), appRef("Surf").id()}}));
    int noting = 0;
    for (const auto& session : *model->openSessions) {
        noting += static_cast<int>(session.connections.size());
    }
    EXPECT_EQ(noting, 2) << "both sessions of the one, and not the other's";
}

TEST_F(ConnectionSamplingTest, AsksAgainForWhatBeginsBeforeTheAnswer) {
    launchWatching();
    const std::string other = appRef("Surf").path.value();
    machine.script.connections[other] = {{"192.0.2.2", 443, "TCP"}};
    model->receive(camera({appRef("Zoom")}));
    model->receive(camera({appRef("Zoom"), appRef("Surf")}));
    EXPECT_EQ(asked.size(), 1U) << "one question at a time";
    time.runPosted();
    EXPECT_EQ(asked.size(), 2U);
    ASSERT_EQ(model->openSessions->size(), 2U);
    EXPECT_EQ((*model->openSessions)[1].connections.size(), 1U);
}

TEST_F(ConnectionSamplingTest, WritesNothingForASessionThatHasEnded) {
    launchWatching();
    receive(camera({appRef("Zoom")}));
    peers() = {{"192.0.2.1", 443, "TCP"}};
    model->sampleConnections(); // the answer waits behind the end
    model->receive({});
    time.runPosted();
    EXPECT_TRUE(store->sessions().front().connections.empty());
}

TEST_F(ConnectionSamplingTest, WorksWithoutAHistory) {
    historyFails = true;
    peers() = {{"192.0.2.1", 443, "TCP"}};
    launchWatching();
    receive(camera({appRef("Zoom")}));
    EXPECT_EQ(noted().size(), 1U);
}

} // namespace
} // namespace velmoran
