// A process of the operating system that uses microphone or speaker for reasons of its own or on
// behalf of an app, so that naming it as the culprit would be wrong. Constant values; any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmoran {

struct SystemProcess {
    enum class Role {
        playsSounds,
        listensForSystem,  ///< listens for the system itself, on any platform
        worksForOtherApps, ///< records or plays on behalf of an app
    };

    std::string signingID; ///< identifier of the code, which only the system's own code can have
    Role role = Role::playsSounds;
    std::string explanation; ///< shown to people

    /// The six of macOS, by their code-signing identifiers. Made on first use, in the language that
    /// the process-wide words have then.
    static const std::vector<SystemProcess>& macOS();
    /// Those of the Linux desktops, by identifiers of our own that begin with "linux.". Likewise.
    static const std::vector<SystemProcess>& onLinux();
    /// The first row with that identifier, macOS first; nothing for any other process, which is
    /// treated like any app.
    static std::optional<SystemProcess> known(std::string_view signingID);
    /// The same in one of the two tables.
    static std::optional<SystemProcess> known(std::string_view signingID,
                                              const std::vector<SystemProcess>& table);

    bool operator==(const SystemProcess&) const = default;
};

} // namespace velmoran
