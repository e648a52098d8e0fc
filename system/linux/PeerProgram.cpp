#include "system/PeerProgram.h"

#include "core/base/ProgramName.h"
#include "system/linux/apps/WriteProtection.h"
#include "system/linux/kernel/Files.h"
#include "system/linux/kernel/HeldProcess.h"
#include "system/linux/kernel/ProcFs.h"

#include <algorithm>
#include <array>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmoran {

namespace {

/// The folder that both programs have in common, installed beside each other or as the build lays
/// them out; nothing for any other program.
std::optional<std::string> commonFolder(const std::string& path) {
    constexpr std::array<std::string_view, 4> places = {"/app/shell/velmoran", "/ctl/velmoranctl",
                                                        "/velmoran", "/velmoranctl"};
    for (const auto place : places) {
        if (path.ends_with(place)) {
            return path.substr(0, path.size() - place.size());
        }
    }
    return std::nullopt;
}

/// In another one a process can bear any process's id in what it sends.
bool sharesUsers(pid_t pid) {
    const ProcFs proc;
    const auto ours = readLinkText(proc.path(::getpid(), "ns/user"));
    return ours == readLinkText(proc.path(pid, "ns/user"));
}

bool hasLocked(pid_t pid, const FileNumber& file, const ProcFs& proc) {
    bool isLocked = false;
    proc.eachDescriptor(pid, [&](int folder, const char* name) {
        struct stat status {};
        if (isLocked || ::fstatat(folder, name, &status, 0) != 0 || status.st_ino != file.inode ||
            status.st_dev != file.device) {
            return;
        }
        constexpr std::size_t someLines = 4096;
        const auto about =
            readFileUpTo(proc.path(pid, "fdinfo/" + std::string(name)), someLines).value_or("");
        isLocked = about.find("FLOCK") != std::string::npos;
    });
    return isLocked;
}

} // namespace

PeerProgram programOf(std::int32_t pid) {
    PeerProgram program{.pid = pid, .path = {}};
    // Held, so that it isn't half of one process and half of the next with its id.
    const auto held = pid > 0 ? HeldProcess::hold(pid) : std::nullopt;
    if (held && sharesUsers(pid)) {
        program.path = ProcFs().executable(pid);
    }
    if (held && held->isGone()) {
        program.path.reset();
    }
    return program;
}

bool isVelmoran(const PeerProgram& program) {
    if (!program.path) {
        return false;
    }
    const auto name = programName(*program.path);
    if ((name == "velmoran" || name == "velmoranctl") &&
        WriteProtection().realPath(*program.path) == program.path) {
        return true;
    }
    const auto own = ProcFs().executable(::getpid());
    const auto folder = commonFolder(*program.path);
    return own && folder && folder == commonFolder(*own);
}

bool isLockedBy(const std::function<bool(const PeerProgram&)>& isSuch, const std::string& path) {
    const auto file = fileNumber(path);
    const ProcFs proc;
    const auto pids = proc.pids();
    return file && std::any_of(pids.begin(), pids.end(), [&](pid_t pid) {
               return isSuch(programOf(pid)) && hasLocked(pid, *file, proc);
           });
}

} // namespace velmoran
