// How many entries a folder has; of /proc/self/fd and /proc/self/task, what a process has left
// open.
#pragma once

#include <cstddef>
#include <filesystem>
#include <iterator>

namespace velmoran::support {

inline std::size_t entriesIn(const char* folder) {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

} // namespace velmoran::support
