// Overlays by the compositor's layer-shell, on Qt's Wayland: painting, scale and input stay Qt's,
// only what a window is to the compositor is ours. The compositor knows which part of a screen bars
// take and tells nobody where it is, so a place is counted from the corner of what they leave. One
// per program; main thread.
#pragma once

#include "app/shell/surface/Overlays.h"

#include <memory>

namespace velmoran {

/// To be used after Qt was prepared for it, which leaves windows without a role then. Null where
/// the compositor has no layer-shell, or this program was built without.
std::unique_ptr<Overlays> layeredOverlays();
bool isBuiltWithLayers();

} // namespace velmoran
