#include "system/linux/kernel/ProcMaps.h"

#include "system/TextParsing.h"

#include <algorithm>

namespace velmoran {

std::optional<ProcMapping> parseProcMapping(std::string_view line) {
    const auto skipHexThen = [&](std::string_view sign) {
        return consumeNumber<std::uint64_t>(line, 16) && consumePrefix(line, sign);
    };
    if (!skipHexThen("-") || !skipHexThen(" ")) {
        return std::nullopt;
    }
    constexpr std::size_t permissions = 4;
    line.remove_prefix(std::min(permissions, line.size()));
    if (!consumePrefix(line, " ") || !skipHexThen(" ") || !skipHexThen(":") || !skipHexThen(" ")) {
        return std::nullopt;
    }
    const auto inode = consumeNumber<std::uint64_t>(line);
    if (!inode || (!line.empty() && line.front() != ' ')) {
        return std::nullopt;
    }
    line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
    return ProcMapping{.inode = *inode, .path = std::string(line.substr(0, line.find('\n')))};
}

} // namespace velmoran
