// Where the system's own programs lie on a Linux desktop. Says nothing of whether the file there
// can be relied on: who asks has made sure that only root can write it. Constant; any thread.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

namespace velmoran {

struct LinuxSystemProgram {
    /// Absolute and with links resolved. A "*" stands for one folder or part of a folder's or
    /// file's name, as the multiarch folders of Debian need it.
    std::vector<std::string_view> paths;
    std::string_view signingID; ///< of a row of SystemProcess::onLinux
};

const std::vector<LinuxSystemProgram>& linuxSystemPrograms();

/// The identifier of the system's own program at that path; nothing for all other paths.
std::optional<std::string_view> linuxSystemIdentifier(std::string_view path);

} // namespace velmoran
