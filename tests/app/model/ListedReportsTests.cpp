#include "app/model/ListedReports.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace velmoran {
namespace {

struct ListedReportsTest : ::testing::Test {
    ListedReports listed;

    static AwayReport reportAt(double start, int events) {
        AwayReport report{.id = Uuid::random(),
                          .start = {start},
                          .end = Timestamp{start + 100},
                          .events = {},
                          .slept = false,
                          .ownReturn = {}};
        for (int i = 0; i < events; ++i) {
            report.events.push_back({.id = Uuid::random(),
                                     .kind = AwayEventKind::lidClosed,
                                     .time = {start + 10.0 * i},
                                     .detail = {}});
        }
        return report;
    }
    static ListedReports::Payloads payloads(const std::vector<std::string>& texts) {
        return std::make_shared<const std::vector<std::string>>(texts);
    }
};

TEST_F(ListedReportsTest, LeaveOutWhatIsEmptyOrNeverEnded) {
    const auto full = reportAt(300, 1);
    auto ended = reportAt(200, 0);
    ended.ownReturn = {full.events.front()};
    auto cutShort = reportAt(100, 2);
    cutShort.end = {};
    const auto texts = payloads({encode(full), encode(ended), "{", encode(cutShort)});
    EXPECT_EQ(*listed.update(texts, nullptr), std::vector{full});
    EXPECT_EQ(*listed.update(texts, &cutShort), (std::vector{full, cutShort}));
    EXPECT_EQ(*listed.update(texts, &ended), (std::vector{full, ended}));
}

TEST_F(ListedReportsTest, ListTheRunningReportThoughItIsEmpty) {
    auto running = reportAt(100, 0);
    running.end = {};
    EXPECT_EQ(*listed.update(payloads({encode(running)}), &running), std::vector{running});
    EXPECT_TRUE(listed.update(payloads({encode(running)}), nullptr)->empty());
}

TEST_F(ListedReportsTest, AreTheSameListIfNothingHasChanged) {
    const auto first = reportAt(200, 1);
    const auto second = reportAt(100, 2);
    EXPECT_TRUE(listed.update(payloads({}), nullptr)->empty());
    const auto list = listed.update(payloads({encode(first), encode(second)}), nullptr);
    EXPECT_EQ(*list, (std::vector{first, second}));
    EXPECT_EQ(listed.update(payloads({encode(first), encode(second)}), nullptr), list);
    const auto other = reportAt(300, 1);
    EXPECT_EQ(listed.update(payloads({encode(first), encode(second)}), &other), list);
    EXPECT_EQ(listed.update(payloads({encode(first), "x", encode(second)}), nullptr), list);
}

TEST_F(ListedReportsTest, FollowWhatComesAndGoesAndGrows) {
    const auto old = reportAt(100, 1);
    auto growing = reportAt(200, 1);
    EXPECT_EQ(*listed.update(payloads({encode(growing), encode(old)}), nullptr),
              (std::vector{growing, old}));
    growing.events.push_back(growing.events.front());
    const auto newest = reportAt(300, 1);
    EXPECT_EQ(*listed.update(payloads({encode(newest), encode(growing), encode(old)}), nullptr),
              (std::vector{newest, growing, old}));
    EXPECT_EQ(*listed.update(payloads({encode(growing)}), nullptr), std::vector{growing});
    EXPECT_TRUE(listed.update(payloads({}), nullptr)->empty());
}

TEST_F(ListedReportsTest, DoNotReadTheTextOfWhatIsBeingWritten) {
    const auto old = reportAt(100, 1);
    auto running = reportAt(200, 1);
    running.end = {};
    const std::string unreadable = "no JSON";
    EXPECT_EQ(*listed.update(payloads({unreadable, encode(old)}), &running, unreadable),
              (std::vector{running, old}));
    // One that it isn't any more is read.
    EXPECT_EQ(*listed.update(payloads({encode(running), encode(old)}), &running, unreadable),
              (std::vector{running, old}));
    EXPECT_EQ(*listed.update(payloads({unreadable, encode(old)}), nullptr, ""), std::vector{old});
    EXPECT_EQ(*listed.update(payloads({"", encode(old)}), nullptr, ""), std::vector{old});
}

TEST_F(ListedReportsTest, HoldTwoEqualTextsTwice) {
    const auto report = reportAt(100, 1);
    const auto texts = payloads({encode(report), encode(report)});
    EXPECT_EQ(listed.update(texts, nullptr)->size(), 2U);
    EXPECT_EQ(listed.update(payloads({encode(report), encode(report)}), nullptr)->size(), 2U);
}

} // namespace
} // namespace velmoran
