#include "core/away/AwayEvent.h"

#include "core/text/Localizer.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

using What = AwayEventKind;

std::string titleOf(What kind, std::optional<std::string> detail = {}) {
    return AwayEvent{.id = {}, .kind = kind, .time = {}, .detail = std::move(detail)}.title();
}

TEST(AwayEvent, HasATitleForEachKind) {
    EXPECT_EQ(titleOf(What::keyboardUsed), "Keyboard used");
    EXPECT_EQ(titleOf(What::mouseUsed), "Mouse or trackpad used");
    EXPECT_EQ(titleOf(What::lidOpened), "Lid opened");
    EXPECT_EQ(titleOf(What::lidClosed), "Lid closed");
    EXPECT_EQ(titleOf(What::lidMoved), "Lid moved");
    EXPECT_EQ(titleOf(What::powerConnected), "Power cable connected");
    EXPECT_EQ(titleOf(What::powerRemoved), "Power cable removed");
    EXPECT_EQ(titleOf(What::devicePluggedIn), "Device plugged in");
    EXPECT_EQ(titleOf(What::wentToSleep), "Mac went to sleep");
    EXPECT_EQ(titleOf(What::wokeUp), "Mac woke up");
    EXPECT_EQ(titleOf(What::cameraUsed), "An app turned on the camera");
    EXPECT_EQ(titleOf(What::microphoneUsed), "An app turned on the microphone");
}

TEST(AwayEvent, NamesWhatItsDetailNames) {
    EXPECT_EQ(titleOf(What::devicePluggedIn, "SanDisk Ultra"), "Device plugged in: SanDisk Ultra");
    EXPECT_EQ(titleOf(What::cameraUsed, "Zoom"), "Zoom turned on the camera");
    EXPECT_EQ(titleOf(What::microphoneUsed, "Zoom"), "Zoom turned on the microphone");
}

TEST(AwayEvent, TakesAnEmptyDetailForADetail) {
    EXPECT_EQ(titleOf(What::devicePluggedIn, ""), "Device plugged in: ");
    EXPECT_EQ(titleOf(What::cameraUsed, ""), " turned on the camera");
    EXPECT_EQ(titleOf(What::microphoneUsed, ""), " turned on the microphone");
}

TEST(AwayEvent, LeavesANamesOwnPercentSignsAlone) {
    EXPECT_EQ(titleOf(What::devicePluggedIn, "100%@ %lld"), "Device plugged in: 100%@ %lld");
}

TEST(AwayEvent, SaysTheAnglesOfALidIfItsDetailIsTwoNumbers) {
    EXPECT_EQ(titleOf(What::lidMoved, "12 47"), "Lid moved from 12° to 47°");
    EXPECT_EQ(titleOf(What::lidMoved, lidMovedDetail(104, 9)), "Lid moved from 104° to 9°");
    EXPECT_EQ(titleOf(What::lidMoved, "  12   47 "), "Lid moved from 12° to 47°");
    EXPECT_EQ(titleOf(What::lidMoved, "12 degrees 47"), "Lid moved from 12° to 47°");
    EXPECT_EQ(titleOf(What::lidMoved, "-3 +4"), "Lid moved from -3° to 4°");
}

TEST(AwayEvent, SaysNoAnglesOtherwise) {
    for (const char* detail :
         {"", " ", "12", "12 47 50", "12 x", "12x 47", "1.5 47", "12,47", "+-1 2", "+ 12", "--1 2",
          "12 99999999999999999999", "0x10 12", "12\t47"}) {
        EXPECT_EQ(titleOf(What::lidMoved, detail), "Lid moved") << detail;
    }
}

TEST(AwayEvent, IsNamedByItsCase) {
    EXPECT_EQ(rawValue(What::keyboardUsed), "keyboardUsed");
    EXPECT_EQ(rawValue(What::lidMoved), "lidMoved");
    EXPECT_EQ(rawValue(What::devicePluggedIn), "devicePluggedIn");
    EXPECT_EQ(rawValue(What::microphoneUsed), "microphoneUsed");
    for (int kind = 0; kind <= static_cast<int>(What::microphoneUsed); ++kind) {
        EXPECT_EQ(caseNamed<What>(rawValue(What(kind))), What(kind));
    }
}

TEST(AwayEvent, WritesItsDetailOnlyIfThereIsOne) {
    AwayEvent event{.id = *Uuid::parse("00000000-0000-0000-0000-00000000000A"),
                    .kind = What::lidMoved,
                    .time = {5},
                    .detail = "12 47"};
    EXPECT_EQ(encode(event), R"({"id":"00000000-0000-0000-0000-00000000000A","kind":"lidMoved",)"
                             R"("time":5.0,"detail":"12 47"})");
    event.detail = {};
    EXPECT_EQ(encode(event), R"({"id":"00000000-0000-0000-0000-00000000000A","kind":"lidMoved",)"
                             R"("time":5.0})");
    event.detail = "";
    EXPECT_EQ(decode<AwayEvent>(encode(event)), event);
}

} // namespace
} // namespace velmoran
