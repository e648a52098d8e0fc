#include "core/text/Localizer.h"

namespace velmoran {

struct Localizer::Facts {};

Localizer::Localizer() = default;
Localizer::~Localizer() = default;

std::string Localizer::text(std::string_view key, const std::vector<std::string>&) const {
    return std::string(key);
}

const Localizer& words() {
    static const Localizer english;
    return english;
}

} // namespace velmoran
