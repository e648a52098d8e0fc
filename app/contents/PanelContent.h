// What the panel says: what is on, how to stop it, what was on, and what is wrong. A plain value,
// in the language of the process-wide words; made anew with each tick. Main thread, as the model
// that it is read from.
#pragma once

#include "app/contents/RecentLine.h"
#include "app/contents/SpeakerContent.h"
#include "app/contents/StatusContent.h"
#include "app/model/AppModel.h"

#include <string>
#include <vector>

namespace velmoran {

struct PanelContent {
    StatusContent camera;
    StatusContent microphone;
    SpeakerContent speaker;
    bool canStop = true; ///< no stop is under way
    std::vector<RecentLine> recent = {};
    /// A sentence each: that the history isn't saved, what isn't watched, who took the view away.
    std::vector<std::string> warnings;

    /// `recent` are the model's `recentRows`, which change far less often than the time.
    static PanelContent of(const AppModel& model, const std::vector<ActivityRow>& recent,
                           Timestamp now);

    static std::string title();
    static std::string stop();
    static std::string stopNote();
    static std::string history();
    static std::string settings();
    static std::string quit();

    bool operator==(const PanelContent&) const = default;
};

/// All of the panel's text from top to bottom, each line by itself harmless to a terminal.
std::vector<std::string> panelLines(const AppModel& model, Timestamp now);

} // namespace velmoran
