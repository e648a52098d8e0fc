#include "core/base/ProgramName.h"

#include <optional>

namespace velmoran {

namespace {

/// Without the form that was put around it once; nothing if there is none.
std::optional<std::string_view> unwrapped(std::string_view name, std::string_view end) {
    if (!name.starts_with('.') || !name.ends_with(end) || name.size() <= end.size() + 1) {
        return std::nullopt;
    }
    return name.substr(1, name.size() - end.size() - 1);
}

std::string_view inNixStore(std::string_view name) {
    for (;;) {
        // One for each file of that name that was there before.
        const auto last = name.find_last_not_of('_');
        const auto bare = last == std::string_view::npos ? name : name.substr(0, last + 1);
        const auto inner = unwrapped(bare, "-wrapped");
        if (!inner) {
            return name;
        }
        name = *inner;
    }
}

std::string_view inGuixStore(std::string_view name) {
    while (const auto inner = unwrapped(name, "-real")) {
        name = *inner;
    }
    return name;
}

} // namespace

std::string_view programName(std::string_view path) {
    const auto name = path.substr(path.rfind('/') + 1);
    if (path.starts_with("/nix/store/")) {
        return inNixStore(name);
    }
    return path.starts_with("/gnu/store/") ? inGuixStore(name) : name;
}

} // namespace velmoran
