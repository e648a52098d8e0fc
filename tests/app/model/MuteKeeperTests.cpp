// The keeper alone, against microphones whose answers the test gives.
#include "app/model/MemorySettings.h"
#include "app/model/MuteKeeper.h"
#include "system/scripted/ScriptedTime.h"

#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace velmoran {
namespace {

struct FakeMicrophones final : Microphones {
    struct Call {
        bool muted = false;
        Answer done;
        Answer late;
    };
    std::vector<Call> calls;
    std::function<void()> arrived;
    Event<> unmuted;
    std::vector<std::pair<std::optional<MutedPlaces>, bool>> recalled;
    Event<const std::optional<MutedPlaces>&> mutedHere;

    void setMuted(bool muted, Answer done, Answer late) override {
        calls.push_back({muted, std::move(done), std::move(late)});
    }
    void recall(const std::optional<MutedPlaces>& places, bool stands) override {
        recalled.emplace_back(places, stands);
    }
    Subscription
    onMutedHere(std::function<void(const std::optional<MutedPlaces>&)> callback) override {
        return mutedHere.subscribe(std::move(callback));
    }
    Subscription onArrival(std::function<void()> callback) override {
        arrived = std::move(callback);
        return Subscription([this] { arrived = nullptr; });
    }
    Subscription onUnmuted(std::function<void()> callback) override {
        return unmuted.subscribe(std::move(callback));
    }
};

MuteAnswer muted(int count) {
    MuteAnswer answer;
    answer.mutedCount = count;
    return answer;
}

const MutedPlaces headsetPlaces = {{.name = "usb-headset", .port = "analog-input"}};
const MutedPlaces builtInPlaces = {{.name = "pci-mic", .port = ""}};

MuteAnswer silence() {
    MuteAnswer answer;
    answer.serverAnswered = false;
    return answer;
}

struct MuteKeeperTest : ::testing::Test {
    FakeMicrophones microphones;
    ScriptedTime time;
    ForwardClock clock{time};
    MemorySettings stored;
    SettingsStore settings{stored};
    NoticeCenter notices{time};
    std::vector<std::pair<bool, int>> reports; ///< how many were muted
    std::vector<int> outcomes;                 ///< of stops' mutes
    std::unique_ptr<MuteKeeper> keeper;

    void SetUp() override {
        keeper = std::make_unique<MuteKeeper>(
            MuteKeeper::Seams{microphones, clock, time, settings, notices},
            [this](bool on, const MuteAnswer& answer) {
                reports.emplace_back(on, answer.mutedCount);
            });
    }

    void mute() {
        keeper->mute(
            [this](const MuteOutcome& outcome) { outcomes.push_back(outcome.mutedCount); });
    }
    void answer(std::size_t call, const MuteAnswer& answer) {
        microphones.calls.at(call).done(answer);
        time.runPosted();
    }
    void answerLate(std::size_t call, const MuteAnswer& answer) {
        microphones.calls.at(call).late(answer);
        time.runPosted();
    }
    void plugIn() {
        microphones.arrived();
        time.runPosted();
    }
    void othersUnmute() {
        microphones.unmuted();
        time.runPosted();
    }
    Uuid card() {
        NoticeItem item;
        item.id = Uuid::random();
        notices.show(item);
        return item.id;
    }
    StopResult kept(bool isMuted) {
        StopResult result;
        result.microphoneMuted = isMuted;
        return keeper->withCurrentMute(result);
    }
};

TEST_F(MuteKeeperTest, AnswersAStopAndRemembersTheMute) {
    mute();
    EXPECT_TRUE(outcomes.empty());
    answer(0, muted(2));
    EXPECT_EQ(outcomes, (std::vector<int>{2}));
    EXPECT_EQ(reports, (std::vector<std::pair<bool, int>>{{true, 2}}));
    EXPECT_TRUE(*settings.microphoneMuted);
}

TEST_F(MuteKeeperTest, RepeatsAMuteThatStandsAndTellsNothingOfThat) {
    mute();
    answer(0, muted(1));
    EXPECT_EQ(kept(true).microphoneMuted, true);
    EXPECT_EQ(microphones.calls.size(), 2U) << "at once";
    time.advanceBy(MuteKeeper::interval);
    EXPECT_EQ(microphones.calls.size(), 3U);
    answer(2, muted(1));
    EXPECT_EQ(reports.size(), 1U);
    keeper->unmute();
    EXPECT_FALSE(microphones.calls.back().muted);
    time.advanceBy(60);
    EXPECT_EQ(microphones.calls.size(), 4U);
}

TEST_F(MuteKeeperTest, RemembersNoMuteThatWasUndoneBeforeItsAnswer) {
    mute();
    keeper->unmute();
    answer(0, muted(1));
    EXPECT_FALSE(*settings.microphoneMuted);
    EXPECT_EQ(outcomes, (std::vector<int>{1}));
    EXPECT_EQ(kept(true).microphoneMuted, std::nullopt) << "there is none to tell of";
    EXPECT_EQ(microphones.calls.size(), 2U);
}

TEST_F(MuteKeeperTest, TakesUpAMuteThatTookEffectLateAndSetsItsCardRight) {
    mute();
    answer(0, silence());
    EXPECT_FALSE(*settings.microphoneMuted);
    const auto standing = card();
    const auto gone = card();
    int right = 0;
    keeper->correctLater(standing,
                         [&](const MuteOutcome& outcome) { right += outcome.mutedCount; });
    keeper->correctLater(gone, [&](const MuteOutcome&) { ADD_FAILURE() << "it has gone"; });
    notices.dismiss(gone);
    answerLate(0, muted(3));
    EXPECT_EQ(right, 3);
    EXPECT_TRUE(*settings.microphoneMuted);
    EXPECT_EQ(reports, (std::vector<std::pair<bool, int>>{{true, 0}, {true, 3}}));
    EXPECT_EQ(kept(false).microphoneMuted, true) << "a stop that still closes tells it as it is";
    answerLate(0, muted(3));
    EXPECT_EQ(right, 3) << "once";
}

TEST_F(MuteKeeperTest, SetsNothingRightWhereTheServerHasAnswered) {
    mute();
    answer(0, muted(0));
    keeper->correctLater(card(), [](const MuteOutcome&) { ADD_FAILURE(); });
    mute();
    answer(1, muted(1));
}

TEST_F(MuteKeeperTest, ALateMuteThatWasUndoneIsNone) {
    mute();
    answer(0, silence());
    keeper->unmute();
    answerLate(0, muted(1));
    EXPECT_FALSE(*settings.microphoneMuted);
    EXPECT_EQ(reports.size(), 1U);
}

TEST_F(MuteKeeperTest, MutesWhatArrivesUnderAMute) {
    keeper->start();
    plugIn();
    EXPECT_TRUE(microphones.calls.empty());
    mute();
    plugIn();
    EXPECT_EQ(microphones.calls.size(), 1U) << "the answer is due";
    answer(0, muted(1));
    EXPECT_EQ(microphones.calls.size(), 2U);
    plugIn();
    EXPECT_EQ(microphones.calls.size(), 3U);
    EXPECT_TRUE(microphones.calls.back().muted);
}

TEST_F(MuteKeeperTest, KeepsUpAtTheStartWhatTheSettingsSay) {
    settings.microphoneMuted.set(true);
    keeper->start();
    ASSERT_EQ(microphones.calls.size(), 1U);
    answer(0, muted(1));
    EXPECT_EQ(reports, (std::vector<std::pair<bool, int>>{{true, 1}}));
    time.advanceBy(MuteKeeper::interval);
    EXPECT_EQ(microphones.calls.size(), 2U);
}

TEST_F(MuteKeeperTest, WarnsOnceWhenOthersUnmuteForTheThirdTimeWithinTenSeconds) {
    keeper->start();
    mute();
    answer(0, muted(1));
    for (int times = 0; times < 6; ++times) {
        EXPECT_EQ(notices.items().size(), times < 3 ? 0U : 1U) << times;
        othersUnmute();
        time.advanceBy(0.1);
    }
    const auto card = notices.items().at(0);
    EXPECT_EQ(card.title, "Another program keeps unmuting the microphone");
    notices.close(card.id);
    for (int times = 0; times < 6; ++times) {
        othersUnmute();
    }
    EXPECT_TRUE(notices.items().empty()) << "once for each mute that stands";
}

TEST_F(MuteKeeperTest, WarnsOfNoUnmutesThatAreRare) {
    keeper->start();
    mute();
    answer(0, muted(1));
    for (int times = 0; times < 6; ++times) {
        othersUnmute();
        time.advanceBy(5);
    }
    EXPECT_TRUE(notices.items().empty());
}

TEST_F(MuteKeeperTest, CountsNoOldUnmutesAfterTheClockWasSetBack) {
    keeper->start();
    mute();
    answer(0, muted(1));
    othersUnmute();
    othersUnmute();
    time.setClock(time.now() - 3600);
    EXPECT_GT(clock.now(), time.now()) << "read now, as others do all the time";
    time.advanceBy(MuteKeeper::warningSpan + 1);
    othersUnmute();
    EXPECT_TRUE(notices.items().empty());
    othersUnmute();
    othersUnmute();
    EXPECT_EQ(notices.items().size(), 1U);
}

TEST_F(MuteKeeperTest, UnmutesFromTheCardAndWarnsAgainUnderTheNextMute) {
    keeper->start();
    for (int mutes = 0; mutes < 2; ++mutes) {
        mute();
        answer(microphones.calls.size() - 1, muted(1));
        for (int times = 0; times < 3; ++times) {
            othersUnmute();
        }
        ASSERT_EQ(notices.items().size(), 1U);
        const auto card = notices.items().front();
        ASSERT_EQ(card.buttons.size(), 1U);
        EXPECT_EQ(card.buttons[0].title, "Unmute");
        notices.press(card.id, card.buttons[0].id);
        EXPECT_TRUE(notices.items().empty());
        EXPECT_FALSE(*settings.microphoneMuted);
        EXPECT_FALSE(microphones.calls.back().muted);
    }
}

TEST_F(MuteKeeperTest, TakesItsWarningAwayWithTheMute) {
    keeper->start();
    mute();
    answer(0, muted(1));
    for (int times = 0; times < 3; ++times) {
        othersUnmute();
    }
    EXPECT_EQ(notices.items().size(), 1U);
    keeper->unmute();
    EXPECT_TRUE(notices.items().empty());
    othersUnmute();
    EXPECT_TRUE(notices.items().empty());
}

using Recalled = std::vector<std::pair<std::optional<MutedPlaces>, bool>>;

TEST_F(MuteKeeperTest, KeepsWhatIsMutedHereOverRestarts) {
    keeper->start();
    EXPECT_EQ(microphones.recalled, (Recalled{{MutedPlaces(), false}}));
    EXPECT_TRUE(microphones.calls.empty()) << "there is nothing to take back";
    mute();
    answer(0, muted(1));
    microphones.mutedHere(headsetPlaces);
    time.runPosted();
    SettingsStore next(stored);
    EXPECT_EQ(*next.mutedByVelmoran, headsetPlaces);
    microphones.recalled.clear();
    MuteKeeper after({microphones, clock, time, next, notices}, [](bool, const MuteAnswer&) {});
    after.start();
    EXPECT_EQ(microphones.recalled, (Recalled{{headsetPlaces, true}}));
}

TEST_F(MuteKeeperTest, TakesAllForMutedHereWhereAMuteStandsAndNobodyKnowsOfWhat) {
    settings.microphoneMuted.set(true);
    keeper->start();
    EXPECT_EQ(microphones.recalled, (Recalled{{std::nullopt, true}}));
    stored.setBytes("mutedByVelmoran", "[{\"name\"");
    SettingsStore unreadable(stored);
    MuteKeeper after({microphones, clock, time, unreadable, notices},
                     [](bool, const MuteAnswer&) {});
    after.start();
    EXPECT_EQ(microphones.recalled.back(), (Recalled::value_type{std::nullopt, true}));
    unreadable.microphoneMuted.set(false);
    MuteKeeper without({microphones, clock, time, unreadable, notices},
                       [](bool, const MuteAnswer&) {});
    without.start();
    EXPECT_EQ(microphones.recalled.back(), (Recalled::value_type{MutedPlaces(), false}));
}

TEST_F(MuteKeeperTest, GivesBackAtTheStartWhatAnUnmuteCouldNotReach) {
    settings.mutedByVelmoran.set(headsetPlaces);
    keeper->start();
    EXPECT_EQ(microphones.recalled, (Recalled{{headsetPlaces, false}}));
    ASSERT_EQ(microphones.calls.size(), 1U);
    EXPECT_FALSE(microphones.calls[0].muted);
    answer(0, muted(0));
    EXPECT_TRUE(reports.empty());
}

TEST_F(MuteKeeperTest, UnmutesWithTheMuteWhatAnotherProgramHasMutedUnderIt) {
    keeper->start();
    mute();
    answer(0, muted(1));
    microphones.mutedHere(headsetPlaces);
    time.runPosted();
    kept(true);
    microphones.recalled.clear();
    time.advanceBy(MuteKeeper::interval);
    EXPECT_TRUE(microphones.recalled.empty()) << "it is our own list";
    SettingsStore other(stored);
    other.mutedByVelmoran.set(builtInPlaces);
    time.advanceBy(MuteKeeper::interval);
    EXPECT_EQ(microphones.recalled, (Recalled{{builtInPlaces, true}}));
}

TEST_F(MuteKeeperTest, AdoptsAMuteWithWhatItHasMuted) {
    keeper->start();
    SettingsStore other(stored);
    other.microphoneMuted.set(true);
    other.mutedByVelmoran.set(builtInPlaces);
    keeper->adopt();
    EXPECT_EQ(microphones.recalled.back(), (Recalled::value_type{builtInPlaces, true}));
    EXPECT_TRUE(microphones.calls.back().muted);
}

TEST_F(MuteKeeperTest, SaysThatWhatIsMutedWasSoBeforeToWhoeverUndoesAMute) {
    mute();
    answer(0, muted(1));
    keeper->unmute();
    auto nothing = muted(0);
    nothing.hadNothing = true;
    answer(1, nothing);
    ASSERT_EQ(notices.items().size(), 1U);
    EXPECT_EQ(notices.items()[0].title, "Nothing was unmuted");
    notices.dismiss(notices.items()[0].id);
    keeper->unmute();
    answer(2, nothing);
    EXPECT_TRUE(notices.items().empty()) << "no mute stood";
    mute();
    answer(3, muted(1));
    keeper->unmute();
    answer(4, muted(1));
    EXPECT_TRUE(notices.items().empty());
}

TEST_F(MuteKeeperTest, TellsNothingOnceItHasGone) {
    keeper->start();
    mute();
    const auto arrived = microphones.arrived;
    keeper.reset();
    EXPECT_FALSE(microphones.arrived);
    arrived();
    answer(0, muted(1));
    answerLate(0, muted(1));
    EXPECT_TRUE(reports.empty());
    EXPECT_TRUE(outcomes.empty());
    EXPECT_EQ(microphones.calls.size(), 1U);
}

} // namespace
} // namespace velmoran
