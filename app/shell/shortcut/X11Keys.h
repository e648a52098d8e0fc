// Which keys and modifiers the keyboard of now has, as an X server numbers them. Pure, over what
// the server has answered.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace velmoran {

/// The server's answer to GetKeyboardMapping and GetModifierMapping.
struct X11Keyboard {
    std::uint8_t firstKeyCode = 8;
    int symbolsPerKey = 0;
    std::vector<std::uint32_t> symbols; ///< `symbolsPerKey` for each key code from the first on
    int keysPerModifier = 0;
    std::vector<std::uint8_t>
        modifierKeys; ///< key codes of Shift, Lock, Control, Mod1 … Mod5; 0: none

    bool operator==(const X11Keyboard&) const = default;
};

/// A key and the modifiers that are held with it.
struct X11Keys {
    std::uint8_t keyCode = 0;
    std::uint16_t modifiers = 0;
    std::uint16_t locks = 0; ///< bits that may be set or not: caps and num lock

    bool operator==(const X11Keys&) const = default;
    /// Every state of the locks, with the modifiers: up to four masks, each once.
    std::vector<std::uint16_t> masks() const;
    bool matches(std::uint8_t key, std::uint16_t state) const;
};

/// Control, Alt, Super and the key for "."; nothing where the keyboard has no such key, or no
/// modifier for Alt or Super of its own.
std::optional<X11Keys> stopKeys(const X11Keyboard& keyboard);

} // namespace velmoran
