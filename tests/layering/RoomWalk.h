// A walk over the source tree that holds each include against the table of rooms.
#pragma once

#include "RoomTable.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmoran {

/// What is wrong with that line in the file at `path` (from the top of the tree, with "/"); nothing
/// if it includes nothing, or what the file's room may see. The room stands in the table.
std::optional<std::string> includeComplaint(const RoomTable& table, std::string_view path,
                                            std::string_view line);

struct RoomWalk {
    /// "path:line: what is wrong" of includes, "path: what is wrong" of files and rooms.
    std::vector<std::string> complaints;
    std::vector<std::string> files; ///< the program's files that were read, sorted
};

/// All C++ and Objective-C files of core, system, app and ctl under `top`. Those of tests/core and
/// so on may include what they want, but stand in a folder that is named after a room or holds
/// such.
RoomWalk walkRooms(const RoomTable& table, const std::filesystem::path& top);

} // namespace velmoran
