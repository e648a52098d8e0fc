#include "system/linux/pipewire/UseConfirmation.h"
#include "system/scripted/ScriptedTime.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

struct UseConfirmationTest : ::testing::Test {
    ScriptedTime time;
    int confirmed = 0;
    UseConfirmation confirmation{time, 0.02, [this] {
                                     ++confirmed;
                                 }};
    const UseConfirmation::Use use{7, true};

    bool refresh(bool atOnce = false) {
        confirmation.begin();
        const bool counts = confirmation.counts(use, atOnce);
        confirmation.end();
        return counts;
    }
    void refreshWithoutUse() {
        confirmation.begin();
        confirmation.end();
    }
};

TEST_F(UseConfirmationTest, CountsWhatHasLasted) {
    EXPECT_FALSE(refresh());
    time.advanceTo(0.019);
    EXPECT_FALSE(refresh());
    EXPECT_EQ(confirmed, 0);
    time.advanceTo(0.02);
    EXPECT_EQ(confirmed, 1);
    EXPECT_TRUE(refresh());
}

TEST_F(UseConfirmationTest, NeverCountsWhatWasThereForAMoment) {
    EXPECT_FALSE(refresh());
    time.advanceTo(0.004);
    refreshWithoutUse();
    time.advanceTo(1);
    EXPECT_EQ(confirmed, 0);
}

TEST_F(UseConfirmationTest, TellsWhatWasCutShortFromAFalseStart) {
    EXPECT_FALSE(refresh());
    time.advanceTo(0.005);
    confirmation.begin();
    EXPECT_TRUE(confirmation.end().empty());
    EXPECT_FALSE(refresh());
    time.advanceTo(0.012);
    confirmation.begin();
    EXPECT_EQ(confirmation.end(), std::vector{use});
    confirmation.begin();
    EXPECT_TRUE(confirmation.end().empty()) << "only once";
    EXPECT_FALSE(refresh());
    time.advanceTo(0.04);
    EXPECT_TRUE(refresh());
    confirmation.begin();
    EXPECT_TRUE(confirmation.end().empty()) << "it has counted";
}

TEST_F(UseConfirmationTest, BeginsAnewWithEachUse) {
    EXPECT_FALSE(refresh());
    time.advanceTo(0.015);
    refreshWithoutUse();
    EXPECT_FALSE(refresh());
    time.advanceTo(0.03);
    EXPECT_FALSE(refresh());
    time.advanceTo(0.035);
    EXPECT_TRUE(refresh());
    refreshWithoutUse();
    EXPECT_FALSE(refresh());
}

TEST_F(UseConfirmationTest, CountsAtOnceWhatIsSure) {
    EXPECT_TRUE(refresh(true));
    EXPECT_TRUE(refresh(false)) << "it was sure when it came";
    time.advanceTo(1);
    EXPECT_EQ(confirmed, 0);
}

TEST_F(UseConfirmationTest, TellsTheDirectionsOfAClientApart) {
    confirmation.begin();
    EXPECT_TRUE(confirmation.counts({7, false}, true));
    EXPECT_FALSE(confirmation.counts({7, true}, false));
    EXPECT_FALSE(confirmation.counts({8, true}, false));
    confirmation.end();
    time.advanceTo(0.02);
    EXPECT_EQ(confirmed, 2);
}

} // namespace
} // namespace velmoran
