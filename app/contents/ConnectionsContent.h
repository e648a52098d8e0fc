// With whom an app was connected during a row of activity, as the details say it. A plain value, in
// the language of the process-wide words; any thread.
#pragma once

#include "core/history/ActivityRow.h"

#include <string>
#include <vector>

namespace velmoran {

struct ConnectionsContent {
    struct Peer {
        std::string address;
        std::string port;      ///< with the transport
        std::string firstSeen; ///< a time of day; empty where it isn't known

        bool operator==(const Peer&) const = default;
    };

    std::string text;        ///< above the peers; without any, why there are none
    std::vector<Peer> peers; ///< in the order in which they were seen

    static ConnectionsContent of(const ActivityRow& row);
    static std::string heading();

    bool operator==(const ConnectionsContent&) const = default;
};

} // namespace velmoran
