// A file's bytes; empty if it can't be read.
#pragma once

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace velmoran::testing {

inline std::string contentsOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

} // namespace velmoran::testing
