#include "system/GapWatch.h"

#include <utility>

namespace velmoran {

GapWatch::GapWatch(Seconds interval, Seams seams) : interval_(interval), seams_(std::move(seams)) {}

void GapWatch::noteLook() {
    const auto now = seams_.now();
    // The time of day may have been set meanwhile, the boot clock goes on.
    const auto before = looked_ ? std::optional(now.time - (now.boot - *looked_)) : seams_.before;
    if (before && now.time - *before > interval_ + tolerance) {
        last_ = WatchGap{.from = *before, .to = now.time};
    }
    if (!looked_ || now.boot - kept_ >= keepInterval) {
        kept_ = now.boot;
        seams_.keep();
    }
    looked_ = now.boot;
}

} // namespace velmoran
