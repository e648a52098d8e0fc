#include "app/web/VersionFile.h"

#include "core/base/Json.h"

namespace velmoran {

std::optional<std::string> newestVersion(std::string_view file) {
    const auto json = Json::parse(file, nullptr, false);
    if (!json.is_object()) {
        return std::nullopt;
    }
    const auto found = json.find("version");
    return found != json.end() && found->is_string() ? std::optional(found->get<std::string>())
                                                     : std::nullopt;
}

} // namespace velmoran
