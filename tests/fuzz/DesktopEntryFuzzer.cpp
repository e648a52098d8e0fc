// Whatever stands in a file that calls itself a desktop entry, or in a sandbox's description: no
// reader may crash, and what one accepts has a name.
#include "system/linux/apps/DesktopEntry.h"
#include "system/linux/apps/FlatpakSandbox.h"
#include "system/linux/apps/ScriptArgument.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace velmoran;
    const std::string text(reinterpret_cast<const char*>(data), size);
    const auto check = [](const std::vector<std::string>& command) {
        if (!command.empty() && command.front().empty()) {
            std::abort();
        }
        for (const char* program : {"python3", "sh", "java", "node", "wine", "perl"}) {
            scriptArgument(program, command);
        }
    };
    check(parseExec(text));
    if (const auto entry = parseDesktopEntry(text)) {
        if (entry->name.empty() || entry->plainName.empty()) {
            std::abort();
        }
        check(entry->command);
    }
    if (const auto info = parseFlatpakInfo(text);
        info && (info->id.empty() || info->id.find('/') != std::string::npos)) {
        std::abort();
    }
    return 0;
}
