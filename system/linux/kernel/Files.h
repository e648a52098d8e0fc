// Files as the kernel has them, and what their paths say. Nothing is kept; any thread.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmoran {

/// What stands behind the last slash.
inline std::string_view fileName(std::string_view path) {
    return path.substr(path.rfind('/') + 1);
}

/// What stands before the last slash: nothing for what lies in the root, all without a slash.
inline std::string_view parentOf(std::string_view path) {
    return path.substr(0, path.rfind('/'));
}

/// Whether something in the folder, however deep, has that path. By the texts alone; the folder's
/// has no slash at its end.
inline bool isBelow(std::string_view path, std::string_view folder) {
    return path.size() > folder.size() + 1 && path.starts_with(folder) &&
           path[folder.size()] == '/';
}

/// Whether that path of an executable is the kernel's for a program that lies in memory alone
/// (memfd_create(2)), whose name is that program's own word, slashes included. Only root can put a
/// file under such a path.
inline bool liesInMemory(std::string_view executable) {
    return executable.starts_with("/memfd:");
}

/// A file whatever it is called.
struct FileNumber {
    dev_t device = 0;
    ino_t inode = 0;

    bool operator==(const FileNumber&) const = default;
};

/// Links are followed. Nothing if there is none, or it may not be asked about.
std::optional<FileNumber> fileNumber(const std::string& path);
/// Whether both are there and one file.
bool isSameFile(const std::string& a, const std::string& b);

/// Up to `limit` bytes of a file; nothing if it can't be opened or read, or is no regular file.
std::optional<std::string> readFileUpTo(const std::string& path, std::size_t limit);
/// The text of a symbolic link; nothing for anything else.
std::optional<std::string> readLinkText(const std::string& path);
/// The names in a folder, sorted; as many as can be read.
std::vector<std::string> sortedNamesIn(const std::string& folder);

} // namespace velmoran
