#include "app/shell/shortcut/X11Keys.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velmoran {
namespace {

using ::testing::UnorderedElementsAre;

constexpr std::uint32_t altLeft = 0xffe9;
constexpr std::uint32_t altRight = 0xffea;
constexpr std::uint32_t metaLeft = 0xffe7;
constexpr std::uint32_t superLeft = 0xffeb;
constexpr std::uint32_t superRight = 0xffec;
constexpr std::uint32_t numLock = 0xff7f;

constexpr std::uint16_t lock = 2;
constexpr std::uint16_t control = 4;
constexpr std::uint16_t mod1 = 8;
constexpr std::uint16_t mod2 = 16;
constexpr std::uint16_t mod3 = 32;
constexpr std::uint16_t mod4 = 64;
constexpr std::uint16_t mod5 = 128;

/// A keyboard with two symbols for each key and two keys for each modifier.
struct Keyboard {
    X11Keyboard made{.firstKeyCode = 8,
                     .symbolsPerKey = 2,
                     .symbols = std::vector<std::uint32_t>(2 * 248, 0),
                     .keysPerModifier = 2,
                     .modifierKeys = std::vector<std::uint8_t>(16, 0)};

    Keyboard& key(std::uint8_t code, std::uint32_t symbol, std::uint32_t shifted = 0) {
        made.symbols[2U * (code - 8U)] = symbol;
        made.symbols[2U * (code - 8U) + 1] = shifted;
        return *this;
    }
    Keyboard& modifier(int which, std::uint8_t first, std::uint8_t second = 0) {
        made.modifierKeys[2U * static_cast<unsigned>(which)] = first;
        made.modifierKeys[2U * static_cast<unsigned>(which) + 1] = second;
        return *this;
    }
};

Keyboard usual() {
    return Keyboard()
        .key(60, '.', '>')
        .key(64, altLeft, metaLeft)
        .key(133, superLeft)
        .key(134, superRight)
        .key(77, numLock)
        .modifier(3, 64)
        .modifier(4, 77)
        .modifier(6, 133, 134);
}

TEST(X11Keys, AreControlAltSuperAndTheKeyForTheDot) {
    EXPECT_EQ(stopKeys(usual().made),
              (X11Keys{.keyCode = 60, .modifiers = control | mod1 | mod4, .locks = lock | mod2}));
}

TEST(X11Keys, AreFoundWhereTheModifiersStandElsewhere) {
    const auto keyboard = Keyboard()
                              .key(59, '.')
                              .key(108, altRight)
                              .key(134, superRight)
                              .key(77, numLock)
                              .modifier(5, 134)
                              .modifier(7, 108)
                              .modifier(3, 77);
    EXPECT_EQ(stopKeys(keyboard.made),
              (X11Keys{.keyCode = 59, .modifiers = control | mod5 | mod3, .locks = lock | mod1}));
}

TEST(X11Keys, ADotWithShiftCountsWhereThereIsNoOther) {
    EXPECT_EQ(stopKeys(usual().key(60, ':', '/').key(59, ';', '.').made)->keyCode, 59);
    EXPECT_EQ(stopKeys(usual().key(50, ';', '.').made)->keyCode, 60);
}

TEST(X11Keys, WithoutNumLockThereAreTwoStates) {
    const auto keys = stopKeys(usual().modifier(4, 0).made);
    ASSERT_TRUE(keys);
    EXPECT_THAT(keys->masks(),
                UnorderedElementsAre(control | mod1 | mod4, control | mod1 | mod4 | lock));
}

TEST(X11Keys, CoverAllFourStatesOfTheLocks) {
    constexpr std::uint16_t held = control | mod1 | mod4;
    const auto keys = *stopKeys(usual().made);
    EXPECT_THAT(keys.masks(),
                UnorderedElementsAre(held, held | lock, held | mod2, held | lock | mod2));
    for (const auto mask : keys.masks()) {
        EXPECT_TRUE(keys.matches(60, mask));
        EXPECT_FALSE(keys.matches(61, mask));
    }
    // With a mouse button held; with Shift; with one modifier missing.
    EXPECT_TRUE(keys.matches(60, held | 0x100));
    EXPECT_FALSE(keys.matches(60, held | 1));
    EXPECT_FALSE(keys.matches(60, control | mod1));
}

TEST(X11Keys, AKeyboardWithoutOneOfThemHasNone) {
    EXPECT_EQ(stopKeys(usual().key(60, ',').made), std::nullopt);
    EXPECT_EQ(stopKeys(usual().modifier(3, 0).made), std::nullopt);
    EXPECT_EQ(stopKeys(usual().modifier(6, 0).made), std::nullopt);
    EXPECT_EQ(stopKeys({}), std::nullopt);
}

TEST(X11Keys, ModifiersThatCannotBeToldApartGiveNone) {
    EXPECT_EQ(stopKeys(usual().modifier(3, 64, 133).modifier(6, 0).made), std::nullopt);
    EXPECT_EQ(stopKeys(usual().modifier(4, 0).modifier(3, 64, 77).made), std::nullopt);
}

TEST(X11Keys, AnAnswerThatIsTooShortIsNotReadPastItsEnd) {
    auto keyboard = usual().made;
    keyboard.symbols.resize(3);
    EXPECT_EQ(stopKeys(keyboard), std::nullopt);
    keyboard = usual().made;
    keyboard.modifierKeys.resize(5);
    EXPECT_EQ(stopKeys(keyboard), std::nullopt);
}

} // namespace
} // namespace velmoran
