#include "system/linux/apps/FileLooks.h"

namespace velmoran {

void FileLooks::begin(pid_t pid) {
    pid_ = pid;
    link_.reset();
    arguments_.reset();
}

std::optional<std::string> FileLooks::executableLink(pid_t pid) {
    if (pid != pid_) {
        return readLinkText(proc_.path(pid, "exe"));
    }
    if (!link_) {
        link_ = readLinkText(proc_.path(pid, "exe"));
    }
    return *link_;
}

std::vector<std::string> FileLooks::commandLine(pid_t pid) {
    if (pid != pid_) {
        return proc_.commandLine(pid);
    }
    if (!arguments_) {
        arguments_ = proc_.commandLine(pid);
    }
    return *arguments_;
}

const std::optional<FileNumber>& FileLooks::number(const std::string& path) {
    auto known = numbers_.find(path);
    if (known == numbers_.end()) {
        known = numbers_.emplace(path, fileNumber(path)).first;
    }
    return known->second;
}

bool FileLooks::isProtected(const std::string& path, const std::function<bool()>& ask) {
    auto known = protected_.find(path);
    if (known == protected_.end()) {
        known = protected_.emplace(path, ask()).first;
    }
    return known->second;
}

const FileLooks::Script& FileLooks::script(const std::string& interpreter, const std::string& path,
                                           const std::function<Script()>& ask) {
    auto key = interpreter + '\0' + path;
    auto known = scripts_.find(key);
    if (known == scripts_.end()) {
        known = scripts_.emplace(std::move(key), ask()).first;
    }
    return known->second;
}

} // namespace velmoran
