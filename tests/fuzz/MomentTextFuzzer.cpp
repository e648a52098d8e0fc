// Any text as a moment: what is read has a place in time, and is read again as it was written.
#include "core/text/MomentText.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace velmoran;
    const Timestamp now{817054205.25};
    const auto moment =
        momentFrom(std::string_view(reinterpret_cast<const char*>(data), size), now);
    if (!moment) {
        return 0;
    }
    if (!std::isfinite(moment->seconds)) {
        std::abort();
    }
    const auto written = isoTime(*moment, Precision::milliseconds);
    const auto again = momentFrom(written, now);
    if (!written.empty() && (!again || std::abs(*again - *moment) > 0.002)) {
        std::abort();
    }
    return 0;
}
