#include "system/linux/pulse/SourceWishes.h"

#include <algorithm>

namespace velmoran {

using std::chrono::steady_clock;

void SourceWishes::set(std::uint32_t source, bool muted, std::chrono::milliseconds span) {
    wishes_[source] = {.muted = muted, .end = steady_clock::now() + span, .repeats = 0};
}

void SourceWishes::taken(std::uint32_t source, bool muted) {
    const auto wish = wishes_.find(source);
    if (wish != wishes_.end() && wish->second.muted == muted) {
        wish->second.end = std::max(wish->second.end, steady_clock::now() + insistence);
    }
}

std::optional<bool> SourceWishes::wanted(std::uint32_t source) const {
    const auto wish = wishes_.find(source);
    return wish != wishes_.end() && steady_clock::now() <= wish->second.end
               ? std::optional(wish->second.muted)
               : std::nullopt;
}

bool SourceWishes::mayRepeat(std::uint32_t source) {
    const auto wish = wishes_.find(source);
    if (wish == wishes_.end()) {
        return false;
    }
    if (wish->second.repeats == mostRepeats || steady_clock::now() > wish->second.end) {
        wishes_.erase(wish);
        return false;
    }
    ++wish->second.repeats;
    return true;
}

} // namespace velmoran
