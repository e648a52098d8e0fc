// Which room of the source tree may see which: a check of single lines, and a walk over the tree.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmoran {

/// What is wrong with that line in the file at `path` (relative to the top of the tree, with "/");
/// nothing if it includes nothing or what the file's room may see. Files outside of core and system
/// may include anything.
std::optional<std::string> includeComplaint(std::string_view path, std::string_view line);

struct IncludeWalk {
    std::vector<std::string> complaints; ///< "path:line: what is wrong"
    std::vector<std::string> files;      ///< the source files that were read, sorted
};

/// All C++ and Objective-C files of core and system under `top`.
IncludeWalk walkIncludes(const std::filesystem::path& top);

} // namespace velmoran
