#include "core/base/Wildcard.h"

namespace velmoran {

bool matchesWildcard(std::string_view pattern, std::string_view text) {
    const auto star = pattern.find('*');
    if (star == std::string_view::npos) {
        return pattern == text;
    }
    const auto head = pattern.substr(0, star);
    const auto tail = pattern.substr(star + 1);
    return text.size() > head.size() + tail.size() && text.starts_with(head) &&
           text.ends_with(tail) &&
           text.substr(head.size(), text.size() - head.size() - tail.size()).find('/') ==
               std::string_view::npos;
}

} // namespace velmoran
