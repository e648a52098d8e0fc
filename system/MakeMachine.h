// The machine that this program runs on, as the build chose it.
#pragma once

#include "system/Machine.h"

#include <filesystem>
#include <memory>
#include <string>

namespace velmoran {

struct MachineOptions {
    /// Plays the warning sound. Absent: the program is silent.
    std::unique_ptr<Sounds> sounds;
    /// Where device nodes stand; another folder lets a stand-in be a camera.
    std::filesystem::path deviceFolder = "/dev";
};

/// Starts reading at once, on a thread of its own; nothing is reported before the snapshots are
/// started. Throws an exception derived from std::runtime_error if the system can't give it what it
/// needs to run at all; a sound server isn't among that.
std::unique_ptr<Machine> makeMachine(MachineOptions options = {});

/// What that machine's platform is, known before it is made: words are needed first.
Platform thisPlatform();

} // namespace velmoran
