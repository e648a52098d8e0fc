// Listens to one model, from before its start to its end, and writes a line for each thing that it
// tells. Owned by whoever owns the model, and gone before it; main thread.
#pragma once

#include "app/model/AppModel.h"
#include "app/telling/ReplayWriter.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmoran {

class ModelRecorder {
public:
    /// `at` says the time that a line gets. Writes the state of the status icon, once. All three
    /// outlive this.
    ModelRecorder(AppModel& model, std::function<Seconds()> at, ReplayWriter& writer);

    /// The warning sound was played: the machine tells that, not the model.
    void soundPlayed();
    /// Likewise: an output was to be muted or unmuted.
    void outputMuted(std::uint32_t device, bool muted, bool done);
    /// Likewise: somebody was asked about browsers.
    void asked(const BrowserQuestion& question, BrowserAnswer answer);
    /// Likewise: the model has opened a window, or closed it.
    void windowOpened(std::string_view id, const std::string& title);
    void windowClosed(std::string_view id, const std::string& title);
    /// Another program has had a setting changed, or trust taken back.
    void settingChanged(const std::string& name, const std::string& value);
    void distrusted(const std::string& app, const std::vector<Device>& devices);
    /// A line with what `stateOf` says of the model. False for a word that it doesn't know.
    bool show(const std::string& word, const Json& argument = nullptr);

private:
    void record(const SessionEvent& event);
    void record(const std::optional<HistoryProblem>& problem);
    void recordIcon();
    void forgetOldNames();

    AppModel& model_;
    std::function<Seconds()> at_;
    ReplayWriter& writer_;
    std::optional<StatusIconState> icon_;
    std::vector<Subscription> subscriptions_;
};

} // namespace velmoran
