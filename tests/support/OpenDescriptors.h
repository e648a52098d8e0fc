// The open descriptors of a process by their numbers, with what each leads to, as the program sees
// them.
#pragma once

#include "system/linux/kernel/ProcFs.h"

#include <filesystem>
#include <map>
#include <string>

namespace velmoran::support {

inline std::map<int, std::string> openDescriptors(pid_t pid) {
    std::map<int, std::string> found;
    ProcFs().eachDescriptor(pid, [&](int folder, const char* name) {
        std::error_code ended;
        const std::string at = "/proc/self/fd/" + std::to_string(folder) + '/' + name;
        const auto target = std::filesystem::read_symlink(at, ended);
        if (!ended) {
            found.emplace(std::stoi(name), target);
        }
    });
    return found;
}

} // namespace velmoran::support
