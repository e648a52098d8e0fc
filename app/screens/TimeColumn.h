// The column of times of day at the left of a list. Main thread.
#pragma once

#include <QFont>

namespace velmoran {

/// So wide that every time of day fits, written in those digits; 48 points at least.
int timeColumnWidth(const QFont& digits);

} // namespace velmoran
