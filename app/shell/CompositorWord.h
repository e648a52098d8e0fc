// What a Wayland compositor says of itself, asked by a few bytes of its protocol before any library
// is. A plain function.
#pragma once

#include <set>
#include <string>

namespace velmoran {

struct CompositorWord {
    bool answers = false;            ///< somebody serves that socket
    std::set<std::string> protocols; ///< by the names of their interfaces

    bool operator==(const CompositorWord&) const = default;
};

/// Takes whole messages off the front of what a compositor answers. False when the answer is
/// complete, or makes no sense.
bool hearCompositor(std::string& bytes, CompositorWord& word);

/// Waits so long at most, all in all.
CompositorWord askCompositor(const std::string& socket, int milliseconds);

} // namespace velmoran
