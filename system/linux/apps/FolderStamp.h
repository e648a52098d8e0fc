// When a folder's list of names was last changed: who has read it compares two of these to know
// whether to read it again. A plain value; taken by one status call, on any thread.
#pragma once

#include <cstdint>
#include <string>

#include <sys/stat.h>

namespace velmoran {

struct FolderStamp {
    bool exists = false;
    std::int64_t seconds = 0;
    std::int64_t nanoseconds = 0;
    std::uint64_t inode = 0;

    static FolderStamp of(const std::string& folder) {
        struct stat entry {};
        if (::stat(folder.c_str(), &entry) != 0) {
            return {};
        }
        return {.exists = true,
                .seconds = entry.st_mtim.tv_sec,
                .nanoseconds = entry.st_mtim.tv_nsec,
                .inode = entry.st_ino};
    }
    bool operator==(const FolderStamp&) const = default;
};

} // namespace velmoran
