#include "core/text/FilledSentence.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <optional>
#include <system_error>

namespace velmoran {

namespace {

/// A hole at the beginning of `rest`.
struct Hole {
    std::size_t length = 0;
    std::optional<std::size_t> position; ///< from 0; nothing for "the next one"
};

std::optional<Hole> holeAt(std::string_view rest) {
    std::size_t at = 1;
    Hole hole;
    std::size_t position = 0;
    const auto [end, error] =
        std::from_chars(rest.data() + at, rest.data() + rest.size(), position);
    if (error == std::errc() && position > 0 && end != rest.data() + rest.size() && *end == '$') {
        hole.position = position - 1;
        at = static_cast<std::size_t>(end - rest.data()) + 1;
    }
    for (const std::string_view kind : {"@", "lld"}) {
        if (rest.substr(at).starts_with(kind)) {
            hole.length = at + kind.size();
            return hole;
        }
    }
    return std::nullopt;
}

} // namespace

std::string filledSentence(std::string_view sentence, const std::vector<std::string>& arguments) {
    std::string result;
    std::size_t next = 0;
    while (!sentence.empty()) {
        const auto sign = std::min(sentence.find('%'), sentence.size());
        result += sentence.substr(0, sign);
        sentence.remove_prefix(sign);
        if (sentence.empty()) {
            break;
        }
        if (const auto hole = holeAt(sentence)) {
            const auto index = hole->position ? *hole->position : next++;
            if (index < arguments.size()) {
                result += arguments[index];
            }
            sentence.remove_prefix(hole->length);
        } else {
            result += '%';
            sentence.remove_prefix(sentence.starts_with("%%") ? 2 : 1);
        }
    }
    return result;
}

} // namespace velmoran
