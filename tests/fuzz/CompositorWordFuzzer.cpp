// Whatever bytes a compositor answers: no crash, an end, and no name that wasn't in them.
#include "app/shell/CompositorWord.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string all(reinterpret_cast<const char*>(data), size);
    velmoran::CompositorWord word;
    std::string bytes = all;
    velmoran::hearCompositor(bytes, word);
    if (bytes.size() > all.size()) {
        std::abort();
    }
    for (const auto& name : word.protocols) {
        if (all.find(name) == std::string::npos) {
            std::abort();
        }
    }
    // However it comes in pieces.
    velmoran::CompositorWord slow;
    std::string heard;
    for (const char byte : all) {
        heard += byte;
        if (!velmoran::hearCompositor(heard, slow)) {
            break;
        }
    }
    if (slow.protocols != word.protocols) {
        std::abort();
    }
    return 0;
}
