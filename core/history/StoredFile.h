// What stands at a history file's place, found out without touching it. Private to core/history: it
// shows the database library.
#pragma once

#include <SQLiteCpp/Database.h>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace velmoran::StoredFile {

// Both stand in the first page of the file and say what it is before anything of it is believed.
inline constexpr std::uint32_t applicationMark = 0x566C6D6E; // "Vlmn"
inline constexpr int schemaVersion = 10000;                  // 1.0.0

enum class State {
    absent,
    empty,    ///< of no bytes
    marked,   ///< a database with our mark
    unmarked, ///< a database without any mark: ours only if its tables are
};

struct Found {
    State state = State::absent;
    bool hasLog = false; ///< what is written goes into a write-ahead log first
};

/// Looks at the first bytes without the database library, which for a foreign database could begin
/// to repair what isn't ours. Throws std::runtime_error if it can't be ours.
Found inspect(const std::filesystem::path& file);

/// Throws std::runtime_error if these aren't our tables. True if there are none at all.
bool checkTables(SQLite::Database& sqlite, const std::filesystem::path& file, State state);
bool isBlank(SQLite::Database& sqlite);

/// Throws std::runtime_error.
[[noreturn]] void refuse(const std::filesystem::path& file, std::string_view why);
/// Why the last call of the standard library failed.
std::string systemReason();

} // namespace velmoran::StoredFile
