#include "RoomTable.h"

#include <algorithm>
#include <sstream>

namespace velmoran {

namespace {

bool isInside(std::string_view room, std::string_view hall) {
    return room == hall || (room.starts_with(hall) && room.substr(hall.size()).starts_with('/'));
}

/// Whether the one may never see the other, whatever the table says.
bool isForbidden(std::string_view from, std::string_view to) {
    const auto goes = [&](std::string_view source, std::string_view target) {
        return isInside(from, source) && isInside(to, target);
    };
    for (const std::string_view platform : {"system/linux", "system/macos"}) {
        if (isInside(to, platform) && !isInside(from, platform)) {
            return true;
        }
    }
    return (isInside(from, "core") && !isInside(to, "core")) || goes("system", "app") ||
           goes("system", "ctl") || goes("app", "ctl") || goes("app/screens", "app/shell") ||
           (goes("app", "app/shell") && !isInside(from, "app/shell"));
}

bool isForbiddenLibrary(std::string_view room, std::string_view library) {
    if (isInside(room, "core")) {
        return library == "qt" || library == "posix" || library == "linux";
    }
    return isInside(room, "system") &&
           (library == "qt" || (library == "linux" && !isInside(room, "system/linux")));
}

std::vector<std::string> words(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> result;
    for (std::string word; stream >> word;) {
        result.push_back(word);
    }
    return result;
}

} // namespace

const Room* RoomTable::find(std::string_view name) const {
    const auto found = std::find_if(rooms.begin(), rooms.end(),
                                    [&](const Room& room) { return room.name == name; });
    return found == rooms.end() ? nullptr : &*found;
}

RoomTable readRooms(std::string_view text) {
    RoomTable table;
    std::istringstream lines{std::string(text)};
    int number = 0;
    const auto complain = [&](const std::string& what) {
        table.complaints.push_back(std::to_string(number) + ": " + what);
    };
    std::vector<std::string> Room::*list = nullptr;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        if (line.starts_with('#') || words(line).empty()) {
            continue;
        }
        if (!line.starts_with(' ')) {
            list = nullptr;
            const auto colon = line.find(": ");
            if (colon == std::string::npos) {
                complain("a room has a name, a colon and a purpose");
                continue;
            }
            const auto name = line.substr(0, colon);
            if (table.find(name)) {
                complain(name + " stands here twice");
            }
            table.rooms.push_back({name, line.substr(colon + 2), {}, {}});
            continue;
        }
        auto all = words(line);
        if (all.front() == "rooms:") {
            list = &Room::rooms;
            all.erase(all.begin());
        } else if (all.front() == "libraries:") {
            list = &Room::libraries;
            all.erase(all.begin());
        }
        if (table.rooms.empty() || !list) {
            complain("neither \"rooms:\" nor \"libraries:\" of a room");
            continue;
        }
        auto& room = table.rooms.back();
        for (const auto& word : all) {
            if (list == &Room::rooms && (word == room.name || !table.find(word))) {
                complain(room.name + " uses " + word + ", which doesn't stand above it");
            }
            (room.*list).push_back(word);
        }
    }
    return table;
}

std::vector<std::string> forbiddenWays(const RoomTable& table) {
    std::vector<std::string> result;
    for (const auto& room : table.rooms) {
        for (const auto& other : room.rooms) {
            if (isForbidden(room.name, other)) {
                result.push_back(room.name + " may never use " + other);
            }
        }
        for (const auto& library : room.libraries) {
            if (isForbiddenLibrary(room.name, library)) {
                result.push_back(room.name + " may never use " + library);
            }
        }
    }
    return result;
}

} // namespace velmoran
