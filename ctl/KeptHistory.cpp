#include "ctl/KeptHistory.h"

#include "app/qtbase/UserHistory.h"
#include "system/PeerProgram.h"

namespace velmoran {

bool historyIsKept(const AskOptions& asking) {
    auto lock = userHistoryPath();
    lock += ".lock";
    return isLockedBy(
        [&](const PeerProgram& program) {
            return isVelmoran(program) || (program.path && *program.path == asking.velmoran);
        },
        lock.string());
}

} // namespace velmoran
