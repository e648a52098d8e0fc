// Whatever stands in a script: no crash, a bounded answer, and only absolute paths in it.
#include "system/linux/apps/WrapperScript.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    std::size_t all = 0;
    for (const auto& path : velmoran::pathsInWrapper(text)) {
        all += path.size();
        if (path.size() < 2 || path.front() != '/' || path.ends_with('/')) {
            std::abort();
        }
    }
    if (all > 4 * velmoran::longestWrapper) {
        std::abort();
    }
    return 0;
}
