// What is written is read back the same, and nothing that lacks a part is read at all.
#include "support/RandomRecords.h"
#include "support/Samples.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

namespace velmoran {
namespace {

template <class T>
void readsBack(const T& record) {
    const auto text = encode(record);
    RC_ASSERT(decode<T>(text) == record);
    RC_ASSERT(encode(decode<T>(text)) == text);
}

RC_GTEST_PROP(JsonOf, AppIdentityReadsBack, ()) {
    readsBack(*samples::identity());
}

RC_GTEST_PROP(JsonOf, ConnectionRecordReadsBack, ()) {
    readsBack(*samples::connection());
}

RC_GTEST_PROP(JsonOf, UsageSessionReadsBack, ()) {
    readsBack(*rc::gen::resize(20, samples::session()));
}

RC_GTEST_PROP(JsonOf, SystemSnapshotReadsBack, ()) {
    readsBack(*rc::gen::resize(20, samples::snapshot()));
}

/// Takes one required key out, or puts a value of another type under it.
template <class T>
void needs(const T& record, const std::vector<const char*>& keys) {
    for (const auto* key : keys) {
        auto json = Json(record);
        json.erase(key);
        RC_ASSERT_THROWS_AS(decode<T>(json.dump()), DecodingError);
        for (const auto& other : {Json(nullptr), Json::object(), Json::array({1})}) {
            json = Json(record);
            json[key] = other;
            RC_ASSERT_THROWS_AS(decode<T>(json.dump()), DecodingError);
        }
    }
}

RC_GTEST_PROP(JsonOf, AppIdentityNeedsItsRequiredKeys, ()) {
    needs(*samples::identity(), {"id", "name"});
}

RC_GTEST_PROP(JsonOf, ConnectionRecordNeedsItsRequiredKeys, ()) {
    needs(*rc::gen::resize(20, samples::connection()), {"address", "port", "transport"});
}

RC_GTEST_PROP(JsonOf, UsageSessionNeedsItsRequiredKeys, ()) {
    needs(*rc::gen::resize(8, samples::session()),
          {"id", "device", "app", "start", "connections", "observedFromStart"});
}

TEST(JsonOf, EnumerationsIsTheirCaseName) {
    for (const auto outcome : {SessionOutcome::endedNormally, SessionOutcome::stoppedByUser,
                               SessionOutcome::endUnknown}) {
        EXPECT_EQ(decode<SessionOutcome>(encode(outcome)), outcome);
    }
    EXPECT_EQ(encode(SessionOutcome::endedNormally), R"("endedNormally")");
    EXPECT_EQ(encode(SessionOutcome::stoppedByUser), R"("stoppedByUser")");
    EXPECT_EQ(encode(SessionOutcome::endUnknown), R"("endUnknown")");
    EXPECT_EQ(encode(WarningLevel::quiet), R"("quiet")");
    EXPECT_EQ(encode(WarningLevel::standard), R"("standard")");
    EXPECT_EQ(encode(WarningLevel::strong), R"("strong")");
    EXPECT_EQ(encode(Device::speaker), R"("speaker")");
    EXPECT_THROW(decode<SessionOutcome>(R"("EndedNormally")"), DecodingError);
    EXPECT_THROW(decode<WarningLevel>("1"), DecodingError);
    EXPECT_EQ(rawValue(OutputDeviceInfo::Kind::builtInSpeakers), "builtInSpeakers");
    EXPECT_EQ(rawValue(OutputDeviceInfo::Kind::headphones), "headphones");
    EXPECT_EQ(rawValue(OutputDeviceInfo::Kind::other), "other");
    EXPECT_EQ(caseNamed<OutputDeviceInfo::Kind>("earphones"), std::nullopt);
}

TEST(JsonOf, KeysStandInTheOrderOfTheFields) {
    auto full = sessionOf(app("a", "T"), Device::speaker, {1});
    full.app.bundleID = "b";
    full.app.path = "/p";
    full.id = *Uuid::parse("0F8FAD5B-D9CB-469F-A165-70867728950E");
    full.end = Timestamp{2};
    full.outcome = SessionOutcome::endedNormally;
    full.warningLevel = WarningLevel::quiet;
    full.connections = {{"192.0.2.1", 443, "TCP", Timestamp{1.5}}};
    EXPECT_EQ(
        encode(full),
        R"({"id":"0F8FAD5B-D9CB-469F-A165-70867728950E","device":"speaker","app":{"id":"a",)"
        R"("name":"Name of a","bundleID":"b","path":"/p","teamID":"T"},"start":1.0,"end":2.0,)"
        R"("outcome":"endedNormally","warningLevel":"quiet","connections":[{"address":)"
        R"("192.0.2.1","port":443,"transport":"TCP","firstSeen":1.5}],"observedFromStart":true})");
}

} // namespace
} // namespace velmoran
