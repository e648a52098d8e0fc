// The world that a recording is played in: a scripted machine, settings and a history, which stay
// when the program in it ends and starts again. Time is not part of it: a replay brings a virtual
// clock, the demo a real one. Owned by whoever plays the recording; one thread.
#pragma once

#include "app/model/AppModel.h"
#include "app/model/MemorySettings.h"
#include "app/replay/ReplayAction.h"
#include "app/telling/ModelRecorder.h"
#include "core/history/HistoryStore.h"
#include "system/scripted/ScriptedMachine.h"

#include <functional>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>

namespace velmoran {

/// The recording can't go on, though its lines can be read.
class ReplayStop : public std::runtime_error {
public:
    ReplayStop(int status, const std::string& what) : std::runtime_error(what), status_(status) {}
    int status() const { return status_; } ///< the exit status that the format gives it

    static constexpr int wrong = 2;  ///< the line asks for what can't be
    static constexpr int absent = 3; ///< no such card or button

private:
    int status_;
};

class ReplayStage {
public:
    /// Sets the process-wide words: those of a platform, in the language that the settings choose.
    using Wording = std::function<void(KeyValueStore& settings, Platform platform)>;

    /// `wording` is called before anything is stored, since the history keeps a name that is a
    /// word, and again each time that the machine becomes one of another platform. Without it the
    /// words stay as they are.
    explicit ReplayStage(const ReplayBeginning& beginning, Wording wording = {});

    ScriptedMachine machine;
    MemorySettings settings;

    /// What a model on this stage stands on. Its windows are known by what the recorder is told of
    /// them; whoever has a desktop puts its own there.
    ModelSurroundings surroundings(const Clock& clock, Scheduler& scheduler);
    /// From now on this writes also what the machine does, and what the recording answers for the
    /// person who is asked about browsers; null ends it.
    void recordTo(ModelRecorder* recorder);

    /// Lets the machine refuse the stop shortcut to a model, now and whenever the user chooses it,
    /// until the handle goes. For a player without a desktop that would try the real keys.
    [[nodiscard]] Subscription refuseShortcut(AppModel& model);

    /// Does what an action does to a running model, or to the machine. What the model puts off
    /// until the present work is done is left to its scheduler. Throws ReplayStop. Beginnings and
    /// ends of the process, and what is to be shown, are the player's business.
    void perform(const replay::Doing& doing, AppModel& model);
    /// What the machine answers from now on, with or without a model on this stage.
    void changeMachine(const replay::ChangeMachine& change);

private:
    /// Open until the program closes them or ends: there is nobody else to do it.
    class PaperWindows final : public Windows {
    public:
        void show(std::string_view id) override;
        void showAwayReport(const AwayReport& report) override;
        void close(std::string_view id) override;

        ModelRecorder* recorder = nullptr;
        std::set<std::string, std::less<>> open;
    };

    Wording wording_;
    std::shared_ptr<HistoryStore> history_; ///< none if it can't be opened
    PaperWindows windows_;
    ModelRecorder* recorder_ = nullptr;
};

} // namespace velmoran
