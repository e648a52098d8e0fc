// What a web server says of the newest version.
#include "app/web/VersionFile.h"
#include "core/base/AppVersion.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view file(reinterpret_cast<const char*>(data), size);
    const auto version = velmoran::newestVersion(file);
    // No version is newer than itself.
    if (version && velmoran::AppVersion::isNewer(*version, *version)) {
        std::abort();
    }
    return 0;
}
