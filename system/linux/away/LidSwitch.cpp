#include "system/linux/away/LidSwitch.h"

#include "system/linux/kernel/Files.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <filesystem>
#include <system_error>

#include <linux/input-event-codes.h>

namespace velmoran {

namespace {

/// The lowest of the hexadecimal words in which the kernel writes which switches a device has.
std::uint64_t lowestWord(const std::string& text) {
    const auto end = text.find_last_not_of(" \n") + 1;
    const auto begin = end == 0 ? 0 : text.find_last_of(' ', end - 1) + 1;
    std::uint64_t word = 0;
    std::from_chars(text.data() + begin, text.data() + end, word, 16);
    return word;
}

} // namespace

bool hasLidSwitch(const std::string& folder) {
    std::error_code error;
    if (!std::filesystem::is_directory(folder, error)) {
        return true;
    }
    const auto names = sortedNamesIn(folder);
    return std::any_of(names.begin(), names.end(), [&](const std::string& name) {
        constexpr std::size_t longest = 256;
        const auto switches =
            readFileUpTo(folder + '/' + name + "/capabilities/sw", longest).value_or("");
        return ((lowestWord(switches) >> SW_LID) & 1U) != 0;
    });
}

} // namespace velmoran
