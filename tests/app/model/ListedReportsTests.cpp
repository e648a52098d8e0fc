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
    EXPECT_EQ(*listed.update(texts, {}), std::vector{full});
    EXPECT_EQ(*listed.update(texts, cutShort.id), (std::vector{full, cutShort}));
    EXPECT_EQ(*listed.update(texts, ended.id), (std::vector{full, ended}));
}

TEST_F(ListedReportsTest, ListTheRunningReportThoughItIsEmpty) {
    auto running = reportAt(100, 0);
    running.end = {};
    EXPECT_EQ(*listed.update(payloads({encode(running)}), running.id), std::vector{running});
    EXPECT_TRUE(listed.update(payloads({encode(running)}), {})->empty());
}

TEST_F(ListedReportsTest, AreTheSameListIfNothingHasChanged) {
    const auto first = reportAt(200, 1);
    const auto second = reportAt(100, 2);
    EXPECT_TRUE(listed.update(payloads({}), {})->empty());
    const auto list = listed.update(payloads({encode(first), encode(second)}), {});
    EXPECT_EQ(*list, (std::vector{first, second}));
    EXPECT_EQ(listed.update(payloads({encode(first), encode(second)}), {}), list);
    EXPECT_EQ(listed.update(payloads({encode(first), encode(second)}), Uuid::random()), list);
    EXPECT_EQ(listed.update(payloads({encode(first), "x", encode(second)}), {}), list);
}

TEST_F(ListedReportsTest, FollowWhatComesAndGoesAndGrows) {
    const auto old = reportAt(100, 1);
    auto growing = reportAt(200, 1);
    EXPECT_EQ(*listed.update(payloads({encode(growing), encode(old)}), {}),
              (std::vector{growing, old}));
    growing.events.push_back(growing.events.front());
    const auto newest = reportAt(300, 1);
    EXPECT_EQ(*listed.update(payloads({encode(newest), encode(growing), encode(old)}), {}),
              (std::vector{newest, growing, old}));
    EXPECT_EQ(*listed.update(payloads({encode(growing)}), {}), std::vector{growing});
    EXPECT_TRUE(listed.update(payloads({}), {})->empty());
}

TEST_F(ListedReportsTest, HoldTwoEqualTextsTwice) {
    const auto report = reportAt(100, 1);
    const auto texts = payloads({encode(report), encode(report)});
    EXPECT_EQ(listed.update(texts, {})->size(), 2U);
    EXPECT_EQ(listed.update(payloads({encode(report), encode(report)}), {})->size(), 2U);
}

} // namespace
} // namespace velmoran
