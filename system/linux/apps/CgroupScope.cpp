#include "system/linux/apps/CgroupScope.h"

#include "system/TextParsing.h"
#include "system/linux/kernel/Files.h"

#include <algorithm>

namespace velmoran {

namespace {

int hexDigit(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    return -1;
}

/// Undoes "\xHH", the escape of unit names (systemd.unit(5)).
std::string unescape(std::string_view text) {
    std::string plain;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text.substr(at).starts_with("\\x") && at + 3 < text.size() &&
            hexDigit(text[at + 2]) >= 0 && hexDigit(text[at + 3]) >= 0) {
            plain += static_cast<char>(hexDigit(text[at + 2]) * 16 + hexDigit(text[at + 3]));
            at += 3;
        } else {
            plain += text[at];
        }
    }
    return plain;
}

bool consumeSuffix(std::string_view& text, std::string_view end) {
    if (!text.ends_with(end)) {
        return false;
    }
    text.remove_suffix(end.size());
    return true;
}

/// Takes "-N" off the end, N being whatever makes the unit unique.
bool consumeUniquePart(std::string_view& text) {
    const auto dash = text.rfind('-');
    if (dash == std::string_view::npos || dash == 0 || dash + 1 == text.size()) {
        return false;
    }
    text = text.substr(0, dash);
    return true;
}

std::optional<CgroupScope> parseUnit(std::string_view unit) {
    using Kind = CgroupScope::Kind;
    const bool isScope = consumeSuffix(unit, ".scope");
    if (!isScope && !consumeSuffix(unit, ".service")) {
        return std::nullopt;
    }
    if (consumePrefix(unit, "snap.")) {
        const auto dot = unit.find('.');
        if (dot == std::string_view::npos || dot == 0) {
            return std::nullopt;
        }
        auto app = unit.substr(dot + 1);
        // Behind the program's name comes a UUID, which has dashes itself, or a bare number.
        constexpr std::size_t uuidLength = 36;
        if (app.size() > uuidLength + 1 && app[app.size() - uuidLength - 1] == '-') {
            app.remove_suffix(uuidLength + 1);
        } else if (isScope) {
            consumeUniquePart(app);
        }
        return CgroupScope{
            .kind = Kind::snap, .id = unescape(unit.substr(0, dot)), .app = unescape(app)};
    }
    if (!consumePrefix(unit, "app-")) {
        return std::nullopt;
    }
    if (isScope && consumePrefix(unit, "flatpak-")) {
        if (!consumeUniquePart(unit)) {
            return std::nullopt;
        }
        return CgroupScope{.kind = Kind::flatpak, .id = unescape(unit), .app = {}};
    }
    if (isScope) {
        if (!consumeUniquePart(unit)) {
            return std::nullopt;
        }
    } else {
        unit = unit.substr(0, unit.find('@'));
    }
    if (const auto dash = unit.find('-'); dash != std::string_view::npos) {
        unit.remove_prefix(dash + 1);
    }
    if (unit.empty()) {
        return std::nullopt;
    }
    return CgroupScope{.kind = Kind::desktop, .id = unescape(unit), .app = {}};
}

} // namespace

std::optional<CgroupScope> parseCgroupScope(std::string_view path) {
    while (!path.empty()) {
        const auto unit = fileName(path);
        if (auto scope = parseUnit(unit); scope && !scope->id.empty()) {
            return scope;
        }
        path.remove_suffix(std::min(unit.size() + 1, path.size()));
    }
    return std::nullopt;
}

std::optional<CgroupScope> parseCgroupScope(const std::vector<std::string>& paths) {
    for (const auto& path : paths) {
        if (auto scope = parseCgroupScope(std::string_view(path))) {
            return scope;
        }
    }
    return std::nullopt;
}

} // namespace velmoran
