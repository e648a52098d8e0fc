// The lists of the settings in which stands who is trusted and who always warns, and the question
// before an app is distrusted. Values in the language of the process-wide words. Main thread, as
// the model that they are read from.
#pragma once

#include "app/model/AppModel.h"

#include <optional>
#include <string>
#include <vector>

namespace velmoran {

struct TrustEntry {
    AppIdentity app;
    std::vector<Device> devices;
    std::optional<SystemProcess> process; ///< which part of the system the app is

    /// "camera, microphone"
    std::string deviceWords() const;
    /// "Stop trusting …?"
    std::string question() const;
    /// What that means.
    std::string consequence() const;

    bool operator==(const TrustEntry&) const = default;
};

struct TrustEntries {
    std::vector<TrustEntry> apps;
    std::vector<TrustEntry> systemProcesses;

    /// `kind` is one of the two decisions: who has both stands in both lists.
    static TrustEntries of(const AppModel& model, TrustKind kind);

    static std::string heading(TrustKind kind);
    /// Where there are no apps.
    static std::string emptyNote(TrustKind kind);
    /// What the button of a row does, and its help for that app.
    static std::string action(TrustKind kind);
    static std::string actionHelp(TrustKind kind, const AppIdentity& app);
    /// The switch that shows the parts of the system, and the heading over them.
    std::string systemProcessesTitle() const;
    static std::string systemProcessesNote();
    static std::string systemProcessesHeading();

    bool operator==(const TrustEntries&) const = default;
};

} // namespace velmoran
