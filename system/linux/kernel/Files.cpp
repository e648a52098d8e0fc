#include "system/linux/kernel/Files.h"

#include "system/linux/kernel/Descriptor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmoran {

std::optional<FileNumber> fileNumber(const std::string& path) {
    struct stat entry {};
    if (::stat(path.c_str(), &entry) != 0) {
        return std::nullopt;
    }
    return FileNumber{.device = entry.st_dev, .inode = entry.st_ino};
}

bool isSameFile(const std::string& a, const std::string& b) {
    const auto first = fileNumber(a);
    return first && first == fileNumber(b);
}

std::optional<std::string> readFileUpTo(const std::string& path, std::size_t limit) {
    // Not to be held up by a pipe that somebody put in a file's place.
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat kind {};
    if (!file.isOpen() || ::fstat(file.get(), &kind) != 0 || !S_ISREG(kind.st_mode)) {
        return std::nullopt;
    }
    std::string text;
    while (text.size() < limit) {
        const std::size_t before = text.size();
        const std::size_t step = std::min<std::size_t>(limit - before, 4096);
        text.resize(before + step);
        ssize_t count = 0;
        do {
            count = ::read(file.get(), text.data() + before, step);
        } while (count < 0 && errno == EINTR);
        if (count < 0) {
            return std::nullopt;
        }
        text.resize(before + static_cast<std::size_t>(count));
        if (count == 0) {
            break;
        }
    }
    return text;
}

std::optional<std::string> readLinkText(const std::string& path) {
    std::array<char, PATH_MAX> text; // NOLINT: filled by the call
    const ssize_t size = ::readlink(path.c_str(), text.data(), text.size());
    if (size <= 0 || static_cast<std::size_t>(size) >= text.size()) {
        return std::nullopt;
    }
    return std::string(text.data(), static_cast<std::size_t>(size));
}

std::vector<std::string> sortedNamesIn(const std::string& folder) {
    std::vector<std::string> names;
    std::error_code error;
    for (std::filesystem::directory_iterator at(folder, error), end; !error && at != end;
         at.increment(error)) {
        names.push_back(at->path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace velmoran
