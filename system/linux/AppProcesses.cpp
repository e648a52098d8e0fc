#include "system/linux/AppProcesses.h"

#include "system/linux/ScriptArgument.h"

#include <sys/stat.h>

#include <algorithm>
#include <unordered_map>
#include <utility>

namespace velmoran {

namespace {

using FileNumber = std::pair<dev_t, ino_t>;

std::optional<FileNumber> fileNumber(const std::string& path) {
    struct stat entry {};
    if (::stat(path.c_str(), &entry) != 0) {
        return std::nullopt;
    }
    return FileNumber{entry.st_dev, entry.st_ino};
}

/// One look through the processes. What the path of an executable says is found out once.
class Sieve {
public:
    Sieve(const ProcFs& proc, AppTraces traces) : proc_(proc), traces_(std::move(traces)) {
        for (const auto& file : traces_.files) {
            if (const auto number = fileNumber(file)) {
                files_.push_back(*number);
            }
        }
    }

    bool passes(pid_t pid) {
        if (std::find(traces_.processes.begin(), traces_.processes.end(), pid) !=
            traces_.processes.end()) {
            return true;
        }
        // Not to be read: not to be named either.
        const auto link = readLinkText(proc_.path(pid, "exe"));
        if (!link) {
            return false;
        }
        auto known = byLink_.find(*link);
        if (known == byLink_.end()) {
            known = byLink_.emplace(*link, judge(*link)).first;
        }
        return known->second == Verdict::possible ||
               (known->second == Verdict::askScript && mayRunScript(pid, *link)) ||
               (traces_.mayBeFlatpak && isSandboxed(pid));
    }

private:
    enum class Verdict { impossible, possible, askScript };

    Verdict judge(const std::string& link) const {
        constexpr std::string_view deletedMark = " (deleted)";
        const bool isDeleted = link.ends_with(deletedMark);
        if (traces_.fit(link) ||
            (isDeleted && traces_.fit(link.substr(0, link.size() - deletedMark.size())))) {
            return Verdict::possible;
        }
        return isInterpreter(withoutMark(link)) ? Verdict::askScript : Verdict::impossible;
    }

    static std::string withoutMark(const std::string& link) {
        constexpr std::string_view deletedMark = " (deleted)";
        return link.ends_with(deletedMark) ? link.substr(0, link.size() - deletedMark.size())
                                           : link;
    }

    bool mayRunScript(pid_t pid, const std::string& link) const {
        const auto script = scriptArgument(withoutMark(link), proc_.commandLine(pid));
        if (!script) {
            // A helper without a script of its own runs for its parent's.
            return link.find("/electron") != std::string::npos;
        }
        if (script->size() > 2 && (*script)[1] == ':') {
            return true; // a path of Wine's
        }
        if (files_.empty()) {
            return false;
        }
        std::string path = *script;
        if (!path.starts_with('/')) {
            path = proc_.workingDirectory(pid).value_or("") + '/' + path;
        }
        const auto number = fileNumber(proc_.rootOf(pid) + path);
        return number && std::find(files_.begin(), files_.end(), *number) != files_.end();
    }

    bool isSandboxed(pid_t pid) const {
        return fileNumber(proc_.rootOf(pid) + "/.flatpak-info").has_value();
    }

    const ProcFs& proc_;
    const AppTraces traces_;
    std::vector<FileNumber> files_;
    std::unordered_map<std::string, Verdict> byLink_;
};

} // namespace

AppProcesses::AppProcesses(LinuxAppNames& names, ProcFs proc)
    : names_(names),
      proc_(std::move(proc)) {}

std::vector<pid_t> AppProcesses::of(const AppIdentity& app) const {
    auto found = possible(app);
    names_.keepOf(app.id, found);
    return found;
}

std::vector<pid_t> AppProcesses::possible(const AppIdentity& app) const {
    if (app.cannotBeNamed() || app.id.empty()) {
        return {};
    }
    Sieve sieve(proc_, names_.tracesOf(app.id));
    auto found = proc_.pids();
    std::erase_if(found, [&](pid_t pid) { return !sieve.passes(pid); });
    std::sort(found.begin(), found.end());
    return found;
}

bool AppProcesses::isOf(pid_t pid, const AppIdentity& app) const {
    if (app.cannotBeNamed()) {
        return false;
    }
    const auto known = names_.look(pid);
    return known && known->id() == app.id;
}

bool AppProcesses::isOfAnother(pid_t pid, const AppIdentity& app) const {
    const auto known = names_.look(pid);
    return known && known->id() != app.id;
}

} // namespace velmoran
