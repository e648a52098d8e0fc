// The file that this program was started from, as it stands on the disk now: an upgrade puts
// another in its place while the program goes on in the one that it has open. A value; any thread.
#pragma once

#include <string>

#include <sys/types.h>

namespace velmoran {

class OwnFile {
public:
    /// Looks at what this process runs. `path` is where that was started from.
    explicit OwnFile(std::string path, const char* running = "/proc/self/exe");

    /// Another file stands there that can be run. Looked up anew each time.
    bool isReplaced() const;

private:
    std::string path_;
    dev_t device_ = 0;
    ino_t number_ = 0;
    bool isKnown_ = false;
};

} // namespace velmoran
