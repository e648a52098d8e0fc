// What Qt's Wayland is told before it is there, by its own variables. Used by `main` alone.
#pragma once

namespace velmoran {

/// Lets Qt draw into plain memory: nothing here is drawn by a graphics library, and to load one
/// takes more memory than all the rest. And lets it leave windows that bypass the window manager
/// without a role, which the layers need. Before the application.
void prepareQtForWayland();

/// Has Qt read it now, and takes it out of the environment again, for what is started from here.
/// After the application.
void settleQtOnWayland();

} // namespace velmoran
