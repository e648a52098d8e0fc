// The user's own systemd as who runs the program: where the program was installed as a package, a
// unit of it stands beside it, by which it is started again after a crash. What the desktop starts
// at login hands itself over to that unit. Asked of the manager itself, by the socket in the
// runtime folder by which systemctl asks it, so that no session bus is needed. Called by `main`
// before anything is shown; any thread.
#pragma once

#include "core/base/Timestamp.h"

#include <string>
#include <utility>
#include <vector>

namespace velmoran {

class UserUnit {
public:
    /// Of the program at that absolute path, for the manager whose socket stands below that folder.
    /// The patience is for all that is asked together.
    UserUnit(std::string program, std::string runtimeFolder, Seconds patience = 5.0)
        : program_(std::move(program)),
          runtimeFolder_(std::move(runtimeFolder)),
          patience_(patience) {}

    /// True if the manager now runs the program by its unit, with that environment ("NAME=value").
    /// False where there is no manager, where the unit isn't there, is masked or belongs to another
    /// installation, where it fails, and where nobody answers in time.
    bool start(const std::vector<std::string>& environment) const;

    static constexpr const char* name = "velmoran.service";
    /// In the runtime folder; the unit reads its environment there.
    static constexpr const char* environmentFile = "velmoran-login-environment";

private:
    std::string program_;
    std::string runtimeFolder_;
    Seconds patience_;
};

/// As a unit's EnvironmentFile has it (systemd.exec(5)), without what systemd gives to each process
/// anew and what it would refuse.
std::string unitEnvironment(const std::vector<std::string>& environment);

/// Of the unit that an installation puts beside that program; empty for a program that isn't
/// installed.
std::string unitFileOf(const std::string& program);

} // namespace velmoran
