// The tab "Away watch" of the History window.
#include "app/contents/Reports.h"
#include "app/screens/HistoryFixture.h"
#include "core/text/Localizer.h"

#include <QScrollBar>

namespace velmoran {
namespace {

using testing::day;
using ::testing::ElementsAre;
using testing::eventAt;
using testing::HistoryFixture;
using testing::hour;
using ::testing::SizeIs;

struct AwayReportsViewTest : HistoryFixture {
    static AwayReport report(Timestamp start, int events) {
        AwayReport report;
        report.id = Uuid::random();
        report.start = start;
        report.end = start + 60;
        for (int index = 0; index < events; ++index) {
            report.events.push_back(eventAt(start + index));
        }
        return report;
    }
    void list(std::vector<AwayReport> reports) {
        model->awayReports.set(std::make_shared<const std::vector<AwayReport>>(std::move(reports)));
    }
    void openTab() {
        open();
        button(part("tabs"), "Away watch")->click();
        settle();
    }
    ItemList& lines() { return screen->away().lines().list(); }
    bool saysThatThereIsNone() { return !screen->away().lines().isVisible(); }
};

TEST_F(AwayReportsViewTest, SaysThatThereIsNoReportYet) {
    openTab();
    EXPECT_TRUE(saysThatThereIsNone());
    list({report(time.now() - 60, 1)});
    EXPECT_FALSE(saysThatThereIsNone());
    list({});
    EXPECT_TRUE(saysThatThereIsNone());
}

TEST_F(AwayReportsViewTest, ListsEachReportUnderItsDay) {
    launch();
    const auto older = report(time.now() - day, 2);
    auto running = report(time.now() - 120, 0);
    running.end.reset();
    list({running, older});
    openTab();
    EXPECT_THAT(namesIn(&lines()),
                ElementsAre("Today", "Nothing happened while you were away",
                            words().shortTime(running.start) + " to now", "Yesterday",
                            "While you were away",
                            "Away watch was on from " + words().shortTime(older.start) + " to " +
                                words().shortTime(*older.end) + ".",
                            words().shortTime(older.start) + ", Keyboard used",
                            words().shortTime(older.start + 1) + ", Keyboard used",
                            "The camera and microphone were not used."));
    EXPECT_TRUE(lines().isHeading(0));
    EXPECT_TRUE(lines().isHeading(3));
    EXPECT_FALSE(lines().isHeading(2));
}

TEST_F(AwayReportsViewTest, FollowsARunningReportAndKeepsItsPlace) {
    launch();
    auto running = report(time.now() - 120, 1);
    running.end.reset();
    const auto older = report(time.now() - day, 200);
    list({running, older});
    openTab();
    press(&lines(), Qt::Key_End);
    const auto current = *lines().current();
    const auto top = lines().frameOf(current).top();
    running.events.push_back(eventAt(time.now(), AwayEventKind::lidOpened));
    list({running, older});
    EXPECT_EQ(lines().current(), current + 1) << "one line has come above it";
    EXPECT_EQ(lines().frameOf(current + 1).top(), top) << "and nothing moves under the eye";
    EXPECT_THAT(namesIn(&lines()), SizeIs(static_cast<std::size_t>(lines().count())));
}

TEST_F(AwayReportsViewTest, HasABarWhileItsReportsNeedOne) {
    launch();
    openTab();
    const auto hasBarFor = [this](int events) {
        list({report(time.now() - 60, events)});
        settle();
        return lines().verticalScrollBar()->isVisible();
    };
    EXPECT_FALSE(hasBarFor(1));
    EXPECT_TRUE(hasBarFor(500));
    EXPECT_FALSE(hasBarFor(2));
}

TEST_F(AwayReportsViewTest, LooksOnlyWhileItIsShown) {
    launch();
    open();
    list({report(time.now() - 60, 1)});
    EXPECT_EQ(lines().count(), 0) << "the other tab is shown";
    button(part("tabs"), "Away watch")->click();
    settle();
    EXPECT_GT(lines().count(), 0);
    screen->hide();
    list({});
    EXPECT_GT(lines().count(), 0);
    screen->show();
    EXPECT_TRUE(saysThatThereIsNone());
}

TEST_F(AwayReportsViewTest, CallsTodayYesterdayAfterMidnight) {
    const auto kept = report(time.now(), 1);
    store->saveAwayReport(kept.id, kept.start, kept.end, kept);
    openTab();
    ASSERT_GT(lines().count(), 0);
    EXPECT_EQ(namesIn(&lines()).front(), "Today");
    time.advanceBy(day);
    settle();
    ASSERT_GT(lines().count(), 0);
    EXPECT_EQ(namesIn(&lines()).front(), "Yesterday");
}

} // namespace
} // namespace velmoran
