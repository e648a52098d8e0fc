// What a second start asks of the first one: a window, and what the desktop has given to that start
// so that the window may come to the front. Written as one text, in which a tab lies between them.
#pragma once

#include <string>
#include <string_view>

namespace velmoran {

struct Wish {
    std::string window; ///< empty is the main one
    std::string token;  ///< for activation, as the desktop gave it; empty if it gave none

    static Wish from(std::string_view text) {
        const auto tab = text.find('\t');
        return {.window = std::string(text.substr(0, tab)),
                .token = tab == text.npos ? "" : std::string(text.substr(tab + 1))};
    }
    std::string text() const { return token.empty() ? window : window + '\t' + token; }
};

} // namespace velmoran
