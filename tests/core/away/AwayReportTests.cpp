#include "core/away/AwayReport.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

using What = AwayEventKind;

AwayEvent happening(What kind, double time, std::optional<std::string> detail = {}) {
    return {.id = Uuid::random(), .kind = kind, .time = {time}, .detail = std::move(detail)};
}

AwayReport fullReport() {
    return {.id = Uuid::random(),
            .start = {10.5},
            .end = Timestamp{100},
            .events = {happening(What::devicePluggedIn, 20, "Stick"),
                       happening(What::lidMoved, 30, "12 47")},
            .slept = true,
            .ownReturn = {happening(What::keyboardUsed, 95)}};
}

/// As older versions wrote it: with the keys that are given after the events.
AwayReport readOld(const std::string& kinds, const std::string& more = "") {
    std::string events;
    int second = 0;
    for (std::size_t at = 0; at < kinds.size();) {
        const auto blank = std::min(kinds.find(' ', at), kinds.size());
        events += (events.empty() ? "" : ",") +
                  std::string(R"({"id":"00000000-0000-0000-0000-000000000001","kind":")") +
                  kinds.substr(at, blank - at) + R"(","time":)" + std::to_string(second++) + "}";
        at = blank + 1;
    }
    return decode<AwayReport>(
        R"({"id":"00000000-0000-0000-0000-000000000002","start":1,"end":9,"events":[)" + events +
        "]" + more + "}");
}

TEST(AwayReport, IsEmptyIfNothingHappenedWhateverElseIsInIt) {
    AwayReport report;
    EXPECT_TRUE(report.isEmpty());
    report.slept = true;
    report.ownReturn = {happening(What::keyboardUsed, 5)};
    EXPECT_TRUE(report.isEmpty());
    report.events = {happening(What::lidClosed, 5)};
    EXPECT_FALSE(report.isEmpty());
}

TEST(AwayReport, HasDeviceUseIfTheCameraOrTheMicrophoneWasUsed) {
    AwayReport report;
    report.events = {happening(What::keyboardUsed, 1),
                     happening(What::devicePluggedIn, 2, "Camera")};
    EXPECT_FALSE(report.hasDeviceUse());
    report.events.push_back(happening(What::cameraUsed, 3, "Zoom"));
    EXPECT_TRUE(report.hasDeviceUse());
    report.events = {happening(What::microphoneUsed, 3)};
    EXPECT_TRUE(report.hasDeviceUse());
}

TEST(AwayReport, IsReadAsItWasWritten) {
    const auto report = fullReport();
    EXPECT_EQ(decode<AwayReport>(encode(report)), report);
    auto running = report;
    running.end = {};
    EXPECT_FALSE(Json(running).contains("end"));
    EXPECT_EQ(decode<AwayReport>(encode(running)), running);
}

TEST(AwayReport, IsWrittenInTheOrderOfItsFields) {
    const AwayReport report{.id = *Uuid::parse("00000000-0000-0000-0000-00000000000A"),
                            .start = {1},
                            .end = Timestamp{2.5},
                            .events = {},
                            .slept = false,
                            .ownReturn = {}};
    EXPECT_EQ(encode(report), R"({"id":"00000000-0000-0000-0000-00000000000A","start":1.0,)"
                              R"("end":2.5,"events":[],"slept":false,"ownReturn":[]})");
}

TEST(AwayReport, OfAnOlderVersionSleptIfSleepIsAmongItsEvents) {
    const auto report = readOld("keyboardUsed wentToSleep wokeUp");
    EXPECT_TRUE(report.slept);
    ASSERT_EQ(report.events.size(), 2U);
    EXPECT_EQ(report.events[0].kind, What::keyboardUsed);
    EXPECT_EQ(report.events[1].kind, What::wokeUp);
    EXPECT_TRUE(report.ownReturn.empty());
    EXPECT_FALSE(readOld("keyboardUsed wokeUp").slept);
    EXPECT_TRUE(readOld("wentToSleep wentToSleep").isEmpty());
}

TEST(AwayReport, SleptAsItSaysItself) {
    const auto awake = readOld("wentToSleep lidClosed", R"(,"slept":false)");
    EXPECT_FALSE(awake.slept);
    EXPECT_EQ(awake.events.size(), 1U);
    EXPECT_TRUE(readOld("lidClosed", R"(,"slept":true)").slept);
}

TEST(AwayReport, KeepsSleepThatStandsInTheOwnReturn) {
    const auto report =
        readOld("lidClosed", R"(,"ownReturn":[{"id":"00000000-0000-0000-0000-000000000003",)"
                             R"("kind":"wentToSleep","time":8}])");
    ASSERT_EQ(report.ownReturn.size(), 1U);
    EXPECT_EQ(report.ownReturn[0].kind, What::wentToSleep);
    EXPECT_FALSE(report.slept);
}

TEST(AwayReport, OfAnOlderVersionMayBeWithoutAnEnd) {
    EXPECT_EQ(decode<AwayReport>(R"({"id":"00000000-0000-0000-0000-000000000002","start":1,)"
                                 R"("events":[]})")
                  .end,
              std::nullopt);
}

TEST(AwayReport, CannotBeReadWithoutWhatItNeedsOrWithAnythingElse) {
    const auto whole = Json(fullReport());
    for (const char* key : {"id", "start", "events"}) {
        auto cut = whole;
        cut.erase(key);
        EXPECT_THROW(decode<AwayReport>(cut.dump()), DecodingError) << key;
    }
    const auto with = [&](const char* key, const Json& value) {
        auto changed = whole;
        changed[key] = value;
        return changed.dump();
    };
    EXPECT_THROW(decode<AwayReport>(with("id", "x")), DecodingError);
    EXPECT_THROW(decode<AwayReport>(with("start", "yesterday")), DecodingError);
    EXPECT_THROW(decode<AwayReport>(with("end", true)), DecodingError);
    EXPECT_THROW(decode<AwayReport>(with("slept", 1)), DecodingError);
    EXPECT_THROW(decode<AwayReport>(with("events", Json::object())), DecodingError);
    EXPECT_THROW(decode<AwayReport>(with("ownReturn", "none")), DecodingError);
    auto unknown = whole;
    unknown["events"][0]["kind"] = "windowOpened";
    EXPECT_THROW(decode<AwayReport>(unknown.dump()), DecodingError);
    auto unnamed = whole;
    unnamed["events"][0]["detail"] = 5;
    EXPECT_THROW(decode<AwayReport>(unnamed.dump()), DecodingError);
    for (const char* text : {"", "[]", "null", "7", "{", R"({"events":[]})"}) {
        EXPECT_THROW(decode<AwayReport>(text), DecodingError) << text;
    }
}

} // namespace
} // namespace velmoran
