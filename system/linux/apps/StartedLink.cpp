#include "system/linux/apps/StartedLink.h"

#include "core/text/VisibleText.h"
#include "system/linux/kernel/Files.h"

#include <algorithm>

namespace velmoran {

std::optional<std::string> startedLink(const std::string& word, const std::string& file,
                                       const LinuxPlaces& places) {
    const std::string name(fileName(word));
    if (name == fileName(file) || name == "." || name == ".." || !showsAnything(name)) {
        return std::nullopt;
    }
    const auto leadsThere = [&](const std::string& path) {
        return places.protection.realPath(path) == file;
    };
    const bool isRoots =
        word == name
            ? std::any_of(places.systemPath.begin(), places.systemPath.end(),
                          [&](const auto& folder) { return leadsThere(folder + '/' + name); })
            : word.front() == '/' && leadsThere(word);
    return isRoots ? std::optional(name) : std::nullopt;
}

} // namespace velmoran
