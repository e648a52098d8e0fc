// Whatever bytes stand in a status file or name a node: no crash, and what is closed has no owner.
#include "system/linux/nodes/AlsaStatus.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto status = velmoran::parseAlsaStatus(text);
    if (status.ownerPid < 0 || (!status.isOpen && (status.isRunning || status.ownerPid != 0))) {
        std::abort();
    }
    const auto node = velmoran::parseAlsaNode(text);
    if (node.card >= 0 && (node.device < 0 || !text.starts_with("pcmC"))) {
        std::abort();
    }
    return 0;
}
