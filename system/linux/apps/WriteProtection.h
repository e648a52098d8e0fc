// Whether a file is what root put there: only root can write it, and only root could have put
// another in its place. The ground on which a program's origin, its id and the system's own code
// are believed. A value; asks the file system each time; any thread.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace velmoran {

class WriteProtection {
public:
    WriteProtection() = default;
    /// For a stand-in of the whole file system: folders down to and with `base` aren't looked at,
    /// and `owner` takes root's place, `group` that of root's group.
    WriteProtection(std::string base, uid_t owner, gid_t group = 0)
        : base_(std::move(base)),
          owner_(owner),
          group_(group) {}

    /// The real path of a file or folder, if it, every folder above it, and every link passed on
    /// the way belong to root and can be written by nobody else. Group root may write; access
    /// lists are not looked at. Nothing under /proc, where a link isn't what its text says, and
    /// under /media and /run, where any user may have a file system of his own mounted that says
    /// of its files whatever he likes.
    std::optional<std::string> realPath(const std::string& path) const;
    bool protects(const std::string& path) const { return realPath(path).has_value(); }

private:
    std::string base_ = "/";
    uid_t owner_ = 0;
    gid_t group_ = 0;
};

} // namespace velmoran
