#include "core/history/StoredFile.h"

#include "core/history/SessionRecord.h"

#include <SQLiteCpp/Statement.h>
#include <algorithm>
#include <array>
#include <cerrno>
#include <fmt/format.h>
#include <fstream>
#include <span>
#include <stdexcept>
#include <system_error>
#include <vector>

namespace velmoran::StoredFile {

namespace fs = std::filesystem;

namespace {

constexpr std::array<const char*, 4> awayColumnNames = {"id", "start", "end", "payload"};

bool hasColumns(SQLite::Database& sqlite, const char* table,
                std::span<const char* const> expected) {
    SQLite::Statement query(sqlite, "SELECT name FROM pragma_table_info(?) ORDER BY cid");
    query.bindNoCopy(1, table);
    std::vector<std::string> names;
    while (query.executeStep()) {
        names.push_back(query.getColumn(0).getString());
    }
    return std::ranges::equal(names, expected,
                              [](const auto& name, const char* other) { return name == other; });
}

bool hasOurTables(SQLite::Database& sqlite) {
    return hasColumns(sqlite, "SessionRecord", SessionRecord::columnNames) &&
           hasColumns(sqlite, "AwayReportRecord", awayColumnNames);
}

} // namespace

void refuse(const fs::path& file, std::string_view why) {
    throw std::runtime_error(fmt::format("{}: {}", file.string(), why));
}

std::string systemReason() {
    return std::generic_category().message(errno);
}

Found inspect(const fs::path& file) {
    const auto status = fs::status(file);
    if (!fs::exists(status)) {
        return {State::absent};
    }
    if (!fs::is_regular_file(status)) {
        refuse(file, "not a file");
    }
    if (fs::file_size(file) == 0) {
        return {State::empty};
    }
    std::array<char, 100> header{};
    errno = 0;
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        refuse(file, systemReason());
    }
    constexpr std::string_view magic("SQLite format 3\0", 16);
    if (!stream.read(header.data(), header.size()) ||
        std::string_view(header.data(), magic.size()) != magic) {
        refuse(file, "not a database");
    }
    constexpr std::size_t readVersion = 19;
    constexpr char logged = 2;
    const bool hasLog = header[readVersion] == logged;
    std::uint32_t mark = 0;
    for (const char byte : std::span(header).subspan(68, 4)) {
        mark = mark << 8U | static_cast<unsigned char>(byte);
    }
    if (mark == applicationMark) {
        return {State::marked, hasLog};
    }
    auto journal = file;
    journal += "-journal";
    std::error_code none;
    if (mark != 0 || (fs::exists(journal, none) && fs::file_size(journal, none) > 0)) {
        refuse(file, "a database of another program");
    }
    return {State::unmarked, hasLog};
}

bool isBlank(SQLite::Database& sqlite) {
    return sqlite.execAndGet("SELECT count(*) FROM sqlite_master").getInt() == 0;
}

bool checkTables(SQLite::Database& sqlite, const fs::path& file, State state) {
    const auto version = sqlite.execAndGet("PRAGMA user_version").getInt();
    const bool hasNone = isBlank(sqlite);
    if (hasNone ? state == State::unmarked && version != 0 : !hasOurTables(sqlite)) {
        refuse(file, "a database of another program");
    }
    if (version > schemaVersion) {
        refuse(file, "written by a later version");
    }
    return hasNone;
}

} // namespace velmoran::StoredFile
