// What people are told a program of the tests is called, which depends on whose the folder is in
// that it was built.
#pragma once

#include "system/linux/apps/LinuxAppNames.h"

#include <filesystem>
#include <string>

namespace velmoran::support {

inline std::string shownName(const std::filesystem::path& program) {
    return LinuxAppNames(LinuxPlaces::ofThisUser())
        .ofBundleID(std::filesystem::canonical(program))
        .name;
}

} // namespace velmoran::support
