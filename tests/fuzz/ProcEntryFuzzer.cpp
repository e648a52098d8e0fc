// Whatever bytes stand under /proc: no reader of an entry may crash, and what one accepts has the
// form that it promises.
#include "system/linux/apps/CgroupScope.h"
#include "system/linux/kernel/ProcEntries.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace velmoran;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    if (const auto entry = parseProcStat(text); entry && (entry->pid <= 0 || entry->parent < 0)) {
        std::abort();
    }
    std::size_t bytes = 0;
    for (const auto& argument : parseCommandLine(text)) {
        bytes += argument.size() + 1;
    }
    if (bytes > size + 1) {
        std::abort();
    }
    for (const auto& path : parseCgroupPaths(text)) {
        if (path.empty() || path.front() != '/') {
            std::abort();
        }
    }
    parseStatusUid(text);
    parseDescriptorFlags(text);
    parseFuseConnection(text);
    if (const auto scope = parseCgroupScope(text); scope && scope->id.empty()) {
        std::abort();
    }
    return 0;
}
