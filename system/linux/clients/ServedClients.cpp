#include "system/linux/clients/ServedClients.h"

#include <algorithm>
#include <string>
#include <utility>

#include <unistd.h>

namespace velmoran {

namespace {

constexpr unsigned enoughLooks = 2;

} // namespace

ServedClients::ServedClients(SocketFacts& facts, ProcessNaming& naming, pid_t server,
                             std::function<Ends()> connections)
    : facts_(facts),
      naming_(naming),
      server_(server),
      connections_(std::move(connections)) {}

ClientUser ServedClients::cannotTell(ClientKey client) const {
    return {naming_.unidentified("client-" + std::to_string(client)), 0};
}

void ServedClients::appeared(ClientKey client, bool isNew) {
    auto& entry = clients_[client];
    entry = {};
    entry.isNew = isNew;
    entry.candidates = connections_();
    entry.user = cannotTell(client);
    if (isNew) {
        resolve(Ends(entry.candidates));
    }
}

void ServedClients::described(ClientKey client, pid_t claimedPid, bool saysPulse) {
    auto& entry = clients_.at(client);
    // The first word counts: nobody may change his mind once he has been looked up.
    if (std::exchange(entry.isDescribed, true)) {
        return;
    }
    entry.claimedPid = claimedPid;
    entry.saysPulse = saysPulse;
    if (!entry.isNew && !isComplete_) {
        return;
    }
    entry.isSettled = entry.isSettled || isBorneOut(entry);
    if (std::ranges::any_of(clients_, [](const auto& each) {
            return !each.second.isKnown || (each.second.isOpened && !each.second.isNamed);
        })) {
        resolve(connections_());
    }
}

void ServedClients::pictureCompleted() {
    if (!std::exchange(isComplete_, true)) {
        resolve(connections_());
    }
}

void ServedClients::opened(ClientKey client) {
    auto& entry = clients_.at(client);
    if (std::exchange(entry.isOpened, true)) {
        if (entry.isNamed) {
            return;
        }
        entry.wait.look();
        for (auto& [end, hangup] : hangups_) {
            hangup.look();
        }
    }
    entry.wait.isHeard = entry.wait.isHeard || facts_.isAsleep(server_);
    const auto live = connections_();
    if (!entry.isSettled) {
        resolve(live);
    }
    name(entry);
    if (!entry.isNamed) {
        return;
    }
    entry.isSettled = entry.isSettled || isCertain(entry);
    // One that has hung up already stays whose it was.
    if (const auto its = common(entry.ends, live); !its.empty()) {
        const auto sole = ConnectionHolders(facts_, naming_, its).sole(its, entry.user.pid);
        // Whose word was believed may have handed on another than that one.
        const bool isIts = sole && (!entry.isBelieved || sole->app.isSameApp(entry.user.app));
        entry.user = isIts ? *sole : cannotTell(client);
    }
}

void ServedClients::left(ClientKey client) {
    const auto gone = clients_.extract(client);
    if (const auto& its = gone.mapped();
        !its.candidates.empty() && its.isKnown != its.ends.empty()) {
        departed_.push_back({.ends = its.ends, .isNew = true});
    }
    if (std::ranges::any_of(clients_, [](const auto& each) {
            return each.second.isOpened && !each.second.isNamed;
        })) {
        resolve(connections_());
    }
}

/// By its own word, which is believed only if no connection is left that it may have.
bool ServedClients::isOfTheServer(const Client& client) const {
    return client.isDescribed && !client.saysPulse && client.claimedPid == server_;
}

bool ServedClients::isCertain(const Client& client) {
    return client.isKnown && !client.isBelieved && client.ends.size() == 1;
}

bool ServedClients::saysWhatTheKernelSays(const Client& client) const {
    const auto claim = client.claimedPid;
    return client.isDescribed && claim > 0 &&
           (claim == client.holder.pid || facts_.innerPid(client.holder.pid) == claim ||
            !common(client.ends, facts_.socketsOf(claim)).empty());
}

/// So that it can't be one whose connection is closed already.
bool ServedClients::isBorneOut(const Client& client) const {
    return isCertain(client) && saysWhatTheKernelSays(client);
}

/// Whether there is no other reading than that the connection which is left for it is its own. Its
/// own may be closed already, as long as the server hasn't had the time to say that it has left,
/// and what may be the server's own may have none: the one that is left is then that of a client
/// which is still to come.
bool ServedClients::isVouchedFor(const Client& client) const {
    if (client.ends.empty()) {
        return client.isSettled;
    }
    return !isOfTheServer(client) &&
           (saysWhatTheKernelSays(client) || client.wait.looks >= enoughLooks);
}

void ServedClients::name(Client& client) const {
    if (client.isKnown && !client.isNamed && isVouchedFor(client)) {
        client.user = client.holder;
        client.isNamed = client.isOpened;
    }
}

/// Who leaves hangs up, which leaves the others one candidate less. A connection that is closed
/// while its client is still to leave may be that of anybody who has it among his.
void ServedClients::noteDepartures(const Ends& live) {
    EndsOfClients candidates;
    for (const auto& [key, client] : clients_) {
        candidates[key] = client.candidates;
    }
    const auto closed = without(allOf(candidates), live);
    Ends explained;
    std::size_t unknown = 0;
    bool wasMistaken = false;
    for (auto& departed : departed_) {
        const auto its = common(departed.ends, closed);
        explained.insert(explained.end(), its.begin(), its.end());
        unknown += departed.ends.empty() ? 1 : 0;
        const bool isNew = std::exchange(departed.isNew, false);
        wasMistaken =
            wasMistaken || (isNew && (departed.ends.empty() ||
                                      (its.empty() && !common(departed.ends, live).empty())));
    }
    if (unknown >= without(closed, explained).size()) {
        explained = closed;
    }
    noteHangups(closed, explained);
    const bool isAllExplained = without(closed, explained).empty();
    std::erase_if(departed_, [&](const Departed& departed) {
        return departed.ends.empty() ? isAllExplained
                                     : common(departed.ends, live).size() < departed.ends.size();
    });
    for (auto& [key, client] : clients_) {
        client.candidates = without(std::move(client.candidates), explained);
        // Who was told apart from it is told apart anew.
        client.isSettled = client.isSettled && (client.isNamed || !wasMistaken);
        client.isBelieved = client.isBelieved && (client.isNamed || !wasMistaken);
    }
}

/// What was closed for long enough was that of a client which was never told of, or has left
/// already: none of those that are still there.
void ServedClients::noteHangups(const Ends& closed, Ends& explained) {
    const auto open = without(closed, explained);
    std::erase_if(hangups_, [&](const auto& each) { return !contains(open, each.first); });
    for (const auto end : open) {
        auto& hangup = hangups_[end];
        hangup.isHeard = hangup.isHeard || facts_.isAsleep(server_);
        if (hangup.looks >= enoughLooks) {
            hangups_.erase(end);
            explained.push_back(end);
        }
    }
}

/// What those may have that aren't settled; a module of the server's own only if it is asked for.
EndsOfClients ServedClients::openCandidates(bool withModules) {
    const auto own = facts_.socketsOf(::getpid());
    Ends settled;
    for (const auto& [key, client] : clients_) {
        if (client.isSettled) {
            settled.insert(settled.end(), client.ends.begin(), client.ends.end());
        }
    }
    EndsOfClients candidates;
    for (const auto& [key, client] : clients_) {
        if (client.isSettled || (isOfTheServer(client) && !withModules)) {
            continue;
        }
        auto ends = without(client.candidates, settled);
        if (client.isDescribed && client.claimedPid != ::getpid()) {
            ends = without(std::move(ends), own); // this program says what it is
        }
        if (ends.empty()) {
            forget(key);
        } else {
            candidates[key] = std::move(ends);
        }
    }
    return candidates;
}

/// What the server has loaded itself has no connection. True if another may be any client.
bool ServedClients::settleModules() {
    const auto others = openCandidates(false);
    const auto all = openCandidates(true);
    bool isAnyOpen = false;
    for (auto& [key, module] : clients_) {
        if (module.isSettled || !isOfTheServer(module)) {
            continue;
        }
        const auto its = all.find(key);
        auto withIt = others;
        if (its != all.end()) {
            withIt.insert(*its);
        }
        // One that can have a connection beside all others may be anybody who says so.
        const bool hasNone = its == all.end() || (readingsOf(others) && !readingsOf(withIt));
        if (hasNone && !module.isNamed) {
            module.ends.clear();
            module.holder = {naming_.identify(server_), server_};
            module.isKnown = module.isSettled = true;
        }
        isAnyOpen = isAnyOpen || !module.isSettled;
    }
    return isAnyOpen;
}

void ServedClients::resolve(const Ends& live) {
    noteDepartures(live);
    tellApart(openCandidates(false));
    if (settleModules()) {
        tellApart(openCandidates(true));
    }
    for (auto& [key, client] : clients_) {
        name(client);
        client.isSettled =
            client.isSettled || (client.isNamed && isCertain(client)) || isBorneOut(client);
    }
}

void ServedClients::forget(ClientKey client) {
    auto& entry = clients_.at(client);
    entry.ends.clear();
    entry.isBelieved = false;
    if (!entry.isNamed) {
        entry.isKnown = false;
        entry.user = cannotTell(client);
    }
}

void ServedClients::know(Client& client, const Ends& ends, const ConnectionHolders& holders) {
    if (auto sole = holders.sole(ends, client.claimedPid)) {
        client.ends = ends;
        client.isKnown = true;
        if (!client.isNamed) {
            client.holder = std::move(*sole);
        }
    }
}

void ServedClients::tellApart(const EndsOfClients& candidates) {
    const auto readings = readingsOf(candidates);
    EndsOfClients open;
    EndsOfClients believed;
    bool haveAllSpoken = true;
    for (const auto& [key, ends] : readings ? *readings : candidates) {
        auto& client = clients_.at(key);
        client.isBelieved = client.isBelieved && !(readings && ends == client.ends);
        if (client.isBelieved && !common(ends, client.ends).empty()) {
            believed[key] = ends;
            continue;
        }
        if (readings && client.isKnown && client.ends == ends) {
            continue;
        }
        forget(key);
        if (client.isDescribed || (readings && ends.size() == 1)) {
            open[key] = ends;
        } else {
            haveAllSpoken = false;
        }
    }
    if (open.empty()) {
        return;
    }
    auto possible = believed;
    possible.insert(open.begin(), open.end());
    const ConnectionHolders holders(facts_, naming_, allOf(possible));
    std::map<ClientKey, pid_t> claims;
    for (const auto& [key, ends] : possible) {
        auto& client = clients_.at(key);
        if (readings && open.contains(key)) {
            know(client, ends, holders);
        }
        if (client.ends.empty() || client.isBelieved) {
            claims[key] = client.claimedPid;
            haveAllSpoken = haveAllSpoken && client.isDescribed;
        } else {
            open.erase(key);
        }
    }
    std::erase_if(possible, [&](const auto& each) { return !claims.contains(each.first); });
    const auto borneOut =
        haveAllSpoken ? believedClaims(possible, claims, holders) : EndsOfClients();
    for (const auto& [key, ends] : open) {
        auto& client = clients_.at(key);
        if (const auto found = borneOut.find(key); found != borneOut.end()) {
            know(client, found->second, holders);
            client.isBelieved = client.isKnown;
        }
        nameHidden(key, ends, holders);
    }
}

/// Nobody is seen to hold its connection, and the process that it claims can't be looked at.
void ServedClients::nameHidden(ClientKey client, const Ends& ends,
                               const ConnectionHolders& holders) {
    auto& entry = clients_.at(client);
    if (entry.isKnown || ends.size() != 1 || !holders.isUnheld(ends.front()) ||
        entry.claimedPid <= 0 || facts_.isReadable(entry.claimedPid)) {
        return;
    }
    if (auto app = naming_.identify(entry.claimedPid); app.unidentified) {
        entry.user = {std::move(app), 0};
    }
}

} // namespace velmoran
