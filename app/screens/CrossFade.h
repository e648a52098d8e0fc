// Lets what a widget showed fade away over what it shows next. Main thread.
#pragma once

#include <QWidget>

namespace velmoran {

/// Called before the change, for a widget that stands in another. Nothing fades where less motion
/// is wanted or the widget isn't seen.
void fadeOut(QWidget* over, int milliseconds);

} // namespace velmoran
