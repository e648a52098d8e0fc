// Loaded into a program before its own libraries: a disk on which nothing can be written to the
// history, and a clock that somebody has set. The files of a folder that VELMORAN_FAULTS names say
// what is wrong right now: "disk" holds the number of the error, "clock" how many seconds the clock
// is ahead.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <optional>
#include <string>

#include <dlfcn.h>
#include <sys/types.h>
#include <unistd.h>

namespace {

std::optional<long> fault(const char* name) {
    const char* folder = std::getenv("VELMORAN_FAULTS"); // NOLINT(concurrency-mt-unsafe)
    if (folder == nullptr) {
        return std::nullopt;
    }
    const int before = errno;
    std::optional<long> value;
    if (FILE* file = std::fopen((std::string(folder) + "/" + name).c_str(), "re")) {
        long number = 0;
        if (std::fscanf(file, "%ld", &number) == 1) { // NOLINT(cert-err34-c)
            value = number;
        }
        std::fclose(file);
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

template <class Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" {

// NOLINTBEGIN: the names are the system's
__attribute__((visibility("default"))) ssize_t pwrite64(int descriptor, const void* bytes,
                                                        size_t count, off64_t at) {
    static const auto real = next<decltype(pwrite64)>("pwrite64");
    if (const auto error = fault("disk"); error && isHistory(descriptor)) {
        errno = static_cast<int>(*error);
        return -1;
    }
    return real(descriptor, bytes, count, at);
}

__attribute__((visibility("default"))) int clock_gettime(clockid_t clock, timespec* time) {
    static const auto real = next<decltype(clock_gettime)>("clock_gettime");
    const int result = real(clock, time);
    if (clock == CLOCK_REALTIME && result == 0) {
        time->tv_sec += fault("clock").value_or(0);
    }
    return result;
}
// NOLINTEND
}
