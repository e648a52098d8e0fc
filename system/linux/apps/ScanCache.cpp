#include "system/linux/apps/ScanCache.h"

#include <utility>

namespace velmoran {

namespace {

/// What is known under that key, which is asked for once.
template <typename Value, typename Ask>
const Value& once(std::unordered_map<std::string, Value>& known, const std::string& key, Ask ask) {
    auto found = known.find(key);
    if (found == known.end()) {
        found = known.emplace(key, ask()).first;
    }
    return found->second;
}

} // namespace

void ScanCache::begin(pid_t pid) {
    pid_ = pid;
    link_.reset();
    arguments_.reset();
}

std::optional<std::string> ScanCache::executableLink(pid_t pid) {
    if (pid != pid_) {
        return readLinkText(proc_.path(pid, "exe"));
    }
    if (!link_) {
        link_ = readLinkText(proc_.path(pid, "exe"));
    }
    return *link_;
}

std::vector<std::string> ScanCache::commandLine(pid_t pid) {
    if (pid != pid_) {
        return proc_.commandLine(pid);
    }
    if (!arguments_) {
        arguments_ = proc_.commandLine(pid);
    }
    return *arguments_;
}

std::optional<std::string> ScanCache::executable(pid_t pid) {
    auto link = executableLink(pid);
    if (link && link->front() == '/') {
        const auto its = fileNumber(proc_.path(pid, "exe"));
        if (its && its == number(*link)) {
            return link;
        }
    }
    return proc_.executable(pid);
}

const std::optional<FileNumber>& ScanCache::number(const std::string& path) {
    return once(numbers_, path, [&] { return fileNumber(path); });
}

bool ScanCache::isProtected(const std::string& path) {
    return once(protected_, path, [&] { return protection_.protects(path); });
}

const ScanCache::Script& ScanCache::script(const std::string& interpreter, const std::string& path,
                                           const std::function<Script()>& ask) {
    return once(scripts_, interpreter + '\0' + path, ask);
}

} // namespace velmoran
