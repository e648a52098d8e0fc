// Watches in a terminal, until told to end: this computer, or a recording that is played to it.
#pragma once

#include <optional>
#include <string>

namespace velmoran {

struct WatchOptions {
    bool json = false;        ///< JSON Lines instead of sentences
    bool demo = false;        ///< a recording instead of this computer; keeps no history
    std::string deviceFolder; ///< where device nodes stand; empty: /dev
    std::string velmoran;     ///< a program that counts as Velmoran, too; for tests
    std::string demoFile;     ///< empty: the one that the program brings along
};

/// Gives the exit status: 0 when a signal, the end of the recording or the going of the reader
/// ended it, 1 if this computer can't be watched at all or the output can't be written, 2 if the
/// recording can't be read.
int runWatch(const WatchOptions& options, int& argc, char** argv);

} // namespace velmoran
