#include "app/shell/OwnFile.h"

#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace velmoran {

OwnFile::OwnFile(std::string path, const char* running) : path_(std::move(path)) {
    struct stat status {};
    isKnown_ = ::stat(running, &status) == 0;
    device_ = status.st_dev;
    number_ = status.st_ino;
}

bool OwnFile::isReplaced() const {
    struct stat status {};
    return isKnown_ && ::stat(path_.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
           (status.st_dev != device_ || status.st_ino != number_) &&
           ::access(path_.c_str(), X_OK) == 0;
}

} // namespace velmoran
