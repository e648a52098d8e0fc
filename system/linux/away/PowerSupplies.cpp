#include "system/linux/away/PowerSupplies.h"

#include "system/linux/kernel/Files.h"

#include <filesystem>
#include <string_view>
#include <system_error>

namespace velmoran {

namespace {

/// The word that a file of the kernel holds; empty if there is none.
std::string word(const std::filesystem::path& file) {
    constexpr std::size_t longest = 64;
    auto text = readFileUpTo(file, longest).value_or("");
    text.erase(text.find_last_not_of(" \n") + 1);
    return text;
}

} // namespace

std::optional<bool> isOnMains(const std::string& folder) {
    bool hasBattery = false;
    bool discharges = false;
    bool hasDeadMains = false;
    std::error_code error;
    std::filesystem::directory_iterator supply(folder, error);
    for (; !error && supply != std::filesystem::directory_iterator(); supply.increment(error)) {
        const auto& path = supply->path();
        if (word(path / "scope") == "Device") {
            continue; // of a mouse or a headset
        }
        const auto type = word(path / "type");
        if (type == "Battery") {
            hasBattery = true;
            discharges |= word(path / "status") == "Discharging";
        } else if (type == "Mains" || type == "USB" || type == "Wireless") {
            if (word(path / "online") == "1") {
                return true;
            }
            hasDeadMains = true;
        }
    }
    if (error) {
        return std::nullopt;
    }
    // A battery that is full, or isn't charged further, says neither.
    return !hasBattery || (!discharges && !hasDeadMains);
}

} // namespace velmoran
