#include "app/notices/JoinedNotices.h"

#include "core/text/Localizer.h"
#include "system/scripted/ScriptedTime.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace velmoran {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

AppIdentity joinedApp(const std::string& id) {
    return {.id = id,
            .name = id,
            .bundleID = std::nullopt,
            .path = std::nullopt,
            .teamID = std::nullopt};
}

AppIdentity joinedUnnamed(const std::string& id) {
    auto result = joinedApp(id);
    result.unidentified = true;
    return result;
}

struct JoinedNoticesTest : ::testing::Test {
    ScriptedTime time;
    NoticeCenter center{time};
    int changes = 0;
    JoinedNotices joined{center, [this] {
                             ++changes;
                         }};
    std::vector<std::string> done;

    NoticeItem card(const std::string& title, const std::optional<AppIdentity>& of = {}) {
        NoticeItem item;
        item.id = Uuid::random();
        item.app = of;
        item.title = title;
        item.timeText = "Just now";
        for (const auto* name : {"Stop", "Trust"}) {
            item.buttons.push_back({.title = name, .action = [this, name, title, id = item.id] {
                                        done.push_back(std::string(name) + " " + title);
                                        center.dismiss(id);
                                    }});
        }
        return item;
    }
    NoticeItem show(const std::string& title, const std::optional<AppIdentity>& of = {}) {
        const auto item = card(title, of);
        center.show(item);
        return item;
    }
    std::vector<std::string> lines() const {
        std::vector<std::string> result;
        for (const auto& item : joined.items()) {
            result.push_back(item.title + ", " + item.timeText);
        }
        return result;
    }
    std::vector<std::string> titles() const {
        std::vector<std::string> result;
        for (const auto& item : center.items()) {
            result.push_back(item.title);
        }
        return result;
    }
};

TEST_F(JoinedNoticesTest, ShowsTheCardsOfOneAppAsItsNewestAndSaysHowOften) {
    show("zoom 1", joinedApp("zoom"));
    show("surf 1", joinedApp("surf"));
    show("zoom 2", joinedApp("zoom"));
    show("a stop");
    show("a stop");
    show("zoom 3", joinedApp("zoom"));
    EXPECT_THAT(lines(), ElementsAre("surf 1, Just now", "a stop, Just now", "a stop, Just now",
                                     "zoom 3, Just now · 3 times"));
    EXPECT_EQ(center.items().size(), 6U) << "the list has each alone";
}

TEST_F(JoinedNoticesTest, WhoeverCannotBeNamedIsOneUnknownAppToAPerson) {
    show("camera", joinedUnnamed("1234"));
    show("named", joinedApp("1234"));
    show("microphone", joinedUnnamed("5678"));
    show("somebody", AppIdentity::unknown());
    EXPECT_THAT(lines(), ElementsAre("named, Just now", "somebody, Just now · 3 times"));
}

TEST_F(JoinedNoticesTest, IsAsStrongAsTheStrongestOfThem) {
    auto strong = card("camera", joinedApp("zoom"));
    strong.isStrong = true;
    center.show(strong);
    show("microphone", joinedApp("zoom"));
    ASSERT_EQ(joined.items().size(), 1U);
    EXPECT_TRUE(joined.items()[0].isStrong);
    EXPECT_EQ(joined.items()[0].title, "microphone");
}

TEST_F(JoinedNoticesTest, GoesBackToAnOlderOneWhenTheNewestGoes) {
    show("zoom 1", joinedApp("zoom"));
    auto passing = card("zoom 2", joinedApp("zoom"));
    passing.autoHideAfter = 8;
    center.show(passing);
    EXPECT_EQ(joined.items()[0].older.size(), 1U);
    time.advanceBy(8);
    EXPECT_THAT(lines(), ElementsAre("zoom 1, Just now"));
    EXPECT_THAT(joined.items()[0].older, IsEmpty());
}

TEST_F(JoinedNoticesTest, AButtonActsForAllOfThem) {
    show("zoom 1", joinedApp("zoom"));
    show("surf 1", joinedApp("surf"));
    auto other = card("zoom 2", joinedApp("zoom"));
    other.buttons.pop_back();
    center.show(other);
    const auto newest = show("zoom 3", joinedApp("zoom"));
    changes = 0;
    EXPECT_TRUE(joined.press(newest.id, newest.buttons[1].id));
    EXPECT_THAT(done, ElementsAre("Trust zoom 3", "Trust zoom 1"));
    EXPECT_THAT(titles(), ElementsAre("surf 1")) << "one without that button was answered, too";
    EXPECT_EQ(changes, 1) << "drawn anew once";
}

TEST_F(JoinedNoticesTest, AButtonMayHaveAWayOfItsOwnForAll) {
    const auto first = show("zoom 1", joinedApp("zoom"));
    auto newest = card("zoom 2", joinedApp("zoom"));
    std::vector<Uuid> together;
    newest.buttons[0].actionTogether = [&](const std::vector<Uuid>& cards) {
        together = cards;
    };
    center.show(newest);
    EXPECT_TRUE(joined.press(newest.id, newest.buttons[0].id));
    EXPECT_THAT(together, ElementsAre(newest.id, first.id));
    EXPECT_THAT(done, IsEmpty());
    center.dismiss(first.id);
    EXPECT_TRUE(joined.press(newest.id, newest.buttons[0].id));
    EXPECT_THAT(done, ElementsAre("Stop zoom 2")) << "alone it is pressed as ever";
}

TEST_F(JoinedNoticesTest, PressesNothingThatIsNotThere) {
    const auto first = show("zoom 1", joinedApp("zoom"));
    const auto newest = show("zoom 2", joinedApp("zoom"));
    EXPECT_FALSE(joined.press(newest.id, Uuid::random()));
    EXPECT_FALSE(joined.press(newest.id, first.buttons[0].id));
    EXPECT_FALSE(joined.press(Uuid::random(), newest.buttons[0].id));
    EXPECT_EQ(center.items().size(), 2U);
}

TEST_F(JoinedNoticesTest, TheCrossClosesAllOfThem) {
    int closed = 0;
    for (int number = 0; number < 3; ++number) {
        auto each = card("zoom", joinedApp("zoom"));
        each.onClose = [&] {
            ++closed;
        };
        center.show(each);
    }
    show("surf", joinedApp("surf"));
    changes = 0;
    joined.close(joined.items()[0].id);
    EXPECT_EQ(closed, 3);
    EXPECT_THAT(titles(), ElementsAre("surf"));
    EXPECT_EQ(changes, 1);
    joined.close(Uuid::random());
    EXPECT_EQ(changes, 1);
}

TEST_F(JoinedNoticesTest, SaysTheTimeOfWhatHasStoodForAMinute) {
    const auto hour = words().shortTime(time.now());
    show("zoom 1", joinedApp("zoom"));
    show("surf 1", joinedApp("surf"));
    time.advanceBy(30);
    show("zoom 2", joinedApp("zoom"));
    changes = 0;
    time.advanceBy(30);
    EXPECT_THAT(lines(), ElementsAre("surf 1, " + hour, "zoom 2, Just now · 2 times"));
    EXPECT_GT(changes, 0);
    EXPECT_EQ(center.items()[0].timeText, "Just now") << "the list stays as it was";
    const auto later = words().shortTime(time.now() - 30);
    time.advanceBy(30);
    EXPECT_THAT(lines(), ElementsAre("surf 1, " + hour, "zoom 2, " + later + " · 2 times"));
}

} // namespace
} // namespace velmoran
