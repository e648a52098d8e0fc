#include "core/warnings/WarningPolicy.h"

#include "support/Samples.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

const AppIdentity caller = app("caller");

TrustList trustOf(std::optional<TrustKind> kind) {
    TrustList list;
    list.set(kind, caller, {Device::camera, Device::microphone});
    return list;
}

const std::optional<TrustKind> everyKind[] = {std::nullopt, TrustKind::trusted,
                                              TrustKind::alwaysWarn, TrustKind::trustedAlwaysWarn};

TEST(WarningPolicy, NeverWarnsOfTheSpeaker) {
    for (const auto& user : {caller, AppIdentity::unknown(), unidentified("1")}) {
        for (const auto kind : everyKind) {
            for (const bool awayWatchOn : {false, true}) {
                EXPECT_EQ(WarningPolicy::level(user, Device::speaker, trustOf(kind), awayWatchOn),
                          std::nullopt);
            }
        }
    }
}

TEST(WarningPolicy, WarnsStronglyOfAnAppThatCannotBeNamed) {
    for (const auto& user : {AppIdentity::unknown(), unidentified("1")}) {
        TrustList trust;
        trust.set(TrustKind::trusted, user, {Device::camera});
        for (const bool awayWatchOn : {false, true}) {
            EXPECT_EQ(WarningPolicy::level(user, Device::camera, trust, awayWatchOn),
                      WarningLevel::strong);
        }
    }
}

TEST(WarningPolicy, WarnsOfAnAppThatIsCalledAsWhoCannotBeNamedAsOfAnyOther) {
    for (const auto* id : {"unidentified", "unidentified:1"}) {
        EXPECT_EQ(WarningPolicy::level(app(id), Device::camera, {}, false), WarningLevel::standard);
    }
}

TEST(WarningPolicy, WarnsStronglyOfATrustedAppDuringTheAwayWatchOnly) {
    const auto trust = trustOf(TrustKind::trusted);
    EXPECT_EQ(WarningPolicy::level(caller, Device::camera, trust, true), WarningLevel::strong);
    EXPECT_EQ(WarningPolicy::level(caller, Device::camera, trust, false), WarningLevel::quiet);
}

TEST(WarningPolicy, WarnsStronglyOfEveryAppDuringTheAwayWatch) {
    for (const auto kind : everyKind) {
        EXPECT_EQ(WarningPolicy::level(caller, Device::microphone, trustOf(kind), true),
                  WarningLevel::strong);
    }
}

TEST(WarningPolicy, SoftensAnAlwaysWarnRuleByTrustAndDoesNotSilenceIt) {
    EXPECT_EQ(
        WarningPolicy::level(caller, Device::camera, trustOf(TrustKind::trustedAlwaysWarn), false),
        WarningLevel::standard);
    EXPECT_EQ(WarningPolicy::level(caller, Device::camera, trustOf(TrustKind::alwaysWarn), false),
              WarningLevel::strong);
}

TEST(WarningPolicy, TellsAnAppWithoutARuleInTheOrdinaryWay) {
    EXPECT_EQ(WarningPolicy::level(caller, Device::camera, trustOf({}), false),
              WarningLevel::standard);
    auto anotherTeam = caller;
    anotherTeam.teamID = "T";
    EXPECT_EQ(WarningPolicy::level(anotherTeam, Device::camera, trustOf(TrustKind::trusted), false),
              WarningLevel::standard);
}

TEST(WarningPolicy, LooksAtTheRuleOfThatDevice) {
    TrustList trust;
    trust.setTrusted(true, caller, {Device::camera});
    EXPECT_EQ(WarningPolicy::level(caller, Device::camera, trust, false), WarningLevel::quiet);
    EXPECT_EQ(WarningPolicy::level(caller, Device::microphone, trust, false),
              WarningLevel::standard);
}

} // namespace
} // namespace velmoran
