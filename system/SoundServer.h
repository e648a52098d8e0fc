// Whether there is a sound server to hear with, for a program that has to say so if there is none.
#pragma once

namespace velmoran {

/// True if one takes connections right now. Main thread; returns at once.
bool soundServerAnswers();

} // namespace velmoran
