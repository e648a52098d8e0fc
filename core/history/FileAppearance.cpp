#include "core/history/FileAppearance.h"

#include <algorithm>
#include <span>
#include <string_view>

namespace velmoran {

namespace {

constexpr std::string_view magic("SQLite format 3\0", 16);

/// A number of the file's header, the greatest byte first.
std::int64_t number(std::span<const char> bytes) {
    std::int64_t value = 0;
    for (const char byte : bytes) {
        value = value * 256 + static_cast<unsigned char>(byte);
    }
    return value;
}

/// What the header says of the size of a page: 1 stands for what two bytes can't hold.
std::int64_t pageSize(std::span<const char> header) {
    const auto size = number(header.subspan(16, 2));
    return size == 1 ? 65536 : size;
}

bool logHasContent(sqlite3* connection) {
    sqlite3_file* log = nullptr;
    sqlite3_int64 size = 0;
    return sqlite3_file_control(connection, "main", SQLITE_FCNTL_JOURNAL_POINTER,
                                static_cast<void*>(&log)) == SQLITE_OK &&
           log != nullptr && log->pMethods != nullptr &&
           log->pMethods->xFileSize(log, &size) == SQLITE_OK && size > 0;
}

} // namespace

bool FileAppearance::beginsAsDatabase() const {
    return std::string_view(beginning.data(), magic.size()) == magic;
}

std::optional<FileAppearance> FileAppearance::of(sqlite3* connection) noexcept {
    sqlite3_file* file = nullptr;
    if (sqlite3_file_control(connection, "main", SQLITE_FCNTL_FILE_POINTER,
                             static_cast<void*>(&file)) != SQLITE_OK ||
        file == nullptr || file->pMethods == nullptr) {
        return std::nullopt;
    }
    FileAppearance appearance;
    sqlite3_int64 size = 0;
    if (file->pMethods->xFileSize(file, &size) != SQLITE_OK) {
        return std::nullopt;
    }
    auto& beginning = appearance.beginning;
    const int result = file->pMethods->xRead(file, beginning.data(), beginningSize, 0);
    if (result != SQLITE_OK && result != SQLITE_IOERR_SHORT_READ) {
        return std::nullopt;
    }
    appearance.size = size;
    appearance.isCut = size < pageSize(beginning) * number(std::span(beginning).subspan(28, 4));
    appearance.hasLog = logHasContent(connection);
    // How often it was changed, its pages and its free ones; and whose version wrote last.
    std::fill_n(beginning.begin() + 24, 16, '\0');
    std::fill_n(beginning.begin() + 92, 8, '\0');
    return appearance;
}

} // namespace velmoran
