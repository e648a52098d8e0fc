// Tells whether processes are an app's, one after the other: each is first held against the app's
// criteria, and named only if it meets them. What is found out about files on the way is kept for
// as long as this lives, a moment. Owned by whoever scans; one thread at a time.
#pragma once

#include "core/records/AppIdentity.h"
#include "system/linux/apps/LinuxAppNames.h"
#include "system/linux/apps/MatchCriteria.h"
#include "system/linux/apps/ScanCache.h"
#include "system/linux/kernel/ProcFs.h"

#include <string>
#include <unordered_map>
#include <vector>

namespace velmoran {

class ProcessMatcher {
public:
    enum class Answer {
        nobody, ///< nothing to be seen there: it has ended, or isn't quite begun
        other,
        ofApp
    };

    /// Both outlive it. Of an app that can't be named nothing is ever found.
    ProcessMatcher(LinuxAppNames& names, const ProcFs& proc, const AppIdentity& app);

    Answer match(pid_t pid);
    /// Whether it is another app's at this moment: not of one that can't be named.
    bool isOfAnother(pid_t pid);
    /// Those that were named as this app when they used something, by process id; some have ended.
    const std::vector<pid_t>& identified() const { return criteria_.processes; }

private:
    enum class Verdict { impossible, possible, askScript };

    bool wasIdentified(pid_t pid) const;
    Verdict judge(const std::string& link);
    Answer matchFile(pid_t pid, const std::string& link);
    Answer matchScript(pid_t pid, const std::string& link);
    Answer nameOf(pid_t pid);
    bool isSandboxed(pid_t pid) const;

    LinuxAppNames& names_;
    const ProcFs& proc_;
    const std::string id_; ///< empty: nothing is to be found
    MatchCriteria criteria_;
    std::vector<FileNumber> files_;
    std::unordered_map<std::string, Verdict> byLink_;
    ScanCache cache_;
};

} // namespace velmoran
