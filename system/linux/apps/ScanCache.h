// What was found out while one process after another was scanned: of thousands most run the same
// few files, and the file system is asked about each only once. Owned by whoever goes
// through the processes, for one such round at most, since what it says grows old; one thread.
#pragma once

#include "system/linux/apps/WriteProtection.h"
#include "system/linux/kernel/ProcFs.h"

#include <sys/types.h>

#include <functional>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace velmoran {

class ScanCache {
public:
    /// A script as this program sees it.
    struct Script {
        std::optional<FileNumber> number;
        std::optional<std::string> real; ///< its real path; nothing if it isn't to be believed
    };

    ScanCache(const ProcFs& proc, const WriteProtection& protection)
        : proc_(proc),
          protection_(protection) {}

    /// From here on it is about that process as it is now.
    void begin(pid_t pid);
    /// What its "exe" says, and its arguments; read once from a process that was begun with.
    std::optional<std::string> executableLink(pid_t pid);
    std::vector<std::string> commandLine(pid_t pid);
    /// As `ProcFs::executable` answers.
    std::optional<std::string> executable(pid_t pid);

    /// As `fileNumber` had it when it was asked first.
    const std::optional<FileNumber>& number(const std::string& path);
    bool isProtected(const std::string& path);
    const Script& script(const std::string& interpreter, const std::string& path,
                         const std::function<Script()>& ask);

private:
    const ProcFs& proc_;
    const WriteProtection& protection_;
    pid_t pid_ = 0;
    std::optional<std::optional<std::string>> link_;
    std::optional<std::vector<std::string>> arguments_;
    std::unordered_map<std::string, std::optional<FileNumber>> numbers_;
    std::unordered_map<std::string, bool> protected_;
    std::unordered_map<std::string, Script> scripts_;
};

} // namespace velmoran
