#include "system/linux/apps/LinuxCodeSignatures.h"

#include "core/sessions/SystemProcessLinux.h"
#include "system/linux/kernel/Files.h"

#include <mutex>
#include <unordered_map>

namespace velmoran {

namespace {

struct Checked {
    std::mutex mutex;
    std::unordered_map<std::string, std::optional<std::string>> identifiers;
    std::size_t checks = 0;
};

Checked& checked() {
    static Checked all;
    return all;
}

} // namespace

std::optional<std::string> LinuxCodeSignatures::teamID(const std::string& path) {
    const auto real = places_.protection.realPath(path);
    if (!real) {
        return std::nullopt;
    }
    for (const auto& flatpak : places_.flatpaks) {
        if (isBelow(*real, flatpak.path + "/app")) {
            return "flatpak:" + flatpak.name;
        }
    }
    for (const auto& root : places_.snapRoots) {
        if (isBelow(*real, root)) {
            return "snap";
        }
    }
    return "system";
}

std::optional<std::string> LinuxCodeSignatures::systemIdentifier(const std::string& path) {
    auto& all = checked();
    const std::lock_guard lock(all.mutex);
    if (const auto known = all.identifiers.find(path); known != all.identifiers.end()) {
        return known->second;
    }
    ++all.checks;
    return all.identifiers.emplace(path, findSystemIdentifier(path)).first->second;
}

std::optional<std::string> LinuxCodeSignatures::findSystemIdentifier(const std::string& path) {
    const auto identifier = linuxSystemIdentifier(path);
    // The table first: it costs no look at the disk.
    if (!identifier || places_.protection.realPath(path) != path || teamID(path) != "system") {
        return std::nullopt;
    }
    return std::string(*identifier);
}

std::size_t LinuxCodeSignatures::checks() {
    auto& all = checked();
    const std::lock_guard lock(all.mutex);
    return all.checks;
}

} // namespace velmoran
