#include "app/shell/shortcut/X11Keys.h"

#include <algorithm>
#include <cstddef>

namespace velmoran {

namespace {

// Of X11/keysymdef.h.
constexpr std::uint32_t symbolPeriod = 0x002e;
constexpr std::uint32_t symbolNumLock = 0xff7f;
constexpr std::uint32_t symbolAltLeft = 0xffe9;
constexpr std::uint32_t symbolAltRight = 0xffea;
constexpr std::uint32_t symbolSuperLeft = 0xffeb;
constexpr std::uint32_t symbolSuperRight = 0xffec;

// Of X11/X.h.
constexpr std::uint16_t lockMask = 1U << 1U;
constexpr std::uint16_t controlMask = 1U << 2U;
constexpr std::uint16_t allModifiers = 0xFF;
constexpr std::size_t modifierCount = 8;
constexpr std::size_t firstFreeModifier = 3; ///< Mod1; the ones before have their meaning for good

bool hasSymbol(const X11Keyboard& keyboard, std::uint8_t key, std::uint32_t symbol) {
    if (key < keyboard.firstKeyCode || keyboard.symbolsPerKey <= 0) {
        return false;
    }
    const auto per = static_cast<std::size_t>(keyboard.symbolsPerKey);
    const auto from = (static_cast<std::size_t>(key) - keyboard.firstKeyCode) * per;
    if (from + per > keyboard.symbols.size()) {
        return false;
    }
    const auto first = keyboard.symbols.begin() + static_cast<std::ptrdiff_t>(from);
    return std::find(first, first + keyboard.symbolsPerKey, symbol) !=
           first + keyboard.symbolsPerKey;
}

/// The first of Mod1 … Mod5 that a key with this symbol sets; 0 for none.
std::uint16_t modifierOf(const X11Keyboard& keyboard, std::uint32_t symbol) {
    const auto keysOfEach = static_cast<std::size_t>(std::max(keyboard.keysPerModifier, 0));
    const auto end = std::min(modifierCount * keysOfEach, keyboard.modifierKeys.size());
    for (auto at = firstFreeModifier * keysOfEach; at < end; ++at) {
        if (hasSymbol(keyboard, keyboard.modifierKeys[at], symbol)) {
            return static_cast<std::uint16_t>(1U << (at / keysOfEach));
        }
    }
    return 0;
}

std::uint16_t modifierOf(const X11Keyboard& keyboard, std::uint32_t left, std::uint32_t right) {
    const auto found = modifierOf(keyboard, left);
    return found != 0 ? found : modifierOf(keyboard, right);
}

/// The key that gives "." by itself comes before one that gives it with Shift, and that before the
/// keys of another layout.
std::optional<std::uint8_t> keyOf(const X11Keyboard& keyboard, std::uint32_t symbol) {
    const auto per = static_cast<std::size_t>(std::max(keyboard.symbolsPerKey, 0));
    for (std::size_t column = 0; column < per; ++column) {
        for (std::size_t at = column; at < keyboard.symbols.size(); at += per) {
            if (keyboard.symbols[at] == symbol) {
                return static_cast<std::uint8_t>(keyboard.firstKeyCode + at / per);
            }
        }
    }
    return std::nullopt;
}

} // namespace

std::vector<std::uint16_t> X11Keys::masks() const {
    std::vector<std::uint16_t> result;
    // Every subset of the lock bits.
    std::uint16_t subset = locks;
    while (true) {
        result.push_back(static_cast<std::uint16_t>(modifiers | subset));
        if (subset == 0) {
            return result;
        }
        subset = static_cast<std::uint16_t>((subset - 1) & locks);
    }
}

bool X11Keys::matches(std::uint8_t key, std::uint16_t state) const {
    return key == keyCode && (state & allModifiers & ~locks) == modifiers;
}

std::optional<X11Keys> stopKeys(const X11Keyboard& keyboard) {
    const auto key = keyOf(keyboard, symbolPeriod);
    const auto alt = modifierOf(keyboard, symbolAltLeft, symbolAltRight);
    const auto super = modifierOf(keyboard, symbolSuperLeft, symbolSuperRight);
    const auto numLock = modifierOf(keyboard, symbolNumLock);
    // One bit for both, or for one of them and num lock, would take fewer keys than were meant.
    if (!key || alt == 0 || super == 0 || alt == super || numLock == alt || numLock == super) {
        return std::nullopt;
    }
    return X11Keys{.keyCode = *key,
                   .modifiers = static_cast<std::uint16_t>(controlMask | alt | super),
                   .locks = static_cast<std::uint16_t>(lockMask | numLock)};
}

} // namespace velmoran
