#include "system/macos/AttributionMessage.h"

#include "core/base/Json.h"
#include "system/TextParsing.h"

#include <algorithm>
#include <utility>

namespace velmoran {

std::optional<AttributionTable> parseAttributionMessage(std::string_view message) {
    constexpr std::string_view marker = "changed to ";
    const auto found = message.find(marker);
    if (found == std::string_view::npos) {
        return std::nullopt;
    }
    const auto list = Json::parse(message.substr(found + marker.size()), nullptr, false);
    const auto isText = [](const Json& element) {
        return element.is_string();
    };
    if (!list.is_array() || !std::all_of(list.begin(), list.end(), isText)) {
        return std::nullopt;
    }
    AttributionTable table;
    for (const auto& element : list) {
        const auto& text = element.get_ref<const std::string&>();
        if (const auto colon = text.find(':'); colon != std::string::npos) {
            table[text.substr(0, colon)].push_back(text.substr(colon + 1));
        }
    }
    return table;
}

std::optional<AttributionTable> parseAttributionLine(std::string_view line) {
    const auto object = Json::parse(line, nullptr, false);
    if (!object.is_object()) {
        return std::nullopt;
    }
    const auto message = object.find("eventMessage");
    if (message == object.end() || !message->is_string()) {
        return std::nullopt;
    }
    return parseAttributionMessage(message->get_ref<const std::string&>());
}

std::optional<AttributionTable> parseAttributionHistory(std::string_view output) {
    std::optional<AttributionTable> last;
    eachPiece(output, '\n', [&](std::string_view line) {
        if (auto table = parseAttributionLine(line)) {
            last = std::move(table);
        }
    });
    return last;
}

std::optional<std::string> LineBuffer::popLine() {
    const auto end = bytes_.find('\n');
    if (end == std::string::npos) {
        return std::nullopt;
    }
    std::string line = bytes_.substr(0, end);
    bytes_.erase(0, end + 1);
    return line;
}

} // namespace velmoran
