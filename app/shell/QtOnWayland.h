// What Qt's Wayland is told by its own variables. Main thread.
#pragma once

#include <functional>

namespace velmoran {

/// Lets Qt draw into plain memory: nothing here is drawn by a graphics library, and to load one
/// takes more memory than all the rest. And lets it leave windows that bypass the window manager
/// without a role, which the layers need. Before the application.
void prepareQtForWayland();

/// Has Qt read it now, and takes it out of the environment again, for what is started from here.
/// After the application.
void settleQtOnWayland();

/// Without what Qt asks for anew with each window: another program that is started there by Qt
/// would have windows without a role.
void withoutQtsWishes(const std::function<void()>& start);

} // namespace velmoran
