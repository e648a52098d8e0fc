// What the panel says of the camera or the microphone right now. A plain value, in the language of
// the process-wide words; made anew with each tick. Any thread.
#pragma once

#include "core/records/UsageSession.h"

#include <string>
#include <vector>

namespace velmoran {

struct StatusContent {
    /// An app that is using the device.
    struct Use {
        Uuid session;
        AppIdentity app;
        std::string duration;

        /// "Zoom · 12 s".
        std::string text() const;

        bool operator==(const Use&) const = default;
    };

    struct Input {
        Device device = Device::camera;
        std::vector<UsageSession> sessions = {}; ///< open ones, the earliest start first
        bool mutedByVelmoran = false;
        bool isWatched = true;
        /// The device is on, but only these have it, for the system's own listening, which the user
        /// doesn't want to be told of.
        std::vector<AppIdentity> onlyListeners = {};
    };

    std::string title;
    std::string symbol;
    bool isInUse = false;
    bool mutedByVelmoran = false; ///< there is an "Unmute" in place of the state
    std::string note;             ///< under the title, in small type; may be empty
    std::vector<Use> uses = {};
    std::string state = {}; ///< "In use"; empty while muted

    static StatusContent of(const Input& input, Timestamp now);
    /// The button that ends the mute, and what it is called in full.
    static std::string unmute();
    static std::string unmuteHelp();
    /// Of a line with a use.
    static std::string detailsHelp();

    bool operator==(const StatusContent&) const = default;
};

} // namespace velmoran
