// Whatever bytes stand in the table of mounts or in a device's own words: no crash, and a name is a
// line of text that people see something of.
#include "core/text/VisibleText.h"
#include "system/linux/away/DeviceName.h"
#include "system/linux/kernel/MountEntries.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    for (const auto& entry : velmoran::readMountTable(text)) {
        if (entry.folder.empty() && text.find("  ") == std::string_view::npos) {
            std::abort();
        }
    }
    const auto half = size / 2;
    const auto name =
        velmoran::deviceName({.maker = velmoran::unescaped(text.substr(0, half)),
                              .model = std::string(text.substr(half)),
                              .makerInDatabase = std::string(text.substr(0, half / 2)),
                              .modelInDatabase = {}});
    if (name && (!velmoran::showsAnything(*name) || name->size() > std::size_t{4} * 80 ||
                 name->find('\n') != std::string::npos || name->find('\x1b') != std::string::npos ||
                 name->starts_with(' ') || name->ends_with(' '))) {
        std::abort();
    }
    return 0;
}
