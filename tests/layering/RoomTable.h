// The table of the rooms of the source tree (rooms.txt): who may include whom.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace velmoran {

struct Room {
    std::string name; ///< the folder, from the top of the tree
    std::string purpose;
    std::vector<std::string> rooms;     ///< whose headers it may include beside its own
    std::vector<std::string> libraries; ///< as rooms.txt explains them

    bool operator==(const Room&) const = default;
};

struct RoomTable {
    std::vector<Room> rooms;
    /// "line: what is wrong": what can't be read, a room that stands there twice or without a
    /// purpose, and one that is used above the place where it stands, which is how circles look.
    std::vector<std::string> complaints;

    const Room* find(std::string_view name) const;
};

RoomTable readRooms(std::string_view text);

/// What the table allows and no table may: a way from `core` or `system` to a room above, from one
/// platform to another, from what all machines share to a platform, from a screen to the shell, and
/// the operating system in `core` or Qt below `app`.
std::vector<std::string> forbiddenWays(const RoomTable& table);

} // namespace velmoran
