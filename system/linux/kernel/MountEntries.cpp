#include "system/linux/kernel/MountEntries.h"

#include "system/TextParsing.h"

#include <algorithm>
#include <optional>

#include <sys/sysmacros.h>

namespace velmoran {

namespace {

/// The kernel writes blanks, tabs, line ends and backslashes as three octal digits.
std::string withoutOctals(std::string_view text) {
    std::string result;
    const auto isOctal = [](char c) {
        return c >= '0' && c <= '7';
    };
    while (!text.empty()) {
        if (text.size() >= 4 && text[0] == '\\' && isOctal(text[1]) && isOctal(text[2]) &&
            isOctal(text[3])) {
            result +=
                static_cast<char>((text[1] - '0') * 64 + (text[2] - '0') * 8 + (text[3] - '0'));
            text.remove_prefix(4);
        } else {
            result += text.front();
            text.remove_prefix(1);
        }
    }
    return result;
}

std::optional<dev_t> deviceNumber(std::string_view text) {
    const auto first = consumeNumber<unsigned>(text);
    if (!first || !consumePrefix(text, ":")) {
        return std::nullopt;
    }
    const auto second = consumeNumber<unsigned>(text);
    return second && text.empty() ? std::optional<dev_t>(makedev(*first, *second)) : std::nullopt;
}

} // namespace

unsigned fuseConnection(const MountEntry& entry) {
    return minor(entry.device);
}

std::vector<MountEntry> readMountTable(std::string_view text) {
    std::vector<MountEntry> all;
    eachPiece(text, '\n', [&](std::string_view line) {
        std::vector<std::string_view> fields;
        eachPiece(line, ' ', [&](std::string_view field) { fields.push_back(field); });
        // Six that are always there, then as many as the mount has, then a dash.
        constexpr std::size_t fixed = 6;
        if (fields.size() < fixed) {
            return;
        }
        const auto dash = std::find(fields.begin() + fixed, fields.end(), "-");
        const auto device = deviceNumber(fields[2]);
        const auto behind = fields.end() - dash;
        if (!device || behind < 3) {
            return;
        }
        all.push_back({.device = *device,
                       .root = withoutOctals(fields[3]),
                       .folder = withoutOctals(fields[4]),
                       .type = withoutOctals(dash[1]),
                       .source = withoutOctals(dash[2]),
                       .options = behind > 3 ? withoutOctals(dash[3]) : std::string()});
    });
    return all;
}

} // namespace velmoran
