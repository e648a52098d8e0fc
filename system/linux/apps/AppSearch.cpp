#include "system/linux/apps/AppSearch.h"

#include "system/linux/apps/ScriptArgument.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace velmoran {

AppSearch::AppSearch(LinuxAppNames& names, const ProcFs& proc, const AppIdentity& app)
    : names_(names),
      proc_(proc),
      id_(app.cannotBeNamed() ? std::string() : app.id),
      looks_(names.newLooks()) {
    if (id_.empty()) {
        return;
    }
    traces_ = names_.tracesOf(id_);
    std::sort(traces_.processes.begin(), traces_.processes.end());
    for (const auto& file : traces_.files) {
        if (const auto& number = looks_.number(file)) {
            files_.push_back(*number);
        }
    }
}

bool AppSearch::wasIdentified(pid_t pid) const {
    return std::binary_search(traces_.processes.begin(), traces_.processes.end(), pid);
}

bool AppSearch::isOfAnother(pid_t pid) {
    looks_.begin(pid);
    const auto app = names_.look(pid, looks_);
    return app && app->id() != id_;
}

AppSearch::Answer AppSearch::look(pid_t pid) {
    if (id_.empty()) {
        return Answer::other;
    }
    looks_.begin(pid);
    const auto link = looks_.executableLink(pid);
    const bool isAway = !link && (errno == ENOENT || errno == ESRCH);
    if (wasIdentified(pid)) {
        // Whatever it shows now: to hide is no way to escape.
        if (const auto answer = nameOf(pid); answer == Answer::ofApp || !isAway) {
            return answer;
        }
    }
    if (link) {
        return lookAtFile(pid, *link);
    }
    if (!isAway) {
        return Answer::other; // not to be read: not to be named either
    }
    if (const auto thread = proc_.survivingThread(pid)) {
        const auto its = looks_.executableLink(*thread);
        return its ? lookAtFile(*thread, *its) : Answer::nobody;
    }
    return Answer::nobody;
}

AppSearch::Answer AppSearch::lookAtFile(pid_t pid, const std::string& link) {
    auto known = byLink_.find(link);
    if (known == byLink_.end()) {
        known = byLink_.emplace(link, judge(link)).first;
    }
    const auto verdict = known->second;
    if (verdict == Verdict::possible || (traces_.mayBeFlatpak && isSandboxed(pid))) {
        return nameOf(pid);
    }
    return verdict == Verdict::askScript ? lookAtScript(pid, link) : Answer::other;
}

AppSearch::Verdict AppSearch::judge(const std::string& link) {
    const auto file = withoutDeletedMark(link);
    if (traces_.fit(link) || traces_.fit(file)) {
        return Verdict::possible;
    }
    return isInterpreter(file) ? Verdict::askScript : Verdict::impossible;
}

AppSearch::Answer AppSearch::lookAtScript(pid_t pid, const std::string& link) {
    const auto arguments = looks_.commandLine(pid);
    if (arguments.empty()) {
        return Answer::nobody; // as a program begins: its file is there before its arguments
    }
    const auto script = scriptArgument(withoutDeletedMark(link), arguments);
    if (!script) {
        // A helper without a script of its own runs for its parent's.
        return link.find("/electron") != std::string::npos ? nameOf(pid) : Answer::other;
    }
    if (isWindowsPath(*script)) {
        return nameOf(pid);
    }
    if (files_.empty()) {
        return Answer::other;
    }
    const auto path = script->starts_with('/')
                          ? *script
                          : proc_.workingDirectory(pid).value_or("") + '/' + *script;
    const auto& number = looks_.number(path);
    const bool isIts = number && std::find(files_.begin(), files_.end(), *number) != files_.end();
    return isIts ? nameOf(pid) : Answer::other;
}

AppSearch::Answer AppSearch::nameOf(pid_t pid) {
    const auto app = names_.look(pid, looks_);
    return app && app->id() == id_ ? Answer::ofApp : Answer::other;
}

bool AppSearch::isSandboxed(pid_t pid) const {
    return fileNumber(proc_.rootOf(pid) + "/.flatpak-info").has_value();
}

} // namespace velmoran
