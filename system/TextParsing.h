// Reading of short texts in fixed forms: the kernel's entries, lists of names, paths. Pure; any
// thread.
#pragma once

#include <charconv>
#include <optional>
#include <string_view>
#include <system_error>

namespace velmoran {

/// Calls `each` with every piece of the text. Behind a separator at the end there is no empty
/// piece, and in an empty text none at all.
template <typename Each>
void eachPiece(std::string_view text, char separator, Each each) {
    while (!text.empty()) {
        const auto end = text.find(separator);
        each(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
}

/// Whether a name stands in a list of names with blanks between them.
inline bool isListed(std::string_view name, std::string_view names) {
    if (name.empty() || name.find(' ') != std::string_view::npos) {
        return false;
    }
    for (auto at = names.find(name); at != std::string_view::npos; at = names.find(name, at + 1)) {
        const auto end = at + name.size();
        if ((at == 0 || names[at - 1] == ' ') && (end == names.size() || names[end] == ' ')) {
            return true;
        }
    }
    return false;
}

/// Takes that off the front; false if the text begins otherwise.
inline bool consumePrefix(std::string_view& text, std::string_view start) {
    if (!text.starts_with(start)) {
        return false;
    }
    text.remove_prefix(start.size());
    return true;
}

/// Takes a number off the front; nothing if none stands there or it is too large.
template <typename Number>
std::optional<Number> consumeNumber(std::string_view& text, int base = 10) {
    Number number{};
    const auto [rest, error] =
        std::from_chars(text.data(), text.data() + text.size(), number, base);
    if (error != std::errc{}) {
        return std::nullopt;
    }
    text.remove_prefix(static_cast<std::size_t>(rest - text.data()));
    return number;
}

/// The number that the whole text is; nothing for any other text.
template <typename Number>
std::optional<Number> wholeNumber(std::string_view text) {
    const auto number = consumeNumber<Number>(text);
    return text.empty() ? number : std::nullopt;
}

} // namespace velmoran
