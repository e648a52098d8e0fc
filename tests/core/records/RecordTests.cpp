#include "core/records/SystemSnapshot.h"
#include "core/records/UsageSession.h"
#include "core/text/Localizer.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

UsageSession openSession() {
    return {
        .id = *Uuid::parse("0F8FAD5B-D9CB-469F-A165-70867728950E"),
        .device = Device::camera,
        .app = {.id = "org.example.meet", .name = "Meet", .bundleID = {}, .path = {}, .teamID = {}},
        .start = {100},
        .end = {},
        .outcome = {},
        .warningLevel = {},
        .connections = {},
        .observedFromStart = true};
}

TEST(UsageSession, NeverLastsLessThanNothing) {
    auto session = openSession();
    session.end = Timestamp{90};
    EXPECT_EQ(session.duration({500}), 0);
}

TEST(UsageSession, GrowsWithNowOnlyWhileOpen) {
    auto session = openSession();
    EXPECT_EQ(session.duration({130}), 30);
    EXPECT_EQ(session.duration({160}), 60);
    session.end = Timestamp{140};
    EXPECT_EQ(session.duration({130}), 40);
    EXPECT_EQ(session.duration({160}), 40);
}

TEST(UsageSession, LeavesAbsentKeysOutAndKeepsTheOrderOfItsFields) {
    const auto session = openSession();
    EXPECT_EQ(encode(session),
              R"({"id":"0F8FAD5B-D9CB-469F-A165-70867728950E","device":"camera",)"
              R"("app":{"id":"org.example.meet","name":"Meet"},"start":100.0,"connections":[],)"
              R"("observedFromStart":true})");
    EXPECT_EQ(decode<UsageSession>(encode(session)), session);
}

TEST(UsageSession, RoundTripsWithEveryFieldPresent) {
    auto session = openSession();
    session.end = Timestamp{161.5};
    session.outcome = SessionOutcome::stoppedByUser;
    session.warningLevel = WarningLevel::strong;
    session.app.bundleID = "org.example.meet";
    session.app.path = "/usr/bin/meet";
    session.app.teamID = "system";
    session.connections = {{"192.0.2.1", 443, "TCP", Timestamp{101}},
                           {"2001:db8::1", 3478, "UDP", {}}};
    EXPECT_EQ(decode<UsageSession>(encode(session)), session);
    EXPECT_EQ(std::hash<UsageSession>{}(decode<UsageSession>(encode(session))),
              std::hash<UsageSession>{}(session));
}

TEST(UsageSession, CannotBeReadWithoutObservedFromStart) {
    auto json = Json(openSession());
    json.erase("observedFromStart");
    EXPECT_THROW(decode<UsageSession>(json.dump()), DecodingError);
}

TEST(UsageSession, CannotBeReadWithAnUnknownDevice) {
    auto json = Json(openSession());
    json["device"] = "keyboard";
    EXPECT_THROW(decode<UsageSession>(json.dump()), DecodingError);
    EXPECT_EQ(caseNamed<Device>("keyboard"), std::nullopt);
}

TEST(UsageSession, CannotBeReadWithAFractionalPort) {
    auto json = Json(openSession());
    json["connections"] = Json::array({{{"address", "a"}, {"port", 1.5}, {"transport", "TCP"}}});
    EXPECT_THROW(decode<UsageSession>(json.dump()), DecodingError);
}

TEST(AppIdentity, IsUnknownByItsIdAlone) {
    const AppIdentity other{
        .id = "unknown", .name = "Anything", .bundleID = {}, .path = {}, .teamID = {}};
    EXPECT_TRUE(other.isUnknown());
    EXPECT_NE(other, AppIdentity::unknown());
    EXPECT_EQ(AppIdentity::unknown().name, "Unknown app");
}

TEST(AppIdentity, NamesTheUnknownAppInThePresentWords) {
    EXPECT_EQ(AppIdentity::unknown().name, "Unknown app");
    setWords(Localizer("de_DE", "UTC", {{{"Unknown app", "Unbekannte App"}}}));
    EXPECT_EQ(AppIdentity::unknown().name, "Unbekannte App");
    EXPECT_TRUE(AppIdentity::unknown().isUnknown());
    setWords(Localizer());
    EXPECT_EQ(AppIdentity::unknown().name, "Unknown app");
}

TEST(AppIdentity, CannotBeNamedWhenUnknownOrUnidentified) {
    AppIdentity one{.id = "unknown", .name = "", .bundleID = {}, .path = {}, .teamID = {}};
    EXPECT_TRUE(one.cannotBeNamed());
    for (const auto* chosen : {"unidentified", "unidentified:4711", "unidentified:odd"}) {
        one.id = chosen;
        one.unidentified = false;
        EXPECT_FALSE(one.cannotBeNamed()) << "an app may choose that";
        const auto named = one;
        one.unidentified = true;
        EXPECT_TRUE(one.cannotBeNamed());
        EXPECT_FALSE(one.isUnknown());
        EXPECT_FALSE(one.isSameApp(named));
        EXPECT_NE(one, named);
        EXPECT_NE(std::hash<AppIdentity>()(one), std::hash<AppIdentity>()(named));
    }
}

TEST(AppIdentity, IsEqualOverAllFiveFields) {
    const AppIdentity one{.id = "a", .name = "A", .bundleID = "a", .path = "/a", .teamID = "T"};
    auto other = one;
    EXPECT_EQ(one, other);
    other.name = "B";
    EXPECT_NE(one, other);
    other = one;
    other.teamID = std::nullopt;
    EXPECT_NE(one, other);
    EXPECT_NE(std::hash<AppIdentity>{}(one), std::hash<AppIdentity>{}(other));
}

TEST(WarningLevel, IsOrderedByCaseAndNotByText) {
    EXPECT_LT(WarningLevel::quiet, WarningLevel::standard);
    EXPECT_LT(WarningLevel::standard, WarningLevel::strong);
    EXPECT_GT(WarningLevel::strong, WarningLevel::quiet);
    EXPECT_GE(WarningLevel::strong, WarningLevel::strong);
    EXPECT_EQ(caseNamed<WarningLevel>("loud"), std::nullopt);
}

TEST(Device, RunsInItsFixedOrder) {
    std::string order;
    for (const auto device : allDevices) {
        order += std::string(rawValue(device)) + " ";
        EXPECT_EQ(caseNamed<Device>(rawValue(device)), device);
    }
    EXPECT_EQ(order, "camera microphone speaker ");
}

TEST(AppRef, IsKeyedByBundleThenPathThenName) {
    EXPECT_EQ((AppRef{"Name", "bundle", "/path"}).id(), "bundle");
    EXPECT_EQ((AppRef{"Name", {}, "/path"}).id(), "/path");
    EXPECT_EQ((AppRef{"Name", {}, {}}).id(), "Name");
}

TEST(SystemSnapshot, ReadsMissingFieldsAsEmptyAndRefusesUnknownOnes) {
    EXPECT_EQ(decode<SystemSnapshot>("{}"), SystemSnapshot::empty());
    EXPECT_THROW(decode<SystemSnapshot>(R"({"cameraon":true})"), DecodingError);
    EXPECT_THROW(decode<SystemSnapshot>(R"({"cameraOn":1})"), DecodingError);
    EXPECT_THROW(decode<SystemSnapshot>(R"({"cameraOn":null})"), DecodingError);
    EXPECT_THROW(decode<SystemSnapshot>(R"({"output":{"volume":true}})"), DecodingError);
    EXPECT_THROW(decode<SystemSnapshot>(R"({"microphoneApps":[{"bundleID":"x"}]})"), DecodingError);
    EXPECT_EQ(decode<SystemSnapshot>(R"({"microphoneApps":[{"name":"x","bundleID":""}]})")
                  .microphoneApps.front()
                  .bundleID,
              std::nullopt);
}

TEST(SystemSnapshot, RoundTrips) {
    SystemSnapshot snapshot;
    snapshot.cameraOn = true;
    snapshot.cameraDevices = {"Cam", "Cam"};
    snapshot.cameraApps = {{"Meet", "org.example.meet", "/usr/bin/meet"}};
    snapshot.output = OutputDeviceInfo{.objectID = 7,
                                       .name = "Speakers",
                                       .kind = OutputDeviceInfo::Kind::builtInSpeakers,
                                       .volume = 0.5F,
                                       .isMuted = true};
    EXPECT_EQ(decode<SystemSnapshot>(encode(snapshot)), snapshot);
    auto other = snapshot;
    other.output->volume = 0.25F;
    EXPECT_NE(other, snapshot);
}

TEST(Uuid, ReadsBothCasesAndWritesUpperCase) {
    const auto id = Uuid::parse("0f8fad5b-d9cb-469f-a165-70867728950e");
    ASSERT_TRUE(id);
    EXPECT_EQ(id->text(), "0F8FAD5B-D9CB-469F-A165-70867728950E");
    for (const auto* wrong :
         {"", "0f8fad5b", "0f8fad5b-d9cb-469f-a165-70867728950g",
          "0f8fad5bd9cb469fa16570867728950e0000", "{f8fad5b-d9cb-469f-a165-70867728950}"}) {
        EXPECT_FALSE(Uuid::parse(wrong)) << wrong;
    }
    EXPECT_NE(Uuid::random(), Uuid::random());
}

} // namespace
} // namespace velmoran
