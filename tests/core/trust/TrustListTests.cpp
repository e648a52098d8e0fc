#include "core/trust/TrustList.h"

#include "core/text/Localizer.h"
#include "support/Samples.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velmoran {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

const std::vector<Device> cameraAlone = {Device::camera};
const std::vector<Device> allDevices = {Device::camera, Device::microphone, Device::speaker};
const AppIdentity zoom = app("zoom");

AppIdentity named(const std::string& id, const std::string& name) {
    auto result = app(id);
    result.name = name;
    return result;
}

TEST(TrustKind, HasTwoHalves) {
    EXPECT_TRUE(isTrusted(TrustKind::trusted));
    EXPECT_FALSE(alwaysWarns(TrustKind::trusted));
    EXPECT_FALSE(isTrusted(TrustKind::alwaysWarn));
    EXPECT_TRUE(alwaysWarns(TrustKind::alwaysWarn));
    EXPECT_TRUE(isTrusted(TrustKind::trustedAlwaysWarn));
    EXPECT_TRUE(alwaysWarns(TrustKind::trustedAlwaysWarn));
}

TEST(TrustKind, IsMadeOfItsHalvesAndOfNoneIsNothing) {
    EXPECT_EQ(trustKindOf(true, false), TrustKind::trusted);
    EXPECT_EQ(trustKindOf(false, true), TrustKind::alwaysWarn);
    EXPECT_EQ(trustKindOf(true, true), TrustKind::trustedAlwaysWarn);
    EXPECT_EQ(trustKindOf(false, false), std::nullopt);
}

TEST(TrustKind, IsStoredByItsName) {
    EXPECT_EQ(rawValue(TrustKind::trusted), "trusted");
    EXPECT_EQ(rawValue(TrustKind::alwaysWarn), "alwaysWarn");
    EXPECT_EQ(rawValue(TrustKind::trustedAlwaysWarn), "trustedAlwaysWarn");
    EXPECT_EQ(caseNamed<TrustKind>("alwaysWarn"), TrustKind::alwaysWarn);
    EXPECT_EQ(caseNamed<TrustKind>("always"), std::nullopt);
}

TEST(TrustRule, IsIdentifiedByAppAndDevice) {
    EXPECT_EQ((TrustRule{zoom, Device::camera, TrustKind::trusted}).id(), "zoom|camera");
    EXPECT_EQ((TrustRule{zoom, Device::microphone, TrustKind::trusted}).id(), "zoom|microphone");
    EXPECT_EQ((TrustRule{app("a|b"), Device::speaker, TrustKind::alwaysWarn}).id(), "a|b|speaker");
}

TEST(TrustRule, HashesWithAllItsFields) {
    const TrustRule rule{zoom, Device::camera, TrustKind::trusted};
    auto other = rule;
    EXPECT_EQ(std::hash<TrustRule>{}(rule), std::hash<TrustRule>{}(other));
    other.kind = TrustKind::alwaysWarn;
    EXPECT_NE(std::hash<TrustRule>{}(rule), std::hash<TrustRule>{}(other));
}

TEST(TrustList, HasNoRuleWhenEmpty) {
    const TrustList list;
    for (const auto device : allDevices) {
        EXPECT_EQ(list.kind(zoom, device), std::nullopt);
        EXPECT_FALSE(list.isTrusted(zoom, device));
        EXPECT_FALSE(list.alwaysWarns(zoom, device));
    }
    EXPECT_THAT(list.entries(TrustKind::trusted), IsEmpty());
}

TEST(TrustList, WritesNoRuleForTheSpeaker) {
    TrustList list;
    list.setTrusted(true, zoom, allDevices);
    ASSERT_THAT(list.rules(), SizeIs(2));
    EXPECT_EQ(list.rules()[0].device, Device::camera);
    EXPECT_EQ(list.rules()[1].device, Device::microphone);
    const auto before = list;
    list.setTrusted(true, app("other"), {Device::speaker});
    list.setAlwaysWarn(true, zoom, {Device::speaker});
    list.set(TrustKind::trusted, zoom, {Device::speaker});
    EXPECT_EQ(list, before);
}

TEST(TrustList, WritesAndFindsNoRuleForAnAppThatCannotBeNamed) {
    for (const auto& nobody : {app("unknown"), unidentified("4711")}) {
        auto list = decode<TrustList>(R"({"rules":[{"app":)" + encode(nobody) +
                                      R"(,"device":"camera","kind":"trusted"}]})");
        const auto before = list;
        list.setTrusted(false, nobody, allDevices);
        list.setAlwaysWarn(true, nobody, allDevices);
        list.set(std::nullopt, nobody, allDevices);
        list.set(TrustKind::trusted, nobody, allDevices);
        EXPECT_EQ(list, before) << nobody.id;
        EXPECT_EQ(list.kind(nobody, Device::camera), std::nullopt) << nobody.id;
        EXPECT_FALSE(list.isTrusted(nobody, Device::camera)) << nobody.id;
    }
}

TEST(TrustList, TrustsAnAppThatIsCalledAsWhoCannotBeNamed) {
    TrustList list;
    const auto odd = app("unidentified:4711");
    list.setTrusted(true, odd, cameraAlone);
    EXPECT_TRUE(list.isTrusted(odd, Device::camera));
    EXPECT_FALSE(list.isTrusted(unidentified("4711"), Device::camera));
}

TEST(TrustList, KeepsTheDevicesOfAnAppApart) {
    TrustList list;
    list.setTrusted(true, zoom, cameraAlone);
    EXPECT_TRUE(list.isTrusted(zoom, Device::camera));
    EXPECT_EQ(list.kind(zoom, Device::microphone), std::nullopt);
    list.setAlwaysWarn(true, zoom, {Device::microphone});
    EXPECT_EQ(list.kind(zoom, Device::camera), TrustKind::trusted);
    EXPECT_EQ(list.kind(zoom, Device::microphone), TrustKind::alwaysWarn);
}

TEST(TrustList, FindsNoRuleForTheSameIdOfAnotherTeam) {
    TrustList list;
    list.setTrusted(true, app("zoom", "T1"), cameraAlone);
    EXPECT_TRUE(list.isTrusted(app("zoom", "T1"), Device::camera));
    EXPECT_EQ(list.kind(app("zoom", "T2"), Device::camera), std::nullopt);
    EXPECT_EQ(list.kind(app("zoom"), Device::camera), std::nullopt);

    list.setTrusted(true, app("zoom", "T2"), cameraAlone);
    ASSERT_THAT(list.rules(), SizeIs(1));
    EXPECT_EQ(list.rules()[0].app.teamID, "T2");
    EXPECT_EQ(list.kind(app("zoom", "T1"), Device::camera), std::nullopt);
}

TEST(TrustList, FindsNoRuleWithoutATeamForOneWithATeam) {
    TrustList list;
    list.setTrusted(true, app("zoom"), cameraAlone);
    EXPECT_TRUE(list.isTrusted(app("zoom"), Device::camera));
    EXPECT_FALSE(list.isTrusted(app("zoom", ""), Device::camera));
}

TEST(TrustList, LosesTheOtherDecisionOfARuleOfAnotherTeam) {
    TrustList list;
    list.setAlwaysWarn(true, app("zoom", "T1"), cameraAlone);
    list.setTrusted(true, app("zoom", "T2"), cameraAlone);
    EXPECT_EQ(list.kind(app("zoom", "T2"), Device::camera), TrustKind::trusted);
    list.setTrusted(false, app("zoom", "T3"), cameraAlone);
    EXPECT_THAT(list.rules(), IsEmpty());
}

TEST(TrustList, MatchesNeitherByNameNorByPath) {
    TrustList list;
    list.setTrusted(true, zoom, cameraAlone);
    auto moved = named("zoom", "Renamed");
    moved.path = "/elsewhere";
    moved.bundleID = "another";
    EXPECT_TRUE(list.isTrusted(moved, Device::camera));
    EXPECT_FALSE(list.isTrusted(named("other", zoom.name), Device::camera));
}

struct TrustChange {
    std::optional<TrustKind> before;
    std::optional<TrustKind> whenSet;
    std::optional<TrustKind> whenCleared;
};

TrustList listWith(std::optional<TrustKind> kind) {
    TrustList list;
    list.set(kind, zoom, cameraAlone);
    return list;
}

TEST(TrustList, SetsTrustAndKeepsAlwaysWarn) {
    for (const auto& [before, whenSet, whenCleared] :
         {TrustChange{{}, TrustKind::trusted, {}},
          TrustChange{TrustKind::trusted, TrustKind::trusted, {}},
          TrustChange{TrustKind::alwaysWarn, TrustKind::trustedAlwaysWarn, TrustKind::alwaysWarn},
          TrustChange{TrustKind::trustedAlwaysWarn, TrustKind::trustedAlwaysWarn,
                      TrustKind::alwaysWarn}}) {
        auto list = listWith(before);
        list.setTrusted(true, zoom, cameraAlone);
        EXPECT_EQ(list.kind(zoom, Device::camera), whenSet);
        list = listWith(before);
        list.setTrusted(false, zoom, cameraAlone);
        EXPECT_EQ(list.kind(zoom, Device::camera), whenCleared);
        EXPECT_THAT(list.rules(), SizeIs(whenCleared ? 1 : 0));
    }
}

TEST(TrustList, SetsAlwaysWarnAndKeepsTrust) {
    for (const auto& [before, whenSet, whenCleared] :
         {TrustChange{{}, TrustKind::alwaysWarn, {}},
          TrustChange{TrustKind::trusted, TrustKind::trustedAlwaysWarn, TrustKind::trusted},
          TrustChange{TrustKind::alwaysWarn, TrustKind::alwaysWarn, {}},
          TrustChange{TrustKind::trustedAlwaysWarn, TrustKind::trustedAlwaysWarn,
                      TrustKind::trusted}}) {
        auto list = listWith(before);
        list.setAlwaysWarn(true, zoom, cameraAlone);
        EXPECT_EQ(list.kind(zoom, Device::camera), whenSet);
        list = listWith(before);
        list.setAlwaysWarn(false, zoom, cameraAlone);
        EXPECT_EQ(list.kind(zoom, Device::camera), whenCleared);
        EXPECT_THAT(list.rules(), SizeIs(whenCleared ? 1 : 0));
    }
}

TEST(TrustList, TakesTrustAndAlwaysWarnAwayOneAfterTheOther) {
    TrustList list;
    list.setAlwaysWarn(true, zoom, cameraAlone);
    list.setTrusted(true, zoom, cameraAlone);
    EXPECT_EQ(list.kind(zoom, Device::camera), TrustKind::trustedAlwaysWarn);
    list.setTrusted(false, zoom, cameraAlone);
    EXPECT_EQ(list.kind(zoom, Device::camera), TrustKind::alwaysWarn);
    list.setAlwaysWarn(false, zoom, cameraAlone);
    EXPECT_THAT(list.rules(), IsEmpty());
}

TEST(TrustList, OverwritesBothDecisions) {
    auto list = listWith(TrustKind::alwaysWarn);
    list.set(TrustKind::trusted, zoom, cameraAlone);
    EXPECT_EQ(list.kind(zoom, Device::camera), TrustKind::trusted);
    list.set(std::nullopt, zoom, cameraAlone);
    EXPECT_THAT(list.rules(), IsEmpty());
}

TEST(TrustList, MovesARewrittenRuleToTheEnd) {
    TrustList list;
    list.setTrusted(true, app("a"), cameraAlone);
    list.setTrusted(true, app("b"), cameraAlone);
    list.setTrusted(true, app("a"), cameraAlone);
    ASSERT_THAT(list.rules(), SizeIs(2));
    EXPECT_EQ(list.rules()[0].app.id, "b");
    EXPECT_EQ(list.rules()[1].app.id, "a");
}

TEST(TrustList, ListsAnAppWithBothDecisionsInBothLists) {
    TrustList list;
    list.set(TrustKind::trustedAlwaysWarn, zoom, {Device::microphone, Device::camera});
    list.set(TrustKind::trusted, app("a"), cameraAlone);
    const TrustList::Entry both{zoom, {Device::camera, Device::microphone}};
    EXPECT_THAT(list.entries(TrustKind::trusted),
                ElementsAre(TrustList::Entry{app("a"), cameraAlone}, both));
    EXPECT_THAT(list.entries(TrustKind::alwaysWarn), ElementsAre(both));
    EXPECT_THAT(list.entries(TrustKind::trustedAlwaysWarn), ElementsAre(both));
}

TEST(TrustList, ListsAnAppInEachListWithJustTheDevicesOfThatDecision) {
    TrustList list;
    list.setTrusted(true, zoom, cameraAlone);
    list.setAlwaysWarn(true, zoom, {Device::microphone});
    EXPECT_THAT(list.entries(TrustKind::trusted), ElementsAre(TrustList::Entry{zoom, cameraAlone}));
    EXPECT_THAT(list.entries(TrustKind::alwaysWarn),
                ElementsAre(TrustList::Entry{zoom, {Device::microphone}}));
    EXPECT_THAT(list.entries(TrustKind::trustedAlwaysWarn), IsEmpty());
}

std::string namesIn(const std::vector<TrustList::Entry>& entries) {
    std::string result;
    for (const auto& entry : entries) {
        result += entry.app.name + "(" + entry.app.id + ") ";
    }
    return result;
}

TEST(TrustList, SortsByNameWhateverTheCaseAndKeepsEqualNamesInOrder) {
    TrustList list;
    for (const auto& [id, name] :
         {std::pair{"1", "zoom"}, {"2", "Beta"}, {"3", "alpha"}, {"5", "Gamma"}, {"4", "gamma"}}) {
        list.setTrusted(true, named(id, name), cameraAlone);
    }
    EXPECT_EQ(namesIn(list.entries(TrustKind::trusted)),
              "alpha(3) Beta(2) Gamma(5) gamma(4) zoom(1) ");
}

TEST(TrustList, KeepsManyAppsOfOneNameInOrder) {
    TrustList list;
    std::string expected;
    for (int i = 100; i < 200; ++i) {
        const auto id = std::to_string(i * 7919 % 1000);
        list.setTrusted(true, named(id, i % 2 == 0 ? "same" : "SAME"), cameraAlone);
        expected += (i % 2 == 0 ? "same(" : "SAME(") + id + ") ";
    }
    EXPECT_EQ(namesIn(list.entries(TrustKind::trusted)), expected);
}

TEST(TrustList, SortsInTheOrderOfTheLocale) {
    TrustList list;
    list.setTrusted(true, named("1", "Ähre"), cameraAlone);
    list.setTrusted(true, named("2", "Zebra"), cameraAlone);
    EXPECT_EQ(namesIn(list.entries(TrustKind::trusted, Localizer("de_DE", "UTC", {}))),
              "Ähre(1) Zebra(2) ");
    EXPECT_EQ(namesIn(list.entries(TrustKind::trusted, Localizer("sv_SE", "UTC", {}))),
              "Zebra(2) Ähre(1) ");
}

TEST(TrustList, GroupsByIdUnderTheFirstIdentitySeen) {
    const auto list = decode<TrustList>(
        R"({"rules":[{"app":{"id":"a","name":"First","teamID":"T1"},"device":"microphone",)"
        R"("kind":"trusted"},{"app":{"id":"a","name":"Second","teamID":"T2"},)"
        R"("device":"camera","kind":"trusted"}]})");
    const auto entries = list.entries(TrustKind::trusted);
    ASSERT_THAT(entries, SizeIs(1));
    EXPECT_EQ(entries[0].app.name, "First");
    EXPECT_THAT(entries[0].devices, ElementsAre(Device::camera, Device::microphone));
}

TEST(TrustList, IsStoredByItsFieldNames) {
    TrustList list;
    list.setTrusted(true, app("zoom", "T1"), cameraAlone);
    EXPECT_EQ(encode(list), R"({"rules":[{"app":{"id":"zoom","name":"Name of zoom",)"
                            R"("teamID":"T1"},"device":"camera","kind":"trusted"}]})");
    EXPECT_EQ(decode<TrustList>(encode(list)), list);
    EXPECT_EQ(encode(TrustList{}), R"({"rules":[]})");
}

TEST(TrustList, ReadsARuleWithKeysThatItDoesNotKnow) {
    const auto list = decode<TrustList>(
        R"({"version":2,"rules":[{"app":{"id":"a","name":"A","icon":""},"device":"camera",)"
        R"("kind":"trusted","note":1}]})");
    EXPECT_THAT(list.rules(), SizeIs(1));
}

TEST(TrustList, RefusesTheWholeTextForOneThingMissingOrUnknown) {
    const std::string good = R"({"app":{"id":"a","name":"A"},"device":"camera","kind":"trusted"})";
    EXPECT_NO_THROW(decode<TrustList>(R"({"rules":[)" + good + "]}"));
    for (const auto* bad :
         {"",
          "null",
          "[]",
          "{}",
          "7",
          "{",
          R"({"rules":null})",
          R"({"rules":{}})",
          R"({"rules":"trusted"})",
          R"({"rules":[7]})",
          R"({"rules":[{}]})",
          R"({"rules":[GOOD,{"device":"camera","kind":"trusted"}]})",
          R"({"rules":[GOOD,{"app":{"id":"a","name":"A"},"kind":"trusted"}]})",
          R"({"rules":[GOOD,{"app":{"id":"a","name":"A"},"device":"camera"}]})",
          R"({"rules":[GOOD,{"app":{"id":"a"},"device":"camera","kind":"trusted"}]})",
          R"({"rules":[GOOD,{"app":{"name":"A"},"device":"camera","kind":"trusted"}]})",
          R"({"rules":[GOOD,{"app":"a","device":"camera","kind":"trusted"}]})",
          R"({"rules":[GOOD,{"app":{"id":1,"name":"A"},"device":"camera","kind":"trusted"}]})",
          R"({"rules":[GOOD,{"app":{"id":"a","name":"A","teamID":1},"device":"camera",)"
          R"("kind":"trusted"}]})",
          R"({"rules":[GOOD,{"app":{"id":"a","name":"A"},"device":"Camera","kind":"trusted"}]})",
          R"({"rules":[GOOD,{"app":{"id":"a","name":"A"},"device":0,"kind":"trusted"}]})",
          R"({"rules":[GOOD,{"app":{"id":"a","name":"A"},"device":"camera","kind":"maybe"}]})",
          R"({"rules":[GOOD,{"app":{"id":"a","name":"A"},"device":"camera","kind":true}]})",
          R"({"rules":[GOOD,null]})",
          R"({"rules":[GOOD]} x)"}) {
        std::string text = bad;
        if (const auto at = text.find("GOOD"); at != std::string::npos) {
            text.replace(at, 4, good);
        }
        EXPECT_THROW(decode<TrustList>(text), DecodingError) << text;
    }
}

} // namespace
} // namespace velmoran
