// Where a program on Linux comes from, which answers what a signature answers elsewhere: is this
// the same maker as when it was trusted? Owned by the machine; any thread.
#pragma once

#include "system/Machine.h"
#include "system/linux/apps/LinuxPlaces.h"

namespace velmoran {

class LinuxCodeSignatures final : public CodeSignatures {
public:
    explicit LinuxCodeSignatures(LinuxPlaces places) : places_(std::move(places)) {}

    /// "system" for what root alone could have put there, "flatpak:INSTALLATION" and "snap" for
    /// such things of theirs, nothing for what the user's own programs could have replaced.
    std::optional<std::string> teamID(const std::string& path) override;
    /// From the table of the system's own programs, for a file of "system" whose path is its real
    /// one. Checked once a path and process, under one lock.
    std::optional<std::string> systemIdentifier(const std::string& path) override;

    /// How many paths were checked for `systemIdentifier`, by all objects of the process.
    static std::size_t checks();

private:
    std::optional<std::string> findSystemIdentifier(const std::string& path);

    const LinuxPlaces places_;
};

} // namespace velmoran
