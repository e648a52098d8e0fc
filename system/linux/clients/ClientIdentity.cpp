#include "system/linux/clients/ClientIdentity.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace velmoran {

namespace {

constexpr unsigned mostAttempts = 4;
// While the server is busy it hasn't been heard out, which is a matter of moments.
constexpr unsigned mostAttemptsBesideServer = 12;

} // namespace

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
    claimAll();
    for (auto& [server, clients] : served_) {
        clients.pictureCompleted();
    }
}

void ClientIdentity::opened(ClientKey client) {
    const auto found = entries_.find(client);
    if (found == entries_.end() || (found->second.isOpened && !mayBeToldLater(client))) {
        return;
    }
    auto& entry = found->second;
    if (entry.isServed) {
        auto& served = servedBy(entry.connectedPid);
        served.opened(client);
        if (served.user(client).app.unidentified && served.waitsForServer(client) &&
            ++entry.attempts < mostAttemptsBesideServer) {
            return;
        }
    } else if (entry.connectedPid > 0) {
        confirm(client, entry);
        if (entry.who.app.unidentified && ++entry.attempts < mostAttempts &&
            facts_.isReadable(entry.connectedPid)) {
            return;
        }
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

bool ClientIdentity::isUndecided(ClientKey client) const {
    const auto found = entries_.find(client);
    return found != entries_.end() && !found->second.isOpened && found->second.attempts > 0;
}

bool ClientIdentity::mayBeToldLater(ClientKey client) const {
    const auto found = entries_.find(client);
    if (found == entries_.end() || !found->second.isServed || !found->second.isOpened) {
        return false;
    }
    const auto& served = served_.at(found->second.connectedPid);
    return served.user(client).app.unidentified && served.waitsForServer(client);
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

Ends ClientIdentity::unclaimed(const Ends& all) const {
    std::set<std::uint64_t> claimed;
    for (const auto& [key, entry] : entries_) {
        claimed.insert(entry.ends.begin(), entry.ends.end());
    }
    auto ends = all;
    std::erase_if(ends, [&](auto end) { return claimed.contains(end); });
    return ends;
}

std::map<pid_t, std::vector<ClientKey>> ClientIdentity::undecided() const {
    std::map<pid_t, std::vector<ClientKey>> clients;
    for (const auto& [key, entry] : entries_) {
        if (entry.ends.empty()) {
            clients[entry.connectedPid].push_back(key);
        }
    }
    return clients;
}

/// What is left when all have what they have claimed, at one moment.
struct ClientIdentity::Leftover {
    Ends open;
    ConnectionHolders holders;
    std::map<pid_t, Ends> held; ///< of the open ones, by process
    std::map<pid_t, std::vector<ClientKey>> clients;
    /// Those that may be anybody's: nobody holds them who has as many as were announced for him.
    Ends strays;
    std::vector<ClientKey> astray; ///< whose processes don't have as many
};

bool ClientIdentity::isEven(pid_t pid, std::size_t held, std::size_t announced) const {
    // Clients of a sound server come and go all the time, and hang up before they leave.
    return held == announced || (held < announced && served_.contains(pid));
}

ClientIdentity::Leftover ClientIdentity::leftover(const Ends& all) const {
    const auto open = unclaimed(all);
    Leftover left{
        .open = open,
        .holders = ConnectionHolders(facts_, naming_, open),
        .held = {},
        .clients = undecided(),
        .strays = open,
        .astray = {},
    };
    left.held = left.holders.byHolder();
    for (const auto& [pid, ends] : left.held) {
        const auto its = left.clients.find(pid);
        if (its != left.clients.end() && isEven(pid, ends.size(), its->second.size())) {
            left.strays = without(std::move(left.strays), ends);
        }
    }
    for (const auto& [pid, clients] : left.clients) {
        const auto its = left.held.find(pid);
        if (!isEven(pid, its == left.held.end() ? 0 : its->second.size(), clients.size())) {
            left.astray.insert(left.astray.end(), clients.begin(), clients.end());
        }
    }
    return left;
}

void ClientIdentity::claim(Entry& entry) const {
    const auto pid = entry.connectedPid;
    entry.possible = common(unclaimed(nativeEnds()), facts_.socketsOf(pid));
    // Certain only if there is one connection left over, and no other client of that process of
    // which isn't known which connection it has. What the program was started with can be another's
    // that whoever ran in the process before had taken over.
    if (entry.possible.size() == 1 && undecided().at(pid).size() == 1 &&
        facts_.openedItself(pid, entry.possible.front())) {
        entry.ends = std::exchange(entry.possible, {});
    }
}

/// For those that were there before: what they hold may have been given to them, and their own to
/// others. So this counts only where nobody has more than was announced for him.
void ClientIdentity::claimAll() {
    if (std::ranges::none_of(entries_, [](const auto& each) {
            return !each.second.isServed && each.second.connectedPid > 0 &&
                   each.second.ends.empty();
        })) {
        return;
    }
    claimFrom(leftover(nativeEnds()));
}

void ClientIdentity::claimFrom(const Leftover& left) {
    if (!left.strays.empty()) {
        return;
    }
    for (const auto& [pid, clients] : left.clients) {
        const auto its = left.held.find(pid);
        if (clients.size() != 1 || its == left.held.end() || its->second.size() != 1) {
            continue;
        }
        auto& entry = entries_.at(clients.front());
        if (!entry.isServed && facts_.openedItself(pid, its->second.front())) {
            entry.ends = its->second;
            entry.possible.clear();
        }
    }
}

void ClientIdentity::confirm(ClientKey client, Entry& entry) {
    const auto all = nativeEnds();
    const auto pid = entry.connectedPid;
    const auto confirmClaimed = [&] {
        // One that has hung up already stays whose it was.
        if (const auto its = common(entry.ends, all); !its.empty()) {
            const auto sole = ConnectionHolders(facts_, naming_, its).sole(its, pid);
            entry.who = sole ? *sole : cannotTell(client);
        }
    };
    if (!entry.ends.empty()) {
        confirmClaimed();
        return;
    }
    if (all.empty() || (entry.who.app.unidentified && !facts_.isReadable(pid))) {
        return; // the kernel doesn't say more than who connected
    }
    const auto left = leftover(all);
    if (entry.possible.empty()) {
        // What came or went while the first picture did may have been in the way.
        claimFrom(left);
        if (!entry.ends.empty()) {
            confirmClaimed();
            return;
        }
    }
    auto clients = left.clients.at(pid);
    auto candidates = common(entry.possible, left.open);
    const auto its = left.held.find(pid);
    if (candidates.empty() && its != left.held.end()) {
        candidates = its->second; // nobody saw it connect
    }
    // A client is announced by its first word, and its connection may have changed hands before.
    const auto more = without(left.strays, candidates);
    if (!more.empty()) {
        candidates.insert(candidates.end(), more.begin(), more.end());
        std::ranges::copy_if(left.astray, std::back_inserter(clients), [&](auto key) {
            const auto& other = entries_.at(key);
            return other.connectedPid != pid && !other.isServed;
        });
    }
    if (candidates.empty()) {
        return; // already hung up
    }
    entry.who = tellApart(client, clients, candidates, left.holders).value_or(cannotTell(client));
}

/// One of these clients, which have one of these connections each: the app that alone holds all, or
/// whose word leaves no other reading.
std::optional<ClientIdentity::Who>
ClientIdentity::tellApart(ClientKey client, const std::vector<ClientKey>& clients,
                          const Ends& candidates, const ConnectionHolders& holders) const {
    const auto& entry = entries_.at(client);
    // With fewer connections than clients this one may have hung up, and all of them be others'.
    if (candidates.size() >= clients.size()) {
        auto sole = holders.sole(candidates, entry.connectedPid);
        if (sole && holders.areOpenedByHolders(candidates)) {
            return sole;
        }
    }
    EndsOfClients possible;
    std::map<ClientKey, pid_t> claims;
    for (const auto key : clients) {
        const auto& other = entries_.at(key);
        if (other.claimedPid <= 0) {
            return std::nullopt; // who hasn't spoken yet may be the one who says the truth
        }
        possible[key] = candidates;
        claims[key] = other.claimedPid;
    }
    // Nobody else is told apart by that: those who are left over may be the liars.
    const auto believed = believedClaims(possible, claims, holders);
    const auto found = believed.find(client);
    return found == believed.end() ? std::nullopt : holders.sole(found->second, entry.claimedPid);
}

} // namespace velmoran
