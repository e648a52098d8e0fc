// What velmoranctl asks of the Velmoran that is running, over the session bus.
#pragma once

#include <string>

namespace velmoran {

namespace AskEnd {
inline constexpr int done = 0;
inline constexpr int notRunning = 1;    ///< or no bus to ask over
inline constexpr int wrongRequest = 2;  ///< no such app is in use, or which one isn't clear
inline constexpr int notEverything = 3; ///< something couldn't be stopped, or wasn't
} // namespace AskEnd

// Each gives the exit status, and returns when what was asked for has ended.

/// Everything if `app` is empty.
int askToStop(const std::string& app, int& argc, char** argv);
int askToUnmute(int& argc, char** argv);
int askForStatus(bool json, int& argc, char** argv);

} // namespace velmoran
