#include "system/linux/pipewire/UseConfirmation.h"
#include "system/scripted/ScriptedTime.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

struct UseConfirmationTest : ::testing::Test {
    using Ended = std::vector<UseConfirmation::Ended>;

    ScriptedTime time;
    int confirmed = 0;
    UseConfirmation confirmation{time, time, 0.02, [this] {
                                     ++confirmed;
                                 }};
    const UseConfirmation::Use use{7, true};

    bool refresh(bool atOnce = false) { return refresh(use, "app", atOnce); }
    bool refresh(const UseConfirmation::Use& one, const std::string& app, bool atOnce = false) {
        confirmation.begin();
        const bool counts = confirmation.counts(one, app, atOnce);
        confirmation.end();
        return counts;
    }
    Ended refreshWithoutUse() {
        confirmation.begin();
        return confirmation.end();
    }
    /// From the present on, for so long. Whether it counted at its end.
    bool spell(const UseConfirmation::Use& one, const std::string& app, Seconds length) {
        refresh(one, app);
        time.advanceBy(length);
        const bool counted = refresh(one, app);
        refreshWithoutUse();
        return counted;
    }
};

TEST_F(UseConfirmationTest, CountsWhatHasLasted) {
    EXPECT_FALSE(refresh());
    time.advanceTo(0.019);
    EXPECT_FALSE(refresh());
    EXPECT_EQ(confirmed, 0);
    time.advanceTo(0.021);
    EXPECT_EQ(confirmed, 1);
    EXPECT_TRUE(refresh());
    EXPECT_EQ(refreshWithoutUse(), Ended{}) << "it was no short one";
}

TEST_F(UseConfirmationTest, NeverCountsWhatWasThereForAMoment) {
    EXPECT_FALSE(refresh());
    time.advanceTo(0.004);
    EXPECT_EQ(refreshWithoutUse(), Ended{});
    time.advanceTo(1);
    EXPECT_EQ(confirmed, 0);
}

TEST_F(UseConfirmationTest, TellsWhatWasCutShortFromAFalseStart) {
    EXPECT_FALSE(refresh());
    time.advanceTo(0.007);
    EXPECT_EQ(refreshWithoutUse(), (Ended{{use, false}}));
    EXPECT_EQ(refreshWithoutUse(), Ended{}) << "only once";
}

TEST_F(UseConfirmationTest, AddsUpTheShortUsesOfAClient) {
    for (int number = 0; number < 4; ++number) {
        EXPECT_FALSE(spell(use, "app", 0.0045)) << number;
        time.advanceBy(0.0045);
    }
    EXPECT_EQ(confirmed, 0);
    EXPECT_FALSE(refresh());
    time.advanceBy(0.0021);
    EXPECT_EQ(confirmed, 1) << "20 ms in all";
    EXPECT_TRUE(refresh());
    EXPECT_EQ(refreshWithoutUse(), (Ended{{use, true}}));
    EXPECT_TRUE(refresh()) << "it goes on as it began";
}

TEST_F(UseConfirmationTest, AddsUpTheShortUsesOfAllClientsOfAnApp) {
    for (GraphSerial client = 1; client <= 3; ++client) {
        EXPECT_FALSE(spell({client, true}, "app", 0.006)) << client;
    }
    for (const bool isSame : {false, true}) {
        const UseConfirmation::Use one{isSame ? 6U : 5U, true};
        const std::string app = isSame ? "app" : "other";
        EXPECT_FALSE(refresh(one, app));
        time.advanceBy(0.0021);
        EXPECT_EQ(refresh(one, app), isSame);
    }
}

TEST_F(UseConfirmationTest, AddsUpNoOutputToInput) {
    EXPECT_FALSE(spell({7, false}, "app", 0.019));
    EXPECT_FALSE(spell({7, true}, "app", 0.004));
}

TEST_F(UseConfirmationTest, ForgetsFalseStartsThatAreFarApart) {
    for (GraphSerial client = 1; client <= 20; ++client) {
        EXPECT_FALSE(spell({client, true}, "app", 0.004)) << client;
        time.advanceBy(61);
    }
    EXPECT_EQ(confirmed, 0);
}

TEST_F(UseConfirmationTest, BeginsAnewAfterAUseThatWasNotShort) {
    EXPECT_FALSE(spell(use, "app", 0.015));
    EXPECT_TRUE(spell(use, "app", 0.03));
    EXPECT_FALSE(spell(use, "app", 0.015));
}

TEST_F(UseConfirmationTest, CountsAtOnceWhatIsSure) {
    EXPECT_TRUE(refresh(true));
    EXPECT_TRUE(refresh(false)) << "it was sure when it came";
    EXPECT_EQ(refreshWithoutUse(), Ended{});
    time.advanceTo(1);
    EXPECT_EQ(confirmed, 0);
}

TEST_F(UseConfirmationTest, TellsTheDirectionsOfAClientApart) {
    confirmation.begin();
    EXPECT_TRUE(confirmation.counts({7, false}, "app", true));
    EXPECT_FALSE(confirmation.counts({7, true}, "app", false));
    EXPECT_FALSE(confirmation.counts({8, true}, "other", false));
    confirmation.end();
    time.advanceTo(0.021);
    EXPECT_EQ(confirmed, 2);
}

} // namespace
} // namespace velmoran
