// Whoever asked for a stop hears once how it ended, by whatever road.
#include "ModelFixture.h"

namespace velmoran {
namespace {

struct StopEnded : testing::ModelFixture {
    std::vector<std::optional<StopResult>> ends;

    void watch() {
        launchWatching();
        subscriptions.push_back(
            model->onStopEnded.subscribe([this](const std::optional<StopResult>& result) {
                EXPECT_FALSE(model->isBusyStopping());
                ends.push_back(result);
            }));
    }
    static AppRef browser() {
        return {.name = "Fox", .bundleID = "org.mozilla.firefox", .path = "/Applications/Fox"};
    }
};

TEST_F(StopEnded, IsToldWithTheResultAfterItsCard) {
    watch();
    receive(camera({testing::appRef("Zoom")}));
    model->stopEverything();
    EXPECT_TRUE(model->isBusyStopping());
    EXPECT_TRUE(ends.empty());
    time.advanceBy(5);
    ASSERT_EQ(ends.size(), 1U);
    ASSERT_TRUE(ends[0]);
    EXPECT_EQ(ends[0]->headline(), "Microphone muted. Zoom was closed.");
    EXPECT_EQ(titles().back(), ends[0]->headline());
}

TEST_F(StopEnded, IsToldOnceHoweverOftenItIsPressed) {
    watch();
    receive(camera({testing::appRef("Zoom")}));
    model->stopEverything();
    model->stopEverything();
    model->stop(model->openSessions->front().app);
    time.advanceBy(5);
    EXPECT_EQ(ends.size(), 1U);
}

TEST_F(StopEnded, IsToldWithoutAResultWhenTheUserKeepsTheBrowser) {
    watch();
    receive(camera({browser()}));
    model->stopEverything();
    model->stop(model->openSessions->front().app);
    time.advanceBy(5);
    EXPECT_EQ(ends, (std::vector<std::optional<StopResult>>{std::nullopt, std::nullopt}));
}

} // namespace
} // namespace velmoran
