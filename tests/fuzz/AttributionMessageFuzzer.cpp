// Whatever the log tool writes: the reader may not crash, and lines taken from chunks must be the
// same however the bytes are cut.
#include "system/macos/AttributionMessage.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace velmoran;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    parseAttributionMessage(text);

    LineBuffer whole;
    LineBuffer cut;
    std::vector<std::string> lines;
    whole.append(text);
    while (auto line = whole.popLine()) {
        lines.push_back(std::move(*line));
    }
    std::size_t next = 0;
    for (std::size_t at = 0; at < size; at += 3) {
        cut.append(text.substr(at, 3));
        while (const auto line = cut.popLine()) {
            if (next >= lines.size() || *line != lines[next++]) {
                std::abort();
            }
        }
    }
    if (next != lines.size() || whole.rest() != cut.rest()) {
        std::abort();
    }
    std::optional<AttributionTable> last;
    for (const auto& line : lines) {
        if (auto table = parseAttributionLine(line)) {
            last = std::move(table);
        }
    }
    if (auto table = parseAttributionLine(whole.rest())) {
        last = std::move(table);
    }
    if (last != parseAttributionHistory(text)) {
        std::abort();
    }
    return 0;
}
