#include "system/linux/clients/ConnectionHolders.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <utility>

namespace velmoran {

ConnectionHolders::ConnectionHolders(SocketFacts& facts, ProcessNaming& naming, const Ends& ends)
    : facts_(facts),
      naming_(naming),
      holders_(facts.holdersOf(ends)) {}

const std::vector<pid_t>& ConnectionHolders::holders(std::uint64_t end) const {
    static const std::vector<pid_t> nobody;
    const auto found = holders_.find(end);
    return found == holders_.end() ? nobody : found->second;
}

std::optional<ClientUser> ConnectionHolders::sole(const Ends& ends, pid_t preferred) const {
    std::optional<ClientUser> sole;
    std::set<pid_t> seen;
    for (const auto end : ends) {
        if (isUnheld(end)) {
            return std::nullopt; // somebody who can't be seen
        }
        for (const auto pid : holders(end)) {
            if (!seen.insert(pid).second) {
                continue;
            }
            auto app = naming_.identify(pid);
            if (!sole) {
                sole = ClientUser{std::move(app), pid};
            } else if (!sole->app.isSameApp(app)) {
                return std::nullopt;
            } else if (pid == preferred) {
                sole->pid = pid;
            }
        }
    }
    // What a program was started with, whoever started it may hold as well.
    if (sole && !areOpenedByHolders(ends) && facts_.isAnybodyHidden()) {
        return std::nullopt;
    }
    return sole;
}

std::map<pid_t, Ends> ConnectionHolders::byHolder() const {
    std::map<pid_t, Ends> held;
    for (const auto& [end, pids] : holders_) {
        for (const auto pid : pids) {
            held[pid].push_back(end);
        }
    }
    return held;
}

bool ConnectionHolders::areOpenedByHolders(const Ends& ends) const {
    return std::ranges::all_of(ends, [this](auto end) {
        return std::ranges::all_of(holders(end),
                                   [&](pid_t pid) { return facts_.openedItself(pid, end); });
    });
}

bool ConnectionHolders::isUnheld(std::uint64_t end) const {
    return holders(end).empty();
}

bool ConnectionHolders::isHeldBy(std::uint64_t end, pid_t number) const {
    return number > 0 && std::ranges::any_of(holders(end), [&](pid_t pid) {
               return pid == number || innerPid(pid) == number;
           });
}

pid_t ConnectionHolders::innerPid(pid_t pid) const {
    const auto [known, isNew] = innerPids_.try_emplace(pid, 0);
    if (isNew) {
        known->second = facts_.innerPid(pid).value_or(0);
    }
    return known->second;
}

bool ConnectionHolders::isTheirWord(std::uint64_t end) const {
    return !isUnheld(end) && std::ranges::all_of(holders(end), [&](pid_t pid) {
        return facts_.openedItself(pid, end) && facts_.speaksForItself(pid);
    });
}

EndsOfClients believedClaims(const EndsOfClients& possible,
                             const std::map<ClientKey, pid_t>& claims,
                             const ConnectionHolders& holders) {
    const auto all = allOf(possible);
    if (all.size() > possible.size()) {
        return {}; // one of them has no client yet, and any client may be its
    }
    std::map<pid_t, std::vector<ClientKey>> claimants;
    for (const auto& [client, claim] : claims) {
        claimants[claim].push_back(client);
    }
    const auto isTrueOf = [&](std::uint64_t end, pid_t claim) {
        return holders.isTheirWord(end) && std::ranges::all_of(claimants, [&](const auto& other) {
                   return (other.first == claim) == holders.isHeldBy(end, other.first);
               });
    };
    EndsOfClients believed;
    Ends left = all;
    for (const auto& [claim, clients] : claimants) {
        Ends theirs;
        std::ranges::copy_if(all, std::back_inserter(theirs),
                             [&](auto end) { return holders.isHeldBy(end, claim); });
        const bool isTrue =
            theirs.size() == clients.size() && holders.sole(theirs) &&
            std::ranges::all_of(theirs, [&](auto end) { return isTrueOf(end, claim); }) &&
            std::ranges::all_of(clients, [&](auto client) {
                return common(possible.at(client), theirs).size() == theirs.size();
            });
        if (isTrue) {
            left = without(left, theirs);
            for (const auto client : clients) {
                believed[client] = theirs;
            }
        }
    }
    if (left.size() == possible.size() - believed.size() && holders.sole(left) &&
        std::ranges::all_of(left, [&](auto end) { return holders.isTheirWord(end); })) {
        for (const auto& [client, ends] : possible) {
            if (common(ends, left).size() == left.size()) {
                believed.try_emplace(client, left);
            }
        }
    }
    return believed;
}

} // namespace velmoran
