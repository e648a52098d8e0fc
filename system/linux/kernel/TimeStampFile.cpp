#include "system/linux/kernel/TimeStampFile.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace velmoran {

namespace {

constexpr int openMode = O_WRONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;

} // namespace

TimeStampFile::TimeStampFile(const std::string& path) {
    if (path.empty()) {
        return;
    }
    file_ = Descriptor(::open(path.c_str(), openMode));
    struct stat entry {};
    if (file_.isOpen() && ::fstat(file_.get(), &entry) == 0) {
        before_ =
            Timestamp{static_cast<double>(entry.st_mtim.tv_sec) +
                      static_cast<double>(entry.st_mtim.tv_nsec) * 1e-9 - secondsFromUnixEpoch};
    } else {
        file_ = Descriptor(::open(path.c_str(), openMode | O_CREAT, S_IRUSR | S_IWUSR));
    }
}

void TimeStampFile::stampNow() const {
    if (file_.isOpen()) {
        ::futimens(file_.get(), nullptr);
    }
}

} // namespace velmoran
