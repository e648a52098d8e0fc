#include "system/linux/apps/OutsidePath.h"

#include <string_view>

namespace velmoran {

namespace {

/// What of a path lies below a folder, with its slash; empty for the folder itself, nothing for a
/// path elsewhere.
std::optional<std::string_view> below(std::string_view path, std::string_view folder) {
    if (folder == "/") {
        return path;
    }
    if (path == folder) {
        return std::string_view();
    }
    return isBelow(path, folder) ? std::optional(path.substr(folder.size())) : std::nullopt;
}

std::string joined(std::string_view folder, std::string_view rest) {
    return std::string(folder == "/" && !rest.empty() ? "" : folder) + std::string(rest);
}

} // namespace

std::optional<std::string> outsidePath(const ProcFs& proc, pid_t pid, const std::string& inside,
                                       const std::string& link) {
    const auto number = fileNumber(link);
    if (!number || inside.find("/../") != std::string::npos) {
        return std::nullopt;
    }
    const auto ours = proc.mounts();
    const auto its = proc.mounts(pid);
    // The last first, since it hides what lies below. Whichever it is: what counts is that the
    // file found is the same one.
    for (auto mount = its.rbegin(); mount != its.rend(); ++mount) {
        const auto rest = below(inside, mount->folder);
        if (!rest) {
            continue;
        }
        const auto inFileSystem = joined(mount->root, *rest);
        for (const auto& our : ours) {
            const auto ourRest =
                our.device == mount->device ? below(inFileSystem, our.root) : std::nullopt;
            if (!ourRest) {
                continue;
            }
            auto path = joined(our.folder, *ourRest);
            if (fileNumber(path) == number) {
                return path;
            }
        }
    }
    return std::nullopt;
}

} // namespace velmoran
