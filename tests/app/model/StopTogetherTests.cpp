// Buttons of a card that stands for several.
#include "app/notices/JoinedNotices.h"
#include "tests/app/model/StopFixture.h"

namespace velmoran {
namespace {

using testing::appRef;
using testing::Closed;
using testing::surf;
using testing::Titles;

struct StopTogether : testing::StopFixture {
    std::unique_ptr<JoinedNotices> joined;

    void begin() {
        joined.reset();
        StopFixture::begin();
        joined = std::make_unique<JoinedNotices>(model->notices, [] {});
    }
    void TearDown() override {
        joined.reset();
        StopFixture::TearDown();
    }
    void pressJoined(const std::string& title) {
        ASSERT_FALSE(joined->items().empty());
        const auto item = joined->items().back();
        for (const auto& button : item.buttons) {
            if (button.title == title) {
                EXPECT_TRUE(joined->press(item.id, button.id));
                return;
            }
        }
        FAIL() << "no button " << title;
    }
    Titles shownTitles() const {
        Titles result;
        for (const auto& item : joined->items()) {
            result.push_back(item.title);
        }
        return result;
    }
    /// A camera's user, and ten seconds later one of the microphone.
    void bothUse(const AppRef& first, const AppRef& second) {
        receive(camera({first}));
        passTime(10);
        auto both = camera({first});
        both.microphoneOn = true;
        both.microphoneApps = {second};
        receive(both);
    }
};

TEST_F(StopTogether, StopsWhoeverCannotBeNamedAsOne) {
    begin();
    bothUse(AppRef::unidentifiedAs("1"), AppRef::unidentifiedAs("2"));
    ASSERT_EQ(titles().size(), 2U);
    EXPECT_EQ(shownTitles(), Titles{"Unknown app turned on the microphone"});
    pressJoined("Stop");
    passTime(10);
    EXPECT_EQ(mutes.size(), 1U);
    ASSERT_EQ(titles().size(), 1U) << "the card of the stop";
    EXPECT_EQ(titles()[0], "Microphone muted.");
    EXPECT_EQ(model->notices.items()[0].message,
              "We couldn't tell which app is using the camera and microphone, so there was nothing "
              "to close. The camera is still in use. The microphone is still in use.");
    EXPECT_TRUE(model->notices.items()[0].isStopResult);
}

TEST_F(StopTogether, TheOlderCardsDeviceCountsToo) {
    begin();
    auto first = microphone({AppRef::unidentifiedAs("1")});
    receive(first);
    passTime(10);
    first.cameraOn = true;
    first.cameraApps = {AppRef::unidentifiedAs("2")};
    receive(first);
    EXPECT_EQ(shownTitles(), Titles{"Unknown app turned on the camera"});
    pressJoined("Stop");
    passTime(10);
    EXPECT_EQ(mutes.size(), 1U) << "one of them has the microphone";
}

TEST_F(StopTogether, StopsAnAppOnceHoweverManyCardsItHas) {
    begin();
    model->settings.standardNoticesStay.set(true);
    bothUse(appRef("Zoom"), appRef("Zoom"));
    ASSERT_EQ(titles().size(), 2U);
    pressJoined("Stop");
    passTime(1);
    EXPECT_EQ(closed, (Closed{{"Zoom", true}}));
    EXPECT_EQ(mutes.size(), 1U);
    EXPECT_EQ(titles(), Titles{"Microphone muted. Zoom was closed."});
}

TEST_F(StopTogether, AllStayWhileAnotherQuestionStands) {
    begin();
    model->settings.standardNoticesStay.set(true);
    bothUse(surf(), surf());
    ASSERT_EQ(titles().size(), 2U);
    model->stopEverything();
    ASSERT_EQ(questions.size(), 1U);
    pressJoined("Stop");
    EXPECT_EQ(titles().size(), 2U);
    EXPECT_EQ(questions.size(), 1U);
    EXPECT_GT(raised, 0);
    answer(BrowserAnswer::cancel);
    pressJoined("Stop");
    EXPECT_TRUE(titles().empty());
    ASSERT_EQ(questions.size(), 2U);
    EXPECT_EQ(questions[1].browsers.size(), 1U);
    answer(BrowserAnswer::close);
    passTime(1);
    EXPECT_EQ(closed, (Closed{{"Surf", true}}));
}

TEST_F(StopTogether, TrustsTheAppForAllThatItsCardsTellOf) {
    begin();
    model->settings.standardNoticesStay.set(true);
    bothUse(appRef("Zoom"), appRef("Zoom"));
    pressJoined("Trust this app");
    EXPECT_TRUE(titles().empty());
    const auto zoom = seen(appRef("Zoom"));
    EXPECT_TRUE(model->trust->isTrusted(zoom, Device::camera));
    EXPECT_TRUE(model->trust->isTrusted(zoom, Device::microphone));
}

TEST_F(StopTogether, SaysWhereToUnmuteAsIsTrueThere) {
    begin();
    model->stopEverything();
    passTime(1);
    EXPECT_EQ(model->notices.items().back().message,
              "The microphone stays muted until you unmute it with “velmoranctl unmute”.")
        << "there are no windows";
    Windows screens;
    windows = &screens;
    begin();
    model->stopEverything();
    passTime(1);
    EXPECT_EQ(model->notices.items().back().message,
              "The microphone stays muted until you unmute it in the Microphone row of the panel.");
}

} // namespace
} // namespace velmoran
