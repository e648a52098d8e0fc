#include "app/replay/ReplayReader.h"

#include <string_view>

namespace velmoran {

std::optional<ReplayLine> ReplayReader::next() {
    while (std::getline(input_, line_)) {
        ++number_;
        std::string_view text = line_;
        if (number_ == 1 && text.starts_with("\xEF\xBB\xBF")) {
            text.remove_prefix(3); // the mark that some editors put before UTF-8
        }
        if (text.starts_with('#') || text.find_first_not_of(" \t\r") == std::string_view::npos) {
            continue;
        }
        // The JSON library would skip such a mark anywhere.
        if (text.starts_with('\xEF')) {
            throw ReplayError(number_, "not JSON: it doesn't begin with \"{\"");
        }
        try {
            auto line = parseReplayLine(text);
            if (std::holds_alternative<ReplayBeginning>(line) && !first_) {
                throw ReplayError(number_, "\"begin\" is not on the first line");
            }
            if (const auto* action = std::get_if<ReplayAction>(&line)) {
                if (action->at < last_) {
                    throw ReplayError(number_, "the time goes back, from " + Json(last_).dump() +
                                                   " to " + Json(action->at).dump());
                }
                last_ = action->at;
            }
            first_ = false;
            return line;
        } catch (const DecodingError& error) {
            throw ReplayError(number_, error.what());
        }
    }
    if (input_.bad()) {
        throw ReplayError(number_ + 1, "it can't be read");
    }
    return std::nullopt;
}

} // namespace velmoran
