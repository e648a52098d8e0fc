// What velmoranctl asks of the Velmoran that is running, over the session bus.
#pragma once

#include <string>

namespace velmoran {

namespace AskEnd {
inline constexpr int done = 0;
inline constexpr int notRunning = 1;    ///< or it didn't answer, or there is no bus to ask over
inline constexpr int unreadable = 1;    ///< what is kept in a file can't be read or written
inline constexpr int wrongRequest = 2;  ///< no such app is in use, or which one isn't clear
inline constexpr int notEverything = 3; ///< something couldn't be stopped, or wasn't
inline constexpr int unsaid = 4;        ///< done, but the output couldn't be written
} // namespace AskEnd

struct AskOptions {
    int& argc;
    char** argv;
    std::string velmoran; ///< a program that counts as Velmoran, too; for tests
};

// Each gives the exit status, and returns when what was asked for has ended.

/// Everything if `app` is empty.
int askToStop(const std::string& app, const AskOptions& options);
int askToUnmute(const AskOptions& options);
int askForStatus(bool json, const AskOptions& options);

} // namespace velmoran
