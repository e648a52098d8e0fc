// The sampler alone, against connections whose answers the test gives.
#include "app/model/ConnectionSampler.h"
#include "system/scripted/ScriptedTime.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace velmoran {
namespace {

struct FakeConnections final : Connections {
    std::vector<std::function<void(const Found&)>> asked;

    void ofApps(std::vector<AppIdentity>, std::function<void(const Found&)> done) override {
        asked.push_back(std::move(done));
    }
};

struct ConnectionSamplerTest : ::testing::Test {
    FakeConnections connections;
    ScriptedTime time;
    SessionEngine engine{1.0};
    std::vector<std::string> added; ///< addresses
    int anyAdded = 0;
    std::unique_ptr<ConnectionSampler> sampler = std::make_unique<ConnectionSampler>(
        ConnectionSampler::Seams{connections, time, time, engine},
        ConnectionSampler::Reports{
            .added =
                [this](const UsageSession& session, const std::vector<ConnectionRecord>& records) {
                    EXPECT_EQ(session.connections, engine.open().front().connections);
                    for (const auto& record : records) {
                        added.push_back(record.address);
                    }
                },
            .anyAdded =
                [this] {
                    ++anyAdded;
                }});

    void use(bool isOn) {
        const AppIdentity app{.id = "a", .name = "A", .bundleID = {}, .path = "/a", .teamID = {}};
        engine.ingest({{Device::camera, {.isOn = isOn, .apps = {app}}}}, time.now());
    }
    void answer(const std::string& address) {
        connections.asked.back()({{"a", {{address, 443, "TCP"}}}});
        time.runPosted();
    }
};

TEST_F(ConnectionSamplerTest, AddsWhatIsNewToTheOpenSession) {
    sampler->sample();
    EXPECT_TRUE(connections.asked.empty()) << "nobody is open";
    use(true);
    sampler->sample();
    answer("192.0.2.1");
    EXPECT_EQ(added, (std::vector<std::string>{"192.0.2.1"}));
    EXPECT_EQ(anyAdded, 1);
    sampler->sample();
    answer("192.0.2.1");
    EXPECT_EQ(added.size(), 1U) << "it is known";
    EXPECT_EQ(anyAdded, 1);
}

TEST_F(ConnectionSamplerTest, AsksOnceMoreForWhoeverAskedMeanwhile) {
    use(true);
    sampler->sample();
    sampler->sample();
    sampler->sample();
    EXPECT_EQ(connections.asked.size(), 1U);
    answer("192.0.2.1");
    EXPECT_EQ(connections.asked.size(), 2U);
    answer("192.0.2.2");
    EXPECT_EQ(connections.asked.size(), 2U);
    EXPECT_EQ(added.size(), 2U);
}

TEST_F(ConnectionSamplerTest, AddsNothingToWhatHasEnded) {
    use(true);
    sampler->sample();
    use(false);
    answer("192.0.2.1");
    EXPECT_TRUE(added.empty());
    EXPECT_EQ(anyAdded, 0);
}

TEST_F(ConnectionSamplerTest, AddsNothingOnceItHasGone) {
    use(true);
    sampler->sample();
    sampler.reset();
    answer("192.0.2.1");
    EXPECT_TRUE(added.empty());
}

} // namespace
} // namespace velmoran
