// In place of the layers where the libraries for them weren't there when the program was built.
#include "app/shell/layers/LayeredOverlays.h"

namespace velmoran {

std::unique_ptr<Overlays> layeredOverlays() {
    return nullptr;
}

bool isBuiltWithLayers() {
    return false;
}

} // namespace velmoran
