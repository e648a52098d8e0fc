#include "system/linux/pipewire/UseConfirmation.h"

#include <algorithm>
#include <utility>

namespace velmoran {

UseConfirmation::UseConfirmation(Scheduler& scheduler, const Clock& clock, Seconds duration,
                                 std::function<void()> confirmed)
    : scheduler_(scheduler),
      clock_(clock),
      duration_(duration),
      confirmed_(std::move(confirmed)) {}

void UseConfirmation::begin() {
    for (auto& [use, entry] : entries_) {
        entry.isThere = false;
    }
}

bool UseConfirmation::counts(const Use& use, const std::string& app, bool atOnce) {
    const auto [found, isNew] = entries_.try_emplace(use);
    auto& entry = found->second;
    entry.isThere = true;
    if (isNew) {
        entry.account = {app, use.isInput};
        entry.since = clock_.now();
        entry.isSure = atOnce || duration_ <= 0;
        entry.isConfirmed = entry.isSure;
        if (!entry.isSure) {
            await(use, entry);
        }
    }
    return entry.isConfirmed;
}

void UseConfirmation::await(const Use& use, Entry& entry) {
    const auto before = short_.find(entry.account);
    const auto left = duration_ - (before == short_.end() ? 0 : before->second.together);
    if (left <= 0) {
        entry.isConfirmed = true;
        return;
    }
    const auto first = std::min(left, longestFalseStart);
    entry.timer = scheduler_.after(first, [this, use, rest = left - first] {
        auto& lasting = entries_.at(use);
        lasting.isNoFalseStart = true;
        lasting.timer = scheduler_.after(rest, [this, use] {
            entries_.at(use).isConfirmed = true;
            confirmed_();
        });
    });
}

std::vector<UseConfirmation::Ended> UseConfirmation::end() {
    std::vector<Ended> ended;
    std::erase_if(entries_, [&](const auto& each) {
        const auto& [use, entry] = each;
        if (entry.isThere || entry.isSure) {
            return !entry.isThere;
        }
        if (const auto lasted = clock_.now() - entry.since; lasted < duration_) {
            addShort(entry.account, lasted);
            if (entry.isConfirmed || entry.isNoFalseStart) {
                ended.push_back({use, entry.isConfirmed});
            }
        } else {
            short_.erase(entry.account);
        }
        return true;
    });
    return ended;
}

void UseConfirmation::addShort(const Account& account, Seconds lasted) {
    auto& all = short_[account];
    all.together += lasted;
    all.forgetting = scheduler_.after(memory, [this, account] { short_.erase(account); });
}

} // namespace velmoran
