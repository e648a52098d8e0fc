// A device that goes on being used after a stop: who can't be named is told of and never closed,
// and what was closed has its time to end.
#include "tests/app/model/StopFixture.h"

namespace velmoran {
namespace {

using testing::appRef;
using testing::Closed;
using testing::surf;
using testing::Titles;

const std::string microphoneInUse = "The microphone is still in use.";
const std::string cameraInUse = "The camera is still in use.";

struct StopStillInUseTest : testing::StopFixture {
    std::vector<StopResult> ends;

    void beginListening() {
        begin();
        subscriptions.push_back(
            model->onStopEnded.subscribe([this](const std::optional<StopResult>& result) {
                if (result) {
                    ends.push_back(*result);
                }
            }));
    }
    static AppRef nobody() { return AppRef::unidentifiedAs("unidentified:12"); }
    /// What the last stop has to say.
    NoticeItem card() const {
        NoticeItem last;
        for (const auto& item : model->notices.items()) {
            last = item.symbol ? item : last;
        }
        return last;
    }
    std::string detail() const { return card().message.value_or(""); }
    Titles buttons() const {
        Titles all;
        for (const auto& button : card().buttons) {
            all.push_back(button.title);
        }
        return all;
    }
};

TEST_F(StopStillInUseTest, SaysThatWhoCannotBeNamedGoesOn) {
    beginListening();
    receive(microphone({nobody()}));
    model->stopEverything();
    passTime(0.2);
    EXPECT_TRUE(closed.empty());
    EXPECT_EQ(card().title, "Microphone muted.");
    EXPECT_EQ(detail(), "We couldn't tell which app is using the microphone, so there was nothing "
                        "to close. " +
                            microphoneInUse);
    EXPECT_EQ(card().symbol, "exclamationmark.circle");
    EXPECT_EQ(card().autoHideAfter, std::nullopt);
    EXPECT_EQ(buttons(), (Titles{"Details", "Try again"}));
    ASSERT_EQ(ends.size(), 1U);
    EXPECT_EQ(ends[0].stillInUse, std::vector{Device::microphone});
    EXPECT_FALSE(ends[0].everythingStopped());
}

TEST_F(StopStillInUseTest, TriesEverythingAgainAlsoAfterTheStopOfOne) {
    beginListening();
    receive(microphone({appRef("Zoom"), appRef("Other"), nobody()}));
    model->stop(seen(appRef("Zoom")));
    passTime(0.2);
    receive(microphone({appRef("Other"), nobody()}));
    EXPECT_EQ(card().title, "Microphone muted. Zoom was closed.");
    EXPECT_EQ(detail(), microphoneInUse);
    press("Try again");
    passTime(0.2);
    EXPECT_EQ(closed, (Closed{{"Zoom", true}, {"Other", true}}));
    EXPECT_EQ(mutes.size(), 2U);
}

TEST_F(StopStillInUseTest, GivesWhatWasClosedTheTimeToEnd) {
    beginListening();
    receive(microphone({appRef("Zoom")}));
    model->stopEverything();
    passTime(0.2);
    EXPECT_EQ(card().symbol, "checkmark.circle");
    EXPECT_TRUE(ends.empty());
    passTime(1);
    receive({});
    ASSERT_EQ(ends.size(), 1U);
    EXPECT_TRUE(ends[0].everythingStopped());
    passTime(5);
    EXPECT_EQ(card().symbol, "checkmark.circle");
    EXPECT_EQ(storedOutcome(), SessionOutcome::stoppedByUser);
}

TEST_F(StopStillInUseTest, SaysSoWhenWhatWasClosedDoesNotEnd) {
    beginListening();
    receive(camera({appRef("Zoom")}));
    model->stop(seen(appRef("Zoom")));
    passTime(0.2);
    const auto before = card();
    EXPECT_TRUE(before.buttons.empty());
    passTime(UseAfterStop::patience);
    EXPECT_EQ(card().id, before.id);
    EXPECT_EQ(card().title, "Zoom was closed.");
    EXPECT_EQ(detail(), cameraInUse);
    EXPECT_EQ(buttons(), (Titles{"Details", "Try again"}));
    ASSERT_EQ(ends.size(), 1U);
    EXPECT_EQ(ends[0].stillInUse, std::vector{Device::camera});
}

TEST_F(StopStillInUseTest, SaysNothingOfAMuteThatWasUndoneMeanwhile) {
    beginListening();
    receive(microphone({appRef("Zoom")}));
    model->stopEverything();
    passTime(0.2);
    EXPECT_EQ(card().title, "Microphone muted. Zoom was closed.");
    model->unmuteMicrophone();
    passTime(UseAfterStop::patience);
    EXPECT_EQ(card().title, "Zoom was closed.");
    EXPECT_EQ(detail(), microphoneInUse);
}

TEST_F(StopStillInUseTest, SaysThatAnotherTookThePlaceOfWhatWasClosed) {
    beginListening();
    receive(microphone({appRef("Zoom")}));
    model->stopEverything();
    passTime(0.2);
    receive(microphone({appRef("Next")}));
    EXPECT_EQ(detail(), microphoneInUse);
    ASSERT_EQ(ends.size(), 1U);
}

TEST_F(StopStillInUseTest, SpeaksOnlyOfDevicesThatWereToBeStopped) {
    beginListening();
    auto both = microphone({appRef("Other")});
    both.cameraOn = true;
    both.cameraDevices = {"Cam"};
    both.cameraApps = {appRef("Zoom")};
    receive(both);
    model->stop(seen(appRef("Zoom")));
    passTime(0.2);
    receive(microphone({appRef("Other")}));
    ASSERT_EQ(ends.size(), 1U);
    EXPECT_TRUE(ends[0].everythingStopped());
}

TEST_F(StopStillInUseTest, SaysNothingOfAnotherAppThatWasNotMeant) {
    beginListening();
    receive(camera({appRef("Zoom"), appRef("Other")}));
    model->stop(seen(appRef("Zoom")));
    passTime(0.2);
    receive(camera({appRef("Other")}));
    ASSERT_EQ(ends.size(), 1U);
    EXPECT_TRUE(ends[0].everythingStopped());
}

TEST_F(StopStillInUseTest, SaysNothingOfABrowserThatTheUserKeeps) {
    beginListening();
    receive(camera({surf(), appRef("Zoom")}));
    model->stopEverything();
    answer(BrowserAnswer::keep);
    passTime(0.2);
    receive(camera({surf()}));
    ASSERT_EQ(ends.size(), 1U);
    EXPECT_TRUE(ends[0].stillInUse.empty());
}

TEST_F(StopStillInUseTest, IsAnsweredAtTheLatestWithTheNextStop) {
    beginListening();
    receive(camera({appRef("Zoom")}));
    model->stop(seen(appRef("Zoom")));
    passTime(0.2);
    EXPECT_TRUE(ends.empty());
    model->stopEverything();
    ASSERT_EQ(ends.size(), 1U);
    EXPECT_EQ(ends[0].stillInUse, std::vector{Device::camera});
    passTime(5);
    EXPECT_EQ(ends.size(), 2U);
}

TEST_F(StopStillInUseTest, WaitsWhileADeviceIsOnAndNobodyIsNamed) {
    beginListening();
    receive(microphone({appRef("Zoom")}));
    model->stopEverything();
    passTime(0.2);
    auto unnamed = microphone({});
    unnamed.microphoneOn = true;
    receive(unnamed);
    EXPECT_TRUE(ends.empty());
    receive({});
    ASSERT_EQ(ends.size(), 1U);
    EXPECT_TRUE(ends[0].everythingStopped());
}

} // namespace
} // namespace velmoran
