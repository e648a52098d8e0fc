#include "system/linux/clients/ClientIdentity.h"

#include <algorithm>
#include <utility>

namespace velmoran {

ClientIdentity::ClientIdentity(SocketFacts& facts, ProcessNaming& naming, std::string nativeSocket)
    : facts_(facts),
      naming_(naming),
      nativeSocket_(std::move(nativeSocket)) {}

ClientIdentity::Who ClientIdentity::cannotTell(ClientKey client) const {
    return {naming_.unidentified("client-" + std::to_string(client)), 0};
}

ServedClients& ClientIdentity::servedBy(pid_t server) {
    return served_
        .try_emplace(server, facts_, naming_, server, [this, server] { return servedEnds(server); })
        .first->second;
}

void ClientIdentity::appeared(ClientKey client, std::optional<pid_t> connectedPid, bool isNew) {
    const auto [found, isUnknown] = entries_.try_emplace(client);
    if (!isUnknown) {
        return;
    }
    auto& entry = found->second;
    entry.connectedPid = connectedPid.value_or(0);
    entry.who = cannotTell(client);
    if (entry.connectedPid <= 0) {
        return;
    }
    entry.isServed = nativeSocket_.empty() || facts_.isSoundServer(entry.connectedPid);
    if (entry.isServed) {
        servedBy(entry.connectedPid).appeared(client, isNew);
        return;
    }
    entry.who = {naming_.identify(entry.connectedPid), entry.connectedPid};
    if (isNew) {
        claim(entry);
    }
}

void ClientIdentity::described(ClientKey client, std::optional<pid_t> claimedPid, bool saysPulse) {
    const auto found = entries_.find(client);
    if (found == entries_.end()) {
        return;
    }
    auto& entry = found->second;
    if (entry.isServed) {
        servedBy(entry.connectedPid).described(client, claimedPid.value_or(0), saysPulse);
    } else if (!entry.isOpened) {
        // The last word counts: the connection may have a new holder.
        entry.claimedPid = claimedPid.value_or(0);
    }
}

void ClientIdentity::pictureCompleted() {
    for (auto& [key, entry] : entries_) {
        if (!entry.isServed && entry.connectedPid > 0 && entry.ends.empty()) {
            claim(entry);
        }
    }
    for (auto& [server, clients] : served_) {
        clients.pictureCompleted();
    }
}

void ClientIdentity::opened(ClientKey client) {
    const auto found = entries_.find(client);
    if (found == entries_.end() || found->second.isOpened) {
        return;
    }
    auto& entry = found->second;
    if (entry.isServed) {
        servedBy(entry.connectedPid).opened(client);
    } else if (entry.connectedPid > 0) {
        confirm(client, entry);
    }
    // From now on a use can be told of under this name, so it stays.
    entry.isOpened = true;
}

void ClientIdentity::left(ClientKey client) {
    const auto gone = entries_.extract(client);
    if (!gone.empty() && gone.mapped().isServed) {
        servedBy(gone.mapped().connectedPid).left(client);
    }
}

void ClientIdentity::keepOnly(const std::set<ClientKey>& clients) {
    std::vector<ClientKey> gone;
    for (const auto& [key, entry] : entries_) {
        if (!clients.contains(key)) {
            gone.push_back(key);
        }
    }
    std::ranges::for_each(gone, [this](ClientKey key) { left(key); });
}

void ClientIdentity::clear() {
    entries_.clear();
    served_.clear();
}

ClientIdentity::Who ClientIdentity::who(ClientKey client) const {
    const auto found = entries_.find(client);
    if (found == entries_.end()) {
        return cannotTell(client);
    }
    const auto& entry = found->second;
    return entry.isServed ? served_.at(entry.connectedPid).user(client) : entry.who;
}

bool ClientIdentity::isReady(ClientKey client) const {
    const auto found = entries_.find(client);
    return found == entries_.end() || !found->second.isServed ||
           served_.at(found->second.connectedPid).isReady(client);
}

bool ClientIdentity::isServed(ClientKey client) const {
    const auto found = entries_.find(client);
    return found != entries_.end() && found->second.isServed;
}

bool ClientIdentity::isNative(const SocketPair& pair) const {
    return pair.name == nativeSocket_ || pair.name == nativeSocket_ + "-manager";
}

Ends ClientIdentity::nativeEnds() const {
    Ends ends;
    for (const auto& pair : facts_.pairs()) {
        if (isNative(pair)) {
            ends.push_back(pair.clientEnd);
        }
    }
    return ends;
}

Ends ClientIdentity::servedEnds(pid_t server) const {
    const auto held = facts_.socketsOf(server);
    Ends ends;
    for (const auto& pair : facts_.pairs()) {
        if (!isNative(pair) && contains(held, pair.serverEnd)) {
            ends.push_back(pair.clientEnd);
        }
    }
    return ends;
}

Ends ClientIdentity::unclaimed() const {
    auto ends = nativeEnds();
    for (const auto& [key, entry] : entries_) {
        ends = without(std::move(ends), entry.ends);
    }
    return ends;
}

std::vector<ClientKey> ClientIdentity::undecidedOf(pid_t connectedPid) const {
    std::vector<ClientKey> clients;
    for (const auto& [key, entry] : entries_) {
        if (!entry.isServed && entry.connectedPid == connectedPid && entry.ends.empty()) {
            clients.push_back(key);
        }
    }
    return clients;
}

void ClientIdentity::claim(Entry& entry) const {
    // Certain only if there is one connection left over, and no other client of that process of
    // which isn't known which connection it has.
    if (undecidedOf(entry.connectedPid).size() != 1) {
        return;
    }
    const auto left = common(unclaimed(), facts_.socketsOf(entry.connectedPid));
    if (left.size() == 1) {
        entry.ends = left;
    }
}

/// What its process holds, and if that is too few, what is with anybody who holds more of them than
/// clients were announced for him.
Ends ClientIdentity::candidatesOf(const Entry& entry) const {
    const auto open = unclaimed();
    auto candidates = common(open, facts_.socketsOf(entry.connectedPid));
    if (candidates.size() >= undecidedOf(entry.connectedPid).size()) {
        return candidates;
    }
    std::map<pid_t, Ends> elsewhere;
    for (const auto& [end, holders] : facts_.holdersOf(open)) {
        for (const auto pid : holders) {
            elsewhere[pid].push_back(end);
        }
        if (holders.empty()) {
            candidates.push_back(end);
        }
    }
    for (const auto& [pid, ends] : elsewhere) {
        const auto announced = std::ranges::count_if(entries_, [pid = pid](const auto& each) {
            return each.second.connectedPid == pid && each.second.ends.empty();
        });
        if (std::ssize(ends) > announced) {
            const auto more = without(ends, candidates);
            candidates.insert(candidates.end(), more.begin(), more.end());
        }
    }
    return candidates;
}

void ClientIdentity::confirm(ClientKey client, Entry& entry) const {
    const auto all = nativeEnds();
    Ends candidates;
    if (!entry.ends.empty()) {
        candidates = common(entry.ends, all);
    } else if (!all.empty() && facts_.isReadable(entry.connectedPid)) {
        candidates = candidatesOf(entry);
    }
    if (candidates.empty()) {
        return; // already hung up, or the kernel doesn't say more than who connected
    }
    const ConnectionHolders holders(facts_, naming_, candidates);
    auto sole = holders.sole(candidates, entry.connectedPid);
    if (!sole && entry.ends.empty()) {
        EndsOfClients possible;
        std::map<ClientKey, pid_t> claims;
        for (const auto key : undecidedOf(entry.connectedPid)) {
            possible[key] = candidates;
            claims[key] = entries_.at(key).claimedPid;
        }
        const auto believed = believedClaims(possible, claims, holders);
        // Nobody else is told apart by that: those who are left over may be the liars.
        if (const auto found = believed.find(client); found != believed.end()) {
            sole = holders.sole(found->second, entry.claimedPid);
        }
    }
    entry.who = sole ? *sole : cannotTell(client);
}

} // namespace velmoran
