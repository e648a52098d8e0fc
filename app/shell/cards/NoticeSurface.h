// How a person gets to see the notices: as cards of our own, or as the desktop's notifications.
// Shows what the notice center has, from when it is made, and keeps itself by it. One at a time;
// main thread.
#pragma once

#include <functional>

namespace velmoran {

class NoticeSurface {
public:
    NoticeSurface() = default;
    virtual ~NoticeSurface() = default;
    NoticeSurface(const NoticeSurface&) = delete;
    NoticeSurface& operator=(const NoticeSurface&) = delete;

    /// In the colours, and on the screens, of now.
    virtual void redraw() = 0;

    /// It can show nothing any more: somebody else has to.
    std::function<void()> onLost = [] {
    };
};

} // namespace velmoran
