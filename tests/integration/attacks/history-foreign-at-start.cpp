// Before Velmoran starts, something stands in the history's place that can't be opened. No card can
// say so, since without a history there are none: `status` says it first, with the reason.
#include "integration/attacks/HistoryFile.h"

namespace velmoran::attacks {

Verdict historyForeignAtStart(Scene& scene) {
    const auto file = historyFile(scene);
    std::filesystem::create_directories(file.parent_path());
    support::writeFile(file, "something else altogether, and long enough to be mistaken for one\n");
    scene.startSound();
    scene.startWatch();
    const auto status = scene.ctl({"status"}).output;
    if (!status.starts_with("History can't be saved right now. Velmoran couldn't open its file")) {
        return fell("the status begins with: " + status);
    }
    if (status.substr(0, status.find('\n')).find("not a database") == std::string::npos) {
        return fell("the reason isn't said: " + status);
    }
    if (!scene.recordUntilTold("spy", within(1s))) {
        return fell("a watch doesn't tell a recorder without a history");
    }
    return held("the status says it first, with the reason: " + status);
}

} // namespace velmoran::attacks
