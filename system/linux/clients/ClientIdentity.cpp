#include "system/linux/clients/ClientIdentity.h"

#include <algorithm>
#include <utility>

namespace velmoran {

namespace {

using Ends = std::vector<std::uint64_t>;

bool contains(const Ends& ends, std::uint64_t end) {
    return std::find(ends.begin(), ends.end(), end) != ends.end();
}

Ends common(const Ends& ends, const Ends& others) {
    Ends both;
    std::copy_if(ends.begin(), ends.end(), std::back_inserter(both),
                 [&](auto end) { return contains(others, end); });
    return both;
}

} // namespace

ClientIdentity::ClientIdentity(SocketFacts& facts, ProcessNaming& naming, std::string nativeSocket)
    : facts_(facts),
      naming_(naming),
      nativeSocket_(std::move(nativeSocket)) {}

template <class Predicate>
bool ClientIdentity::anyEntry(Predicate predicate) const {
    return std::any_of(entries_.begin(), entries_.end(),
                       [&](const auto& each) { return predicate(each.second); });
}

ClientIdentity::Who ClientIdentity::cannotTell(ClientKey client) const {
    return {naming_.unidentified("client-" + std::to_string(client)), 0};
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

Ends ClientIdentity::unclaimedOf(Ends ends) const {
    std::erase_if(ends, [this](auto end) {
        return anyEntry([&](const Entry& entry) { return entry.clientEnd == end; });
    });
    return ends;
}

Ends ClientIdentity::doubtfulOf(Ends ends) const {
    std::erase_if(ends, [this](auto end) {
        return !anyEntry([&](const Entry& entry) {
            return entry.clientEnd == end && entry.isDoubtful && !entry.isOpened;
        });
    });
    return ends;
}

ClientIdentity::Own ClientIdentity::ownOf(const Ends& ends, pid_t claim) const {
    if (claim <= 0 || ends.empty()) {
        return {};
    }
    Own own{.ends = common(ends, facts_.socketsOf(claim)), .pid = claim};
    if (!own.ends.empty()) {
        return own;
    }
    // Inside a sandbox a process goes by another number.
    own.pid = 0;
    for (const auto& [end, holders] : facts_.holdersOf(ends)) {
        for (const auto holder : holders) {
            if (holder == claim || facts_.innerPid(holder) != claim) {
                continue;
            }
            if (own.pid != 0 && own.pid != holder) {
                return {};
            }
            own.pid = holder;
            own.ends.push_back(end);
        }
    }
    return own;
}

void ClientIdentity::reclaimFromDoubtful(std::uint64_t clientEnd) {
    for (auto& [key, other] : entries_) {
        if (other.clientEnd == clientEnd && other.isDoubtful) {
            other.clientEnd = 0;
            other.isDoubtful = false;
            other.isKnown = false;
            other.who = cannotTell(key);
        }
    }
}

std::optional<ClientIdentity::Who> ClientIdentity::soleHolder(const Ends& ends,
                                                              pid_t preferred) const {
    std::optional<Who> sole;
    for (const auto& [end, holders] : facts_.holdersOf(ends)) {
        if (holders.empty()) {
            return std::nullopt; // somebody who can't be seen
        }
        for (const auto pid : holders) {
            auto app = naming_.identify(pid);
            if (!sole) {
                sole = Who{std::move(app), pid};
            } else if (!sole->app.isSameApp(app)) {
                return std::nullopt;
            } else if (pid == preferred) {
                sole->pid = pid;
            }
        }
    }
    return sole;
}

void ClientIdentity::appeared(ClientKey client, std::optional<pid_t> connectedPid, bool isNew) {
    auto& entry = entries_[client];
    entry = {};
    entry.connectedPid = connectedPid.value_or(0);
    entry.who = cannotTell(client);
    if (entry.connectedPid <= 0) {
        return;
    }
    entry.isServed = nativeSocket_.empty() || facts_.isSoundServer(entry.connectedPid);
    if (!entry.isServed) {
        entry.who = {naming_.identify(entry.connectedPid), entry.connectedPid};
        entry.isKnown = true;
        if (isNew) {
            claimNative(entry);
        }
    } else if (isNew) {
        claimServed(entry);
    }
}

void ClientIdentity::described(ClientKey client, std::optional<pid_t> claimedPid, bool saysPulse) {
    const auto found = entries_.find(client);
    // The first word counts: nobody may change his mind once he has been looked up.
    if (found == entries_.end() || found->second.isDescribed) {
        return;
    }
    auto& entry = found->second;
    entry.isDescribed = true;
    entry.claimedPid = claimedPid.value_or(0);
    entry.saysPulse = saysPulse;
    if (!entry.isServed) {
        return;
    }
    if (!entry.isKnown) {
        resolveServed(client, entry);
    } else if (entry.clientEnd != 0) {
        entry.isDoubtful =
            entry.claimedPid > 0 && ownOf({entry.clientEnd}, entry.claimedPid).ends.empty();
    }
    retryUnknown();
}

void ClientIdentity::opened(ClientKey client) {
    const auto found = entries_.find(client);
    if (found == entries_.end() || found->second.isOpened) {
        return;
    }
    auto& entry = found->second;
    if (entry.connectedPid > 0) {
        if (!entry.isServed) {
            confirmNative(client, entry);
        } else {
            if (!entry.isKnown) {
                resolveServed(client, entry);
            }
            confirmServed(client, entry);
        }
    }
    // From now on a use can be told of under this name, so it stays.
    entry.isOpened = true;
}

void ClientIdentity::left(ClientKey client) {
    entries_.erase(client);
}

ClientIdentity::Who ClientIdentity::who(ClientKey client) const {
    const auto found = entries_.find(client);
    return found == entries_.end() ? cannotTell(client) : found->second.who;
}

bool ClientIdentity::isReady(ClientKey client) const {
    const auto found = entries_.find(client);
    return found == entries_.end() || !found->second.isServed || found->second.isDescribed;
}

bool ClientIdentity::isServed(ClientKey client) const {
    const auto found = entries_.find(client);
    return found != entries_.end() && found->second.isServed;
}

void ClientIdentity::claimNative(Entry& entry) const {
    // Certain only if there is one connection left over and no earlier client of that process of
    // which isn't known which connection it has.
    if (anyEntry([&](const Entry& other) {
            return &other != &entry && other.clientEnd == 0 &&
                   other.connectedPid == entry.connectedPid;
        })) {
        return;
    }
    const auto left = unclaimedOf(common(nativeEnds(), facts_.socketsOf(entry.connectedPid)));
    if (left.size() == 1) {
        entry.clientEnd = left.front();
    }
}

void ClientIdentity::claimServed(Entry& entry) const {
    // If one connection alone is nobody's yet, and no other client is without one, it is this
    // client's, whatever it will say; known before it has said anything, and before it can be gone.
    const auto open = unclaimedOf(servedEnds(entry.connectedPid));
    entry.hadUnclaimedEnd = !open.empty();
    const bool hasUncertain = anyEntry([&](const Entry& other) {
        return &other != &entry && other.isServed && (!other.isKnown || !other.isSure);
    });
    if (open.size() != 1 || hasUncertain) {
        return;
    }
    if (auto sole = soleHolder(open, 0)) {
        entry.clientEnd = open.front();
        entry.isSure = true;
        entry.who = std::move(*sole);
        entry.isKnown = true;
    }
}

void ClientIdentity::confirmNative(ClientKey client, Entry& entry) const {
    const auto all = nativeEnds();
    Ends candidates;
    if (entry.clientEnd != 0) {
        if (!contains(all, entry.clientEnd)) {
            return; // already hung up: nobody else can have it any more
        }
        candidates = {entry.clientEnd};
    } else {
        if (all.empty() || !facts_.isReadable(entry.connectedPid)) {
            return; // the kernel doesn't say more than who connected
        }
        const auto open = unclaimedOf(all);
        candidates = common(open, facts_.socketsOf(entry.connectedPid));
        const auto wanted = std::count_if(entries_.begin(), entries_.end(), [&](const auto& other) {
            return other.second.clientEnd == 0 && !other.second.isServed &&
                   other.second.connectedPid == entry.connectedPid;
        });
        if (candidates.size() < static_cast<std::size_t>(wanted)) {
            // Some of its connections are elsewhere by now: with anybody who holds more of them
            // than clients were announced for him.
            std::map<pid_t, std::pair<Ends, std::ptrdiff_t>> others;
            for (const auto& [end, holders] : facts_.holdersOf(open)) {
                for (const auto pid : holders) {
                    others[pid].first.push_back(end);
                }
                if (holders.empty()) {
                    candidates.push_back(end);
                }
            }
            for (const auto& [key, other] : entries_) {
                if (other.clientEnd == 0 || other.isServed) {
                    ++others[other.connectedPid].second;
                }
            }
            for (const auto& [pid, holding] : others) {
                if (std::ssize(holding.first) > holding.second) {
                    for (const auto end : holding.first) {
                        if (!contains(candidates, end)) {
                            candidates.push_back(end);
                        }
                    }
                }
            }
        }
        if (candidates.empty()) {
            return;
        }
    }
    const auto sole = soleHolder(candidates, entry.connectedPid);
    entry.who = sole ? *sole : cannotTell(client);
}

void ClientIdentity::resolveServed(ClientKey client, Entry& entry) {
    if (entry.isContested) {
        return;
    }
    const auto ends = servedEnds(entry.connectedPid);
    for (auto& [key, other] : entries_) {
        if (other.isServed && other.connectedPid == entry.connectedPid &&
            !contains(ends, other.clientEnd)) {
            other.clientEnd = 0; // hung up; the number may be given out again
        }
    }
    const auto open = unclaimedOf(ends);
    if (!entry.saysPulse && entry.claimedPid == entry.connectedPid) {
        // A module that the server itself has loaded has no connection behind it. If anybody's is
        // left over it may just as well be a client that says so.
        if (open.empty() && !entry.hadUnclaimedEnd) {
            entry.who = {naming_.identify(entry.connectedPid), entry.connectedPid};
            entry.isKnown = true;
            entry.isSure = true;
        }
        return;
    }
    const auto claim = entry.claimedPid;
    auto own = ownOf(open, claim);
    entry.isSure = own.ends.size() == open.size();
    if (own.ends.empty()) {
        own = ownOf(doubtfulOf(ends), claim);
        entry.isSure = open.empty();
    }
    if (!own.ends.empty()) {
        reclaimFromDoubtful(own.ends.front());
        entry.clientEnd = own.ends.front();
        entry.who = {naming_.identify(own.pid), own.pid};
        entry.isKnown = true;
        if (open.size() == 1 && contains(open, entry.clientEnd)) {
            for (auto& [key, other] : entries_) {
                other.isSure = true; // everybody's claim has come true
            }
        }
        return;
    }
    entry.isSure = false;
    if (open.empty()) {
        return;
    }
    // Two clients say that they are this process, and it has one connection. If the first was
    // believed while the second was on its way, either may be the liar.
    for (auto& [key, other] : entries_) {
        if (&other != &entry && other.isServed && !other.isSure && other.clientEnd != 0 &&
            claim > 0 && other.claimedPid == claim) {
            other.who = cannotTell(key);
            other.isKnown = false;
            other.isContested = true;
            entry.isContested = true;
            return;
        }
    }
    if (const auto sole = soleHolder(open, 0)) {
        entry.clientEnd = open.size() == 1 ? open.front() : 0;
        entry.isDoubtful = claim > 0;
        entry.isSure = true;
        entry.who = *sole;
        entry.isKnown = true;
    } else if (open.size() == 1 && claim > 0 && !facts_.isReadable(claim) &&
               facts_.holdersOf(open).at(open.front()).empty()) {
        // Nobody is seen to hold it, and the process that is claimed can't be looked at.
        entry.clientEnd = open.front();
        auto app = naming_.identify(claim);
        entry.who = app.unidentified ? Who{std::move(app), 0} : cannotTell(client);
    }
}

void ClientIdentity::confirmServed(ClientKey client, Entry& entry) const {
    // One that has hung up already stays whose it was.
    if (entry.isKnown && entry.clientEnd != 0 &&
        contains(servedEnds(entry.connectedPid), entry.clientEnd)) {
        const auto sole = soleHolder({entry.clientEnd}, entry.who.pid);
        entry.who = sole ? *sole : cannotTell(client);
    }
}

void ClientIdentity::retryUnknown() {
    for (auto& [key, entry] : entries_) {
        if (entry.isServed && entry.isDescribed && !entry.isKnown && !entry.isOpened &&
            entry.clientEnd == 0) {
            resolveServed(key, entry);
        }
    }
}

} // namespace velmoran
