// Loaded into a program before its own libraries: a disk on which nothing can be written to the
// history, and a clock that somebody has set. The files of a folder that VELMORAN_FAULTS names say
// what is wrong right now: "disk" holds the number of the error, "clock" how many seconds the clock
// is ahead.
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <optional>
#include <string>

#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

namespace {

// Nothing here takes memory or looks for the next one's function: a sanitizer's allocator asks for
// the time while it is taking some.
std::optional<long> fault(const char* name) {
    const char* folder = std::getenv("VELMORAN_FAULTS"); // NOLINT(concurrency-mt-unsafe)
    char path[4096];
    if (folder == nullptr || std::strlen(folder) + std::strlen(name) + 2 > sizeof path) {
        return std::nullopt;
    }
    std::strcpy(path, folder);
    std::strcat(path, "/");
    std::strcat(path, name);
    const int before = errno;
    std::optional<long> value;
    const auto file = static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, O_RDONLY | O_CLOEXEC));
    if (file >= 0) {
        char number[32] = {};
        if (syscall(SYS_read, file, number, sizeof number - 1) > 0) {
            value = std::strtol(number, nullptr, 10);
        }
        syscall(SYS_close, file);
    }
    errno = before;
    return value;
}

bool isHistory(int descriptor) {
    char path[4096];
    const auto link = "/proc/self/fd/" + std::to_string(descriptor);
    const auto length = readlink(link.c_str(), path, sizeof path - 1);
    path[length > 0 ? length : 0] = '\0';
    return std::strstr(path, "History.store") != nullptr;
}

} // namespace

extern "C" {

// NOLINTBEGIN: the names are the system's
__attribute__((visibility("default"))) ssize_t pwrite64(int descriptor, const void* bytes,
                                                        size_t count, off64_t at) {
    if (const auto error = fault("disk"); error && isHistory(descriptor)) {
        errno = static_cast<int>(*error);
        return -1;
    }
    return syscall(SYS_pwrite64, descriptor, bytes, count, at);
}

__attribute__((visibility("default"))) int clock_gettime(clockid_t clock, timespec* time) {
    const auto result = static_cast<int>(syscall(SYS_clock_gettime, clock, time));
    if (clock == CLOCK_REALTIME && result == 0) {
        time->tv_sec += fault("clock").value_or(0);
    }
    return result;
}
// NOLINTEND
}
