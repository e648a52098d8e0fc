#include "core/warnings/ListeningWording.h"

#include "core/text/Localizer.h"

namespace velmoran::ListeningWording {

std::string onlySystem(const std::vector<std::string>& names) {
    return words().text("Only macOS itself is listening: %@", {words().list(names)});
}

} // namespace velmoran::ListeningWording
