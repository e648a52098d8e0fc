// Which connection to the session bus is Velmoran's. Any program of the user's may take its name,
// so the processes of all who want it are looked at, in the bus's order.
#pragma once

#include "ctl/BusCaller.h"
#include "system/PeerProgram.h"

#include <functional>
#include <optional>
#include <string>

namespace velmoran {

struct VelmoranOnBus {
    std::optional<std::string> connection; ///< the bus's own name for it; nothing if there is none
    std::optional<PeerProgram> stranger;   ///< who has the name in its place
    bool busAnswered = true;               ///< otherwise it wasn't found out in time
    bool isSilent = false;                 ///< there is none but one that says nothing
};

struct VelmoranSearch {
    Seconds busPatience = 0; ///< for all that the bus is asked
    Seconds patience = 0;    ///< for all who seem to be Velmoran to show that they are
    std::function<bool(const PeerProgram&)> isVelmoran;
};

VelmoranOnBus findVelmoran(const BusCaller& caller, const VelmoranSearch& search);

} // namespace velmoran
