// The program's texts in the languages and for the platforms that it comes in. The catalogues are
// the .json files beside this one, built into the program. Pure; any thread.
#pragma once

#include "core/text/Localizer.h"
#include "system/Machine.h"

#include <string_view>
#include <vector>

namespace velmoran {

/// What the words are made of for that locale ("de_DE.UTF-8", "de-AT", "de") on that platform, a
/// later catalogue over the earlier ones. A language that there is no catalogue for gets English,
/// which on the Mac is what stands in the code, so that nothing has to be laid over it.
std::vector<Catalogue> catalogues(std::string_view locale, Platform platform);

} // namespace velmoran
