#include "system/linux/apps/ProcessFinder.h"

#include <algorithm>
#include <utility>

namespace velmoran {

ProcessFinder::ProcessFinder(LinuxAppNames& names, ProcFs proc)
    : names_(names),
      proc_(std::move(proc)) {}

std::vector<pid_t> ProcessFinder::find(const AppIdentity& app) const {
    auto matcher = this->matcher(app);
    auto found = proc_.pids();
    std::erase_if(found,
                  [&](pid_t pid) { return matcher.match(pid) != ProcessMatcher::Answer::ofApp; });
    std::sort(found.begin(), found.end());
    return found;
}

ProcessMatcher ProcessFinder::matcher(const AppIdentity& app) const {
    return {names_, proc_, app};
}

bool ProcessFinder::isOf(pid_t pid, const AppIdentity& app) const {
    if (app.cannotBeNamed()) {
        return false;
    }
    const auto known = names_.resolve(pid);
    return known && known->id() == app.id;
}

} // namespace velmoran
