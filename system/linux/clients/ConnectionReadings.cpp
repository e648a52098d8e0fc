#include "system/linux/clients/ConnectionReadings.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace velmoran {

namespace {

/// One reading, changed step by step: an end goes to another client if its own finds another end.
class Reading {
public:
    explicit Reading(const EndsOfClients& candidates) : ends_(allOf(candidates)) {
        for (const auto& [key, its] : candidates) {
            auto& numbers = candidates_.emplace_back();
            for (const auto end : its) {
                numbers.push_back(static_cast<std::size_t>(
                    std::find(ends_.begin(), ends_.end(), end) - ends_.begin()));
            }
        }
        owners_.resize(ends_.size());
    }

    std::size_t clients() const { return candidates_.size(); }
    std::uint64_t end(std::size_t number) const { return ends_[number]; }
    const std::vector<std::size_t>& candidates(std::size_t client) const {
        return candidates_[client];
    }

    bool placeAll() {
        for (std::size_t client = 0; client < clients(); ++client) {
            std::vector<bool> tried(ends_.size(), false);
            if (!place(client, tried)) {
                return false;
            }
        }
        return true;
    }

    /// Whether all have one also when that client has this one. All have one before.
    bool canHave(std::size_t client, std::size_t end) {
        if (owners_[end] == client) {
            return true;
        }
        const auto before = owners_;
        std::replace(owners_.begin(), owners_.end(), Owner(client), Owner());
        const auto displaced = std::exchange(owners_[end], client);
        std::vector<bool> tried(ends_.size(), false);
        tried[end] = true;
        if (!displaced || place(*displaced, tried)) {
            return true;
        }
        owners_ = before;
        return false;
    }

private:
    using Owner = std::optional<std::size_t>;

    bool place(std::size_t client, std::vector<bool>& tried) {
        for (const auto end : candidates_[client]) {
            if (tried[end]) {
                continue;
            }
            tried[end] = true;
            if (!owners_[end] || place(*owners_[end], tried)) {
                owners_[end] = client;
                return true;
            }
        }
        return false;
    }

    Ends ends_;
    std::vector<std::vector<std::size_t>> candidates_; ///< by client, as numbers of ends
    std::vector<Owner> owners_;                        ///< by end
};

} // namespace

bool contains(const Ends& ends, std::uint64_t end) {
    return std::find(ends.begin(), ends.end(), end) != ends.end();
}

Ends common(const Ends& ends, const Ends& others) {
    Ends both;
    std::copy_if(ends.begin(), ends.end(), std::back_inserter(both),
                 [&](auto end) { return contains(others, end); });
    return both;
}

Ends without(Ends ends, const Ends& others) {
    std::erase_if(ends, [&](auto end) { return contains(others, end); });
    return ends;
}

Ends allOf(const EndsOfClients& clients) {
    Ends all;
    for (const auto& [key, ends] : clients) {
        all.insert(all.end(), ends.begin(), ends.end());
    }
    std::sort(all.begin(), all.end());
    all.erase(std::unique(all.begin(), all.end()), all.end());
    return all;
}

std::optional<EndsOfClients> readingsOf(const EndsOfClients& candidates) {
    Reading reading(candidates);
    if (!reading.placeAll()) {
        return std::nullopt;
    }
    EndsOfClients readings;
    std::size_t client = 0;
    for (const auto& [key, ends] : candidates) {
        auto& its = readings[key];
        for (const auto end : reading.candidates(client)) {
            if (reading.canHave(client, end)) {
                its.push_back(reading.end(end));
            }
        }
        ++client;
    }
    return readings;
}

} // namespace velmoran
