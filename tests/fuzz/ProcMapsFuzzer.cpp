// Whatever bytes stand in a line of a process's memory map: no crash, and a path is a part of the
// line with no line break in it.
#include "system/linux/kernel/ProcMaps.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto mapping = velmoran::parseProcMapping(text);
    if (mapping && (mapping->path.find('\n') != std::string::npos ||
                    text.find(mapping->path) == std::string_view::npos)) {
        std::abort();
    }
    return 0;
}
