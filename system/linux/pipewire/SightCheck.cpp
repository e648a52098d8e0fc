#include "system/linux/pipewire/SightCheck.h"

#include <utility>

namespace velmoran {

namespace {

/// The server itself, which is there for as long as any connection.
constexpr std::uint32_t serverObjectID = 0;

} // namespace

bool SightCheck::appeared(std::uint32_t id, GraphSerial serial) {
    const auto removal = removals_.extract(id);
    // A serial is never used twice: it was there all the time.
    isTaken_ = isTaken_ || (removal && removal.mapped().serial == serial);
    shown_[id] = serial;
    return !removal.empty();
}

void SightCheck::removed(std::uint32_t id) {
    if (id == serverObjectID || id == ownClient_) {
        isTaken_ = true;
    }
    if (const auto object = shown_.extract(id)) {
        removals_[id] = {.serial = object.mapped()};
    }
}

bool SightCheck::beginQuestion() {
    if (isAsking_ || (removals_.empty() && !isInDoubt_)) {
        return false;
    }
    for (auto& [id, removal] : removals_) {
        removal.isAskedAbout = true;
    }
    isInDoubt_ = false;
    isAsking_ = true;
    return true;
}

std::vector<std::uint32_t> SightCheck::answered(bool mayAllBeSeen) {
    isAsking_ = false;
    isTaken_ = isTaken_ || !mayAllBeSeen;
    std::vector<std::uint32_t> gone;
    if (!isTaken_) {
        std::erase_if(removals_, [&](const auto& each) {
            if (each.second.isAskedAbout) {
                gone.push_back(each.first);
            }
            return each.second.isAskedAbout;
        });
    }
    return gone;
}

} // namespace velmoran
