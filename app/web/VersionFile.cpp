#include "app/web/VersionFile.h"

#include "core/base/Json.h"

namespace velmoran {

std::optional<std::string> newestVersion(std::string_view file) {
    // What stands deeper isn't kept: it may be so deep that taking it apart again overflows the
    // stack.
    const auto shallow = [](int depth, Json::parse_event_t, Json&) {
        return depth <= 1;
    };
    const auto json = Json::parse(file, shallow, false);
    if (!json.is_object()) {
        return std::nullopt;
    }
    const auto found = json.find("version");
    return found != json.end() && found->is_string() ? std::optional(found->get<std::string>())
                                                     : std::nullopt;
}

} // namespace velmoran
