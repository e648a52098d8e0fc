// What the file behind a connection looks like from outside. The database library reads a page
// once and goes on from memory, so it doesn't notice when another program writes over the file. A
// plain value; main thread only.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <sqlite3.h>

namespace velmoran {

/// Private to core/history.
struct FileAppearance {
    /// As many bytes as the smallest page has.
    static constexpr std::size_t beginningSize = 512;

    std::array<char, beginningSize> beginning{}; ///< without what changes with each write
    std::int64_t size = 0;
    bool isCut = false;  ///< pages are missing that the first one counts
    bool hasLog = false; ///< in which those may stand

    bool beginsAsDatabase() const;
    bool operator==(const FileAppearance&) const = default;

    /// Nothing if it can't be read now, or if there is no file.
    static std::optional<FileAppearance> of(sqlite3* connection) noexcept;
};

} // namespace velmoran
