// Whom an app talks to while it uses a device, on a scripted machine.
#include "tests/app/ModelFixture.h"

namespace velmoran {
namespace {

using testing::appRef;

struct ConnectionSamplingTest : testing::ModelFixture {
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
    EXPECT_TRUE(noted().empty());
}

TEST_F(ConnectionSamplingTest, AsksForNobodyWithoutAPath) {
    launchWatching();
    receive(camera({AppRef{.name = "Zoom", .bundleID = "zoom", .path = std::nullopt}}));
    model->sampleConnections();
    time.runPosted();
    EXPECT_TRUE(noted().empty());
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
