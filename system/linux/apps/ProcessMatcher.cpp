#include "system/linux/apps/ProcessMatcher.h"

#include "system/linux/apps/MountedImage.h"
#include "system/linux/apps/ScriptArgument.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace velmoran {

ProcessMatcher::ProcessMatcher(LinuxAppNames& names, const ProcFs& proc, const AppIdentity& app)
    : names_(names),
      proc_(proc),
      id_(app.cannotBeNamed() ? std::string() : app.id),
      cache_(names.newCache()) {
    if (id_.empty()) {
        return;
    }
    criteria_ = names_.criteriaOf(id_);
    std::sort(criteria_.processes.begin(), criteria_.processes.end());
    for (const auto& file : criteria_.files) {
        if (const auto& number = cache_.number(file)) {
            files_.push_back(*number);
        }
    }
}

bool ProcessMatcher::wasIdentified(pid_t pid) const {
    return std::binary_search(criteria_.processes.begin(), criteria_.processes.end(), pid);
}

bool ProcessMatcher::isOfAnother(pid_t pid) {
    cache_.begin(pid);
    const auto app = names_.resolve(pid, cache_);
    return app && app->id() != id_;
}

ProcessMatcher::Answer ProcessMatcher::match(pid_t pid) {
    if (id_.empty()) {
        return Answer::other;
    }
    cache_.begin(pid);
    const auto link = cache_.executableLink(pid);
    const bool isAway = !link && (errno == ENOENT || errno == ESRCH);
    if (wasIdentified(pid)) {
        // Whatever it shows now: to hide is no way to escape.
        if (const auto answer = nameOf(pid); answer == Answer::ofApp || !isAway) {
            return answer;
        }
    }
    if (link) {
        return matchFile(pid, *link);
    }
    if (!isAway) {
        return Answer::other; // not to be read: not to be named either
    }
    if (const auto thread = proc_.survivingThread(pid)) {
        const auto its = cache_.executableLink(*thread);
        return its ? matchFile(*thread, *its) : Answer::nobody;
    }
    return Answer::nobody;
}

ProcessMatcher::Answer ProcessMatcher::matchFile(pid_t pid, const std::string& link) {
    auto known = byLink_.find(link);
    if (known == byLink_.end()) {
        known = byLink_.emplace(link, judge(link)).first;
    }
    const auto verdict = known->second;
    if (verdict == Verdict::possible || (criteria_.mayBeFlatpak && isSandboxed(pid))) {
        const auto answer = nameOf(pid);
        // What serves an image's files to the app is the last that may end, and does so by itself:
        // without it the app couldn't even save what it has to.
        return answer == Answer::ofApp && servesFiles(proc_, pid) ? Answer::other : answer;
    }
    return verdict == Verdict::askScript ? matchScript(pid, link) : Answer::other;
}

ProcessMatcher::Verdict ProcessMatcher::judge(const std::string& link) {
    const auto file = withoutDeletedMark(link);
    if (criteria_.fit(link) || criteria_.fit(file)) {
        return Verdict::possible;
    }
    return isInterpreter(file) ? Verdict::askScript : Verdict::impossible;
}

ProcessMatcher::Answer ProcessMatcher::matchScript(pid_t pid, const std::string& link) {
    const auto arguments = cache_.commandLine(pid);
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
    const auto& number = cache_.number(path);
    const bool isIts = number && std::find(files_.begin(), files_.end(), *number) != files_.end();
    const bool mayBeIts = !number && criteria_.isNamedAsOne(*script); // in mounts of its own
    return isIts || mayBeIts || criteria_.fit(path) ? nameOf(pid) : Answer::other;
}

ProcessMatcher::Answer ProcessMatcher::nameOf(pid_t pid) {
    const auto app = names_.resolve(pid, cache_);
    return app && app->id() == id_ ? Answer::ofApp : Answer::other;
}

bool ProcessMatcher::isSandboxed(pid_t pid) const {
    return fileNumber(proc_.rootOf(pid) + "/.flatpak-info").has_value();
}

} // namespace velmoran
