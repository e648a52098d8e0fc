#include "app/notices/NoticeCenter.h"

#include "system/scripted/ScriptedTime.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace velmoran {
namespace {

struct NoticeCenterTest : ::testing::Test {
    ScriptedTime time;
    NoticeCenter center{time};
    std::vector<std::string> hooks;
    Subscription panel = center.onChange.subscribe([this] { hooks.push_back("panel"); });
    Subscription model = center.onChange.subscribe([this] { hooks.push_back("model"); });

    static NoticeItem item(const std::string& title, std::optional<Seconds> hideAfter = {}) {
        NoticeItem made;
        made.id = Uuid::random();
        made.title = title;
        made.autoHideAfter = hideAfter;
        return made;
    }

    std::vector<std::string> titles() const {
        std::vector<std::string> result;
        for (const auto& each : center.items()) {
            result.push_back(each.title);
        }
        return result;
    }
};

using Titles = std::vector<std::string>;

TEST_F(NoticeCenterTest, TellsThemInTheOrderInWhichTheyCame) {
    center.show(item("A"));
    EXPECT_EQ(hooks, (Titles{"panel", "model"}));
}

TEST_F(NoticeCenterTest, ReplacesAKnownCardWhereItStands) {
    auto first = item("A");
    center.show(first);
    center.show(item("B"));
    first.title = "A again";
    center.show(first);
    EXPECT_EQ(titles(), (Titles{"A again", "B"}));
}

TEST_F(NoticeCenterTest, HidesACardAfterItsTime) {
    center.show(item("A", 8.0));
    time.advanceTo(7.999);
    EXPECT_EQ(titles(), Titles{"A"});
    hooks.clear();
    time.advanceTo(8);
    EXPECT_TRUE(titles().empty());
    EXPECT_EQ(hooks, (Titles{"panel", "model"}));
}

TEST_F(NoticeCenterTest, StartsTheHidingTimeAnewWhenACardIsReplaced) {
    const auto card = item("A", 8.0);
    center.show(card);
    time.advanceTo(5);
    center.show(card);
    time.advanceTo(12.9);
    EXPECT_EQ(titles(), Titles{"A"});
    time.advanceTo(13);
    EXPECT_TRUE(titles().empty());
}

TEST_F(NoticeCenterTest, KeepsACardThatIsReplacedByOneThatStays) {
    auto card = item("A", 8.0);
    center.show(card);
    card.autoHideAfter.reset();
    center.show(card);
    time.advanceTo(1000);
    EXPECT_EQ(titles(), Titles{"A"});
}

TEST_F(NoticeCenterTest, CallsNoHookForAnUnknownCard) {
    center.dismiss(Uuid::random());
    center.close(Uuid::random());
    EXPECT_FALSE(center.press(Uuid::random(), Uuid::random()));
    EXPECT_TRUE(hooks.empty());
}

TEST_F(NoticeCenterTest, CancelsTheHidingTimeOfADismissedCard) {
    const auto card = item("A", 8.0);
    center.show(card);
    center.dismiss(card.id);
    hooks.clear();
    time.advanceTo(100);
    EXPECT_TRUE(hooks.empty());
}

TEST_F(NoticeCenterTest, RunsOnCloseForTheUsersCloseAlone) {
    int closed = 0;
    auto card = item("A", 8.0);
    card.onClose = [&] {
        ++closed;
        EXPECT_TRUE(center.items().empty()) << "the card is gone by then";
    };
    card.buttons.push_back({.id = Uuid::random(), .title = "OK", .prominent = false, .action = [&] {
                                center.dismiss(card.id);
                            }});
    center.show(card);
    time.advanceTo(8);
    EXPECT_EQ(closed, 0);
    center.show(card);
    EXPECT_TRUE(center.press(card.id, card.buttons.front().id));
    EXPECT_EQ(closed, 0);
    center.show(card);
    center.close(card.id);
    EXPECT_EQ(closed, 1);
}

TEST_F(NoticeCenterTest, AnswersWithACardById) {
    const auto card = item("A");
    center.show(card);
    ASSERT_TRUE(center.item(card.id));
    EXPECT_EQ(center.item(card.id)->title, "A");
    EXPECT_FALSE(center.item(Uuid::random()));
}

TEST_F(NoticeCenterTest, WaitsWithAStrongWarningWhileAStrongCardIsShown) {
    center.show(item("A"));
    EXPECT_FALSE(center.strongWarningWaiting());
    auto strong = item("B");
    strong.isStrong = true;
    center.show(strong);
    EXPECT_TRUE(center.strongWarningWaiting());
    center.dismiss(strong.id);
    EXPECT_FALSE(center.strongWarningWaiting());
}

TEST_F(NoticeCenterTest, SaysAfterAMinuteWhenItWas) {
    int aged = 0;
    const auto ageing = center.onAged.subscribe([&] { ++aged; });
    const auto came = time.now();
    auto plain = item("A");
    auto dated = item("B");
    dated.since = came - 5;
    center.show(plain);
    center.show(dated);
    time.advanceTo(59.9);
    plain.title = "A, and more";
    center.show(plain);
    EXPECT_EQ(center.agedSince(plain.id), std::nullopt);
    hooks.clear();
    time.advanceTo(60);
    EXPECT_EQ(center.agedSince(plain.id), came) << "it tells of then, whatever else it says now";
    EXPECT_EQ(center.agedSince(dated.id), came - 5);
    EXPECT_EQ(aged, 2);
    EXPECT_TRUE(hooks.empty()) << "the cards are what they were";
    center.dismiss(plain.id);
    EXPECT_EQ(center.agedSince(plain.id), std::nullopt);
    center.show(plain);
    EXPECT_EQ(center.agedSince(plain.id), std::nullopt) << "it has come anew";
    center.dismiss(plain.id);
    time.advanceBy(100);
    EXPECT_EQ(aged, 2);
}

TEST(NoticeCenter, CountsTheTimeAsleepOfACardThatGoesByItself) {
    struct AwakeAndAsleep final : Scheduler {
        ScriptedTime awake;
        ScriptedTime both;
        void post(std::function<void()> action) override { awake.post(std::move(action)); }
        Subscription after(Seconds delay, std::function<void()> action) override {
            return awake.after(delay, std::move(action));
        }
        Subscription afterAwakeOrAsleep(Seconds delay, std::function<void()> action) override {
            return both.after(delay, std::move(action));
        }
        Subscription every(Seconds interval, std::function<void()> action) override {
            return awake.every(interval, std::move(action));
        }
    } time;
    NoticeCenter center(time, time.awake);
    NoticeItem item;
    item.id = Uuid::random();
    item.autoHideAfter = 8;
    center.show(item);
    time.awake.advanceBy(1);
    time.both.advanceBy(9);
    EXPECT_TRUE(center.items().empty());
}

} // namespace
} // namespace velmoran
