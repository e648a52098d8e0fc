// What screen readers are told of the controls that Qt has no words for. Main thread.
#pragma once

namespace velmoran {

/// Called by each control of this room as it is made: from the first one on Qt asks here what they
/// are. Lines of text are static text; a symbol with a name is a graphic; what has none, pictures
/// of apps and hairlines are invisible to a reader; sections, segments and empty states are groups.
void makeAccessible();

} // namespace velmoran
