// What is on right now, as other programs are told it. Plain values; any thread.
#pragma once

#include "core/base/Fields.h"
#include "core/base/Timestamp.h"
#include "core/records/Device.h"
#include "core/records/HistoryProblem.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace velmoran {

class AppModel;

/// A time in which nothing was seen, in whole seconds since 1970-01-01 00:00:00 UTC.
struct StatusGap {
    std::int64_t from = 0;
    std::int64_t to = 0;

    bool operator==(const StatusGap&) const = default;
};

void visitFields(MaybeConst<StatusGap> auto& gap, auto visit) {
    visit("from", gap.from);
    visit("to", gap.to);
}

struct ProgramStatus {
    using Gap = StatusGap;

    static Timestamp timestampOf(std::int64_t unixTime) {
        return {static_cast<double>(unixTime) - secondsFromUnixEpoch};
    }

    struct App {
        std::string id;
        std::string name;
        std::optional<std::string> path;

        bool operator==(const App&) const = default;
    };

    struct Use {
        Device device = Device::camera;
        App app;
        std::int64_t since = 0;     ///< whole seconds since 1970-01-01 00:00:00 UTC
        bool seenFromStart = false; ///< otherwise the use is older than `since`

        Timestamp start() const { return timestampOf(since); }
        bool operator==(const Use&) const = default;
    };

    bool cameraOn = false;
    bool microphoneOn = false;
    bool microphoneMuted = false; ///< by Velmoran, until the user unmutes it
    bool stopping = false;        ///< a stop is under way
    std::vector<Use> uses;        ///< in the order in which they began to be seen
    std::optional<HistoryProblem> historyProblem = {}; ///< nothing while the history is saved
    /// When something has taken Velmoran's view of the sound system away, the last time: whole
    /// seconds, as above.
    std::optional<std::int64_t> sightTaken = {};
    /// Who makes the microphone be on, where that is the system's own listening alone, as for a
    /// level meter, and no use.
    std::vector<App> onlyListeners = {};
    std::vector<Device> unwatched = {};  ///< whose uses can't be seen now: not known to be off
    std::optional<Gap> notWatching = {}; ///< the last time in which nothing was seen, if known
    bool awayWatchOn = false;            ///< an away watch is running
    // Of an away watch that is wanted:
    bool awayWatchCantBegin = false;   ///< nothing has announced a lock, or says that it would
    bool awayWatchMissesInput = false; ///< it can't tell that keyboard and mouse are used

    bool operator==(const ProgramStatus&) const = default;
};

/// Main thread.
ProgramStatus statusOf(const AppModel& model);

void visitFields(MaybeConst<ProgramStatus::App> auto& app, auto visit) {
    visit("id", app.id);
    visit("name", app.name);
    visit("path", app.path);
}

void visitFields(MaybeConst<ProgramStatus::Use> auto& use, auto visit) {
    visit("device", use.device);
    visit("app", use.app);
    visit("since", use.since);
    visit("seenFromStart", use.seenFromStart);
}

void visitFields(MaybeConst<ProgramStatus> auto& status, auto visit) {
    visit("cameraOn", status.cameraOn);
    visit("microphoneOn", status.microphoneOn);
    visit("microphoneMuted", status.microphoneMuted);
    visit("stopping", status.stopping);
    visit("uses", status.uses);
    visit("historyProblem", status.historyProblem);
    visit("sightTaken", status.sightTaken);
    visit("onlyListeners", status.onlyListeners, OnlyIfAny());
    visit("unwatched", status.unwatched, OnlyIfAny());
    visit("notWatching", status.notWatching);
    visit("awayWatchOn", status.awayWatchOn, OnlyIfTrue());
    visit("awayWatchCantBegin", status.awayWatchCantBegin, OnlyIfTrue());
    visit("awayWatchMissesInput", status.awayWatchMissesInput, OnlyIfTrue());
}

} // namespace velmoran
