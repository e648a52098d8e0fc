#include "core/away/AwayReportText.h"

#include "core/away/AwayWatch.h"

#include <gtest/gtest.h>
#include <string>

namespace velmoran {
namespace {

using What = AwayEventKind;

struct AwayReportTextTest : ::testing::Test {
    AwayReportText text;
    AwayWatch watch;

    void SetUp() override { watch.begin({0.5}, true); }
    void record(What kind, double time, const std::optional<std::string>& detail = {}) {
        ASSERT_TRUE(watch.record(kind, detail, {time}));
    }
    void expectTheReport() { EXPECT_EQ(text.of(*watch.current), encode(*watch.current)); }
};

TEST_F(AwayReportTextTest, IsThatOfTheReportAsItGrows) {
    expectTheReport();
    record(What::keyboardUsed, 1);
    expectTheReport();
    expectTheReport();
    record(What::devicePluggedIn, 2.25, "\"events\":[");
    record(What::devicePluggedIn, 3, "not \xff UTF-8 \n \u202e");
    expectTheReport();
    watch.noteSleep();
    expectTheReport();
    record(What::lidMoved, 4, "12 47");
    expectTheReport();
    EXPECT_EQ(decode<AwayReport>(text.of(*watch.current)).events.size(), 4U);
}

TEST_F(AwayReportTextTest, IsThatOfAReportThatHasEnded) {
    record(What::lidClosed, 1);
    record(What::keyboardUsed, 95);
    expectTheReport();
    const auto report = watch.finish({100}, true);
    ASSERT_FALSE(report->ownReturn.empty());
    EXPECT_EQ(text.of(*report), encode(*report));
}

TEST_F(AwayReportTextTest, IsThatOfAnotherReport) {
    record(What::lidClosed, 1);
    expectTheReport();
    const auto first = watch.finish({100}, true);
    watch.begin({200}, true);
    expectTheReport();
    record(What::lidOpened, 201);
    expectTheReport();
    auto cutShort = *first;
    cutShort.end = {};
    EXPECT_EQ(text.of(cutShort), encode(cutShort));
    expectTheReport();
}

TEST_F(AwayReportTextTest, IsThatOfAReportWithOtherEventsThanBefore) {
    record(What::lidClosed, 1);
    record(What::lidOpened, 2);
    expectTheReport();
    watch.current->events.pop_back();
    expectTheReport();
    watch.current->events.clear();
    expectTheReport();
    record(What::powerRemoved, 3);
    record(What::powerConnected, 4);
    expectTheReport();
    watch.current->events.back().time = {5};
    expectTheReport();
}

} // namespace
} // namespace velmoran
