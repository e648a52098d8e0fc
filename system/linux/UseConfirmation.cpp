#include "system/linux/UseConfirmation.h"

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
        entry.timer = scheduler_.after(duration_, [this, use] {
            entries_.at(use).isConfirmed = true;
            confirmed_();
        });
    }
    return entry.isConfirmed;
}

void UseConfirmation::end() {
    std::erase_if(entries_, [](const auto& each) { return !each.second.isThere; });
}

} // namespace velmoran
