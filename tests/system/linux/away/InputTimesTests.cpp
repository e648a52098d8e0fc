#include "system/linux/away/InputTimes.h"

#include "system/linux/away/EvdevEvents.h"
#include "system/linux/away/XInputConnection.h"

#include <cstring>
#include <gtest/gtest.h>
#include <linux/input.h>
#include <string>
#include <utility>
#include <vector>
#include <xcb/xinput.h>

namespace velmoran {
namespace {

constexpr Timestamp start{1000};

TEST(InputTimes, KnowNothingBeforeTheFirstUse) {
    const InputTimes times;
    for (const auto event : {InputEvent::keyDown, InputEvent::mouseMoved, InputEvent::leftMouseDown,
                             InputEvent::rightMouseDown, InputEvent::scrollWheel}) {
        EXPECT_FALSE(times.sinceLast(event, start).has_value());
    }
}

TEST(InputTimes, AreOfTheLastUseOfThatKind) {
    InputTimes times;
    times.note(InputUse::key, start);
    times.note(InputUse::motion, start + 2);
    times.note(InputUse::key, start + 3);
    EXPECT_EQ(times.sinceLast(InputEvent::keyDown, start + 4.5), 1.5);
    EXPECT_EQ(times.sinceLast(InputEvent::mouseMoved, start + 4.5), 2.5);
    EXPECT_FALSE(times.sinceLast(InputEvent::leftMouseDown, start + 4.5).has_value());
}

TEST(InputTimes, DontKnowWhichButtonItWas) {
    InputTimes times;
    times.note(InputUse::press, start);
    for (const auto event :
         {InputEvent::leftMouseDown, InputEvent::rightMouseDown, InputEvent::scrollWheel}) {
        EXPECT_EQ(times.sinceLast(event, start + 1), 1);
    }
    EXPECT_FALSE(times.sinceLast(InputEvent::keyDown, start + 1).has_value());
    EXPECT_FALSE(times.sinceLast(InputEvent::mouseMoved, start + 1).has_value());
}

TEST(InputTimes, AreForgotten) {
    InputTimes times;
    times.note(InputUse::key, start);
    times.forget();
    EXPECT_FALSE(times.sinceLast(InputEvent::keyDown, start + 1).has_value());
}

TEST(InputUseOfXInput, IsOfPressesMotionAndTouchesAndOfNothingElse) {
    std::vector<std::pair<int, InputUse>> told;
    for (int event = 0; event < 0x10000; ++event) {
        if (const auto use = inputUseOf(static_cast<std::uint16_t>(event))) {
            told.emplace_back(event, *use);
        }
    }
    EXPECT_EQ(told, (std::vector<std::pair<int, InputUse>>{
                        {XCB_INPUT_RAW_KEY_PRESS, InputUse::key},
                        {XCB_INPUT_RAW_BUTTON_PRESS, InputUse::press},
                        {XCB_INPUT_RAW_MOTION, InputUse::motion},
                        {XCB_INPUT_RAW_TOUCH_BEGIN, InputUse::press},
                        {XCB_INPUT_RAW_TOUCH_UPDATE, InputUse::motion}}));
}

TEST(InputUseOfADevice, IsByWhatTheDeviceIs) {
    const InputDevice keyboard{.node = "a", .isKeyboard = true};
    const InputDevice mouse{.node = "b", .isPointer = true};
    const InputDevice both{.node = "c", .isKeyboard = true, .isPointer = true};
    EXPECT_EQ(inputUseOf(keyboard, EV_KEY, 1), InputUse::key);
    EXPECT_EQ(inputUseOf(mouse, EV_KEY, 1), InputUse::press);
    EXPECT_EQ(inputUseOf(mouse, EV_REL, -3), InputUse::motion);
    EXPECT_EQ(inputUseOf(mouse, EV_ABS, 0), InputUse::motion);
    EXPECT_EQ(inputUseOf(both, EV_KEY, 1), InputUse::key);
    EXPECT_EQ(inputUseOf(both, EV_REL, 1), InputUse::motion);
}

TEST(InputUseOfADevice, IsNoneForReleasesRepeatsAndWhatNobodyDoes) {
    const InputDevice keyboard{.node = "a", .isKeyboard = true};
    EXPECT_EQ(inputUseOf(keyboard, EV_KEY, 0), std::nullopt);
    EXPECT_EQ(inputUseOf(keyboard, EV_KEY, 2), std::nullopt);
    EXPECT_EQ(inputUseOf(keyboard, EV_REL, 1), std::nullopt);
    const InputDevice mouse{.node = "b", .isPointer = true};
    for (const auto* device : {&keyboard, &mouse}) {
        for (const int type : {EV_SYN, EV_MSC, EV_SW, EV_LED, EV_SND, EV_REP}) {
            EXPECT_EQ(inputUseOf(*device, static_cast<std::uint16_t>(type), 1), std::nullopt)
                << type;
        }
    }
}

/// What is left of a stream of key presses, byte by byte.
std::string leftBy(const std::vector<std::uint16_t>& codes) {
    const InputDevice keyboard{.node = "a", .isKeyboard = true};
    InputTimes times;
    auto now = start;
    for (const auto code : codes) {
        for (const auto value : {1, 2, 0}) {
            input_event event{};
            event.type = EV_KEY;
            event.code = code;
            event.value = value;
            if (const auto use = inputUseOf(keyboard, event.type, event.value)) {
                times.note(*use, now);
            }
            now = now + 0.125;
        }
    }
    std::string bytes(sizeof times, '\0');
    std::memcpy(bytes.data(), static_cast<const void*>(&times), sizeof times);
    return bytes;
}

TEST(InputTimes, AreByteForByteTheSameForOtherKeys) {
    EXPECT_EQ(leftBy({KEY_P, KEY_A, KEY_S, KEY_S}), leftBy({KEY_1, KEY_2, KEY_ENTER, KEY_LEFTALT}));
    EXPECT_NE(leftBy({KEY_P, KEY_A}), leftBy({KEY_P, KEY_A, KEY_S}));
}

} // namespace
} // namespace velmoran
