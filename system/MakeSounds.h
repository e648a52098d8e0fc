// The warning sound of the machine that the program runs on.
#pragma once

#include "system/Machine.h"

#include <memory>

namespace velmoran {

/// As the desktop's own sound theme has it. Main thread; never null.
std::unique_ptr<Sounds> makeSounds();

} // namespace velmoran
