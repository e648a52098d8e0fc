#include "system/linux/kernel/ProcMaps.h"

#include <charconv>

namespace velmoran {

namespace {

// Takes a number off the front of the text; false if none stands there or it is too large.
bool takeNumber(std::string_view& text, int base, std::uint64_t& number) {
    const auto* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number, base);
    if (error != std::errc()) {
        return false;
    }
    text.remove_prefix(static_cast<std::size_t>(rest - text.data()));
    return true;
}

bool takeSign(std::string_view& text, char sign) {
    if (text.empty() || text.front() != sign) {
        return false;
    }
    text.remove_prefix(1);
    return true;
}

} // namespace

std::optional<ProcMapping> parseProcMapping(std::string_view line) {
    ProcMapping mapping;
    std::uint64_t ignored = 0;
    if (!takeNumber(line, 16, ignored) || !takeSign(line, '-') || !takeNumber(line, 16, ignored) ||
        !takeSign(line, ' ')) {
        return std::nullopt;
    }
    constexpr std::size_t permissions = 4;
    if (line.size() <= permissions || line[permissions] != ' ') {
        return std::nullopt;
    }
    line.remove_prefix(permissions + 1);
    if (!takeNumber(line, 16, ignored) || !takeSign(line, ' ') || !takeNumber(line, 16, ignored) ||
        !takeSign(line, ':') || !takeNumber(line, 16, ignored) || !takeSign(line, ' ') ||
        !takeNumber(line, 10, mapping.inode)) {
        return std::nullopt;
    }
    if (!line.empty() && line.front() != ' ') {
        return std::nullopt;
    }
    const auto start = line.find_first_not_of(' ');
    if (start != std::string_view::npos) {
        line.remove_prefix(start);
        mapping.path = line.substr(0, line.find('\n'));
    }
    return mapping;
}

} // namespace velmoran
