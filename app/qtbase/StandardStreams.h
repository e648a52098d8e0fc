// What a process is started with as its input, output and place for errors.
#pragma once

namespace velmoran {

/// Takes the descriptors 0, 1 and 2 that the process was started without, as the first thing that
/// it does. The next file or socket would get them otherwise, and be read or written as if it were
/// the standard stream. Reading and writing go on to fail.
void fillStandardStreams();

} // namespace velmoran
