// What a line of a recording says. Plain values, made by the reader; any thread.
#pragma once

#include "core/away/AwaySignal.h"
#include "core/base/Json.h"
#include "core/base/Timestamp.h"
#include "core/records/Device.h"
#include "core/records/SystemSnapshot.h"
#include "core/records/UsageSession.h"
#include "core/trust/TrustList.h"
#include "system/scripted/MachineScript.h"

#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace velmoran {

/// The state of the world at replay time 0.
struct ReplayBeginning {
    Timestamp time = {794136600.0};    ///< the wall clock
    std::string timeZone = "UTC";      ///< an Olson name
    std::string locale = "en_US";      ///< the language of the words, too
    Json settings = Json::object();    ///< checked values by the names of the settings' fields
    std::optional<TrustList> trust;    ///< stored before the start
    std::vector<UsageSession> history; ///< in the store before the start
    std::vector<Json> reports;         ///< checked; in the store before the start, as they are
    bool historyFails = false;         ///< the history file can't be opened
    MachineScript machine;
};

namespace replay {

struct Launch {};
/// The end of the process, as a quit or as a kill.
struct Leave {
    bool crash = false;
};
struct Snapshot {
    SystemSnapshot reading;
};
struct Setting {
    std::string name;
    Json value; ///< of the field's type
};
struct ChangeMachine {
    Json keys; ///< known keys with values of their types
};
struct Press {
    std::string notice; ///< the card's title
    std::string button; ///< its title, or "Close"
};
/// The user's decision about an app.
struct Decide {
    bool alwaysWarn = false; ///< else trust
    std::string app;         ///< id
    std::vector<Device> devices;
    bool value = false;
};
struct StopEverything {};
/// As the "Stop" of the details of a session.
struct Stop {
    std::string app; ///< id
};
struct UnmuteMicrophone {};
struct DeleteHistory {};
struct Show {
    std::string word;
    Json argument; ///< checked; null for a word that has none
};
struct Wait {};
/// As the screen's lock tells it.
struct Lock {
    bool locked = true; ///< else unlocked
};
/// As the sensors of an away watch tell it.
struct Signal {
    AwaySignal signal;
};

using Doing =
    std::variant<Launch, Leave, Snapshot, Setting, ChangeMachine, Press, Decide, StopEverything,
                 Stop, UnmuteMicrophone, DeleteHistory, Show, Wait, Lock, Signal>;

} // namespace replay

struct ReplayAction {
    Seconds at = 0; ///< since the beginning
    replay::Doing doing;
};

} // namespace velmoran
