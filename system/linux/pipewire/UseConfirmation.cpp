#include "system/linux/pipewire/UseConfirmation.h"

#include <algorithm>
#include <utility>

namespace velmoran {

UseConfirmation::UseConfirmation(Scheduler& scheduler, Seconds duration,
                                 std::function<void()> confirmed)
    : scheduler_(scheduler),
      duration_(duration),
      confirmed_(std::move(confirmed)) {}

void UseConfirmation::begin() {
    for (auto& [use, entry] : entries_) {
        entry.isThere = false;
    }
}

bool UseConfirmation::counts(const Use& use, bool atOnce) {
    const auto [found, isNew] = entries_.try_emplace(use);
    auto& entry = found->second;
    entry.isThere = true;
    if (isNew && (atOnce || duration_ <= 0)) {
        entry.isConfirmed = true;
    } else if (isNew) {
        const auto first = std::min(duration_, longestFalseStart);
        entry.timer = scheduler_.after(first, [this, use, left = duration_ - first] {
            auto& lasting = entries_.at(use);
            lasting.isNoFalseStart = true;
            lasting.timer = scheduler_.after(left, [this, use] {
                entries_.at(use).isConfirmed = true;
                confirmed_();
            });
        });
    }
    return entry.isConfirmed;
}

std::vector<UseConfirmation::Use> UseConfirmation::end() {
    std::vector<Use> cutShort;
    for (const auto& [use, entry] : entries_) {
        if (!entry.isThere && !entry.isConfirmed && entry.isNoFalseStart) {
            cutShort.push_back(use);
        }
    }
    std::erase_if(entries_, [](const auto& each) { return !each.second.isThere; });
    return cutShort;
}

} // namespace velmoran
