#include "system/linux/clients/NetworkReceivers.h"

#include "system/linux/clients/ConnectionHolders.h"
#include "system/linux/clients/ConnectionReadings.h"

#include <algorithm>
#include <string>

namespace velmoran {

NetworkReceivers::NetworkReceivers(SocketFacts& facts, ProcessNaming& naming)
    : facts_(facts),
      naming_(naming) {}

std::optional<ClientIdentity::Who> NetworkReceivers::receiver(ClientKey client, pid_t server) {
    if (!facts_.isSoundServer(server)) {
        return std::nullopt;
    }
    auto known = entries_.find(client);
    if (known == entries_.end()) {
        known = entries_.emplace(client, find(client, server)).first;
    }
    return known->second.who;
}

NetworkReceivers::Entry NetworkReceivers::find(ClientKey client, pid_t server) {
    const auto held = facts_.socketsOf(server);
    auto open = facts_.acceptedOverTcp();
    std::erase_if(open, [&](const SocketPair& pair) {
        return std::find(held.begin(), held.end(), pair.serverEnd) == held.end() ||
               std::any_of(entries_.begin(), entries_.end(), [&](const auto& each) {
                   return each.second.serverEnd == pair.serverEnd;
               });
    });
    Entry entry;
    entry.serverEnd = open.size() == 1 ? open.front().serverEnd : 0;
    const bool isElsewhere = std::all_of(
        open.begin(), open.end(), [](const SocketPair& pair) { return pair.clientEnd == 0; });
    if (isElsewhere) {
        return entry;
    }
    Ends ends;
    for (const auto& pair : open) {
        ends.push_back(pair.clientEnd); // 0, of another machine, nobody is seen to hold
    }
    entry.who = ConnectionHolders(facts_, naming_, ends)
                    .sole(ends)
                    .value_or(ClientIdentity::Who{
                        naming_.unidentified("receiver-" + std::to_string(client)), 0});
    return entry;
}

} // namespace velmoran
