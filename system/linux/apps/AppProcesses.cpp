#include "system/linux/apps/AppProcesses.h"

#include <algorithm>
#include <utility>

namespace velmoran {

AppProcesses::AppProcesses(LinuxAppNames& names, ProcFs proc)
    : names_(names),
      proc_(std::move(proc)) {}

std::vector<pid_t> AppProcesses::of(const AppIdentity& app) const {
    auto search = this->search(app);
    auto found = proc_.pids();
    std::erase_if(found, [&](pid_t pid) { return search.look(pid) != AppSearch::Answer::ofApp; });
    std::sort(found.begin(), found.end());
    return found;
}

AppSearch AppProcesses::search(const AppIdentity& app) const {
    return {names_, proc_, app};
}

bool AppProcesses::isOf(pid_t pid, const AppIdentity& app) const {
    if (app.cannotBeNamed()) {
        return false;
    }
    const auto known = names_.look(pid);
    return known && known->id() == app.id;
}

} // namespace velmoran
