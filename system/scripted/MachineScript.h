// What a scripted machine answers, as a recording writes it down. A plain value; any thread.
#pragma once

#include "core/base/Json.h"
#include "core/stopping/Browser.h"
#include "system/Machine.h"

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace velmoran {

struct MachineScript {
    struct Microphone {
        std::string name;
        bool hasMute = true;
        std::optional<double> volume; ///< absent without a volume control

        bool operator==(const Microphone&) const = default;
    };

    Platform platform = Platform::macOS;
    std::optional<std::string> ownBundleID;
    std::map<std::string, std::string> teamIDs;    ///< by path
    std::map<std::string, std::string> signingIDs; ///< of the system's own code, by path
    std::map<std::string, std::vector<Connection>> connections; ///< by path
    std::vector<Microphone> microphones = {{"Built-in Microphone", true, std::nullopt}};
    std::set<std::uint32_t> outputs; ///< connected now
    bool outputMuteFails = false;
    std::map<std::string, double> closeSeconds; ///< by app id; 0.1 for all others
    std::set<std::string> refusesToClose;       ///< app ids
    std::vector<std::string> browsers;          ///< bundle identifiers registered for web links
    BrowserAnswer browserAnswer = BrowserAnswer::cancel;
    bool shortcutRefused = false;

    /// Replaces what the keys of `json` say, all of a key at once; the others stay. Throws
    /// DecodingError for an unknown key or a wrong type and then changes nothing.
    void apply(const Json& json);

    bool operator==(const MachineScript&) const = default;
};

} // namespace velmoran
