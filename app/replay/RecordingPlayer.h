// Plays a recording in real time to a model that is really running: the demo, on the desktop or in
// a terminal. Owned by `main`; main thread.
#pragma once

#include "app/replay/ReplayReader.h"
#include "app/replay/ReplayStage.h"

#include <functional>
#include <istream>
#include <memory>
#include <optional>
#include <string>

namespace velmoran {

class RecordingPlayer {
public:
    /// Reads the beginning. Throws ReplayError if that can't be read.
    explicit RecordingPlayer(std::unique_ptr<std::istream> recording);

    /// What to make the stage from. Its time is not used: the clock is the real one.
    const ReplayBeginning& beginning() const { return beginning_; }

    /// Starts to play, now being the recording's time 0, to a model on that stage that has been
    /// started. `onEnd` is called once: with nothing at the end of the recording, or with what is
    /// wrong as "LINE: what". A quit or crash in the recording is its end; "launch" and "show" do
    /// nothing. All but the callback outlive this.
    void play(ReplayStage& stage, AppModel& model, const Clock& clock, Scheduler& scheduler,
              std::function<void(const std::optional<std::string>& error)> onEnd);

private:
    struct Playing {
        ReplayStage& stage;
        AppModel& model;
        const Clock& clock;
        Scheduler& scheduler;
        std::function<void(const std::optional<std::string>&)> onEnd;
        Timestamp start;
    };

    void readNext();
    void scheduleNext();
    void perform();
    void end(const std::optional<std::string>& error);

    std::unique_ptr<std::istream> recording_;
    ReplayReader reader_;
    ReplayBeginning beginning_;
    std::optional<ReplayAction> next_; ///< none at the end
    std::optional<Playing> playing_;
    Subscription timer_;
};

/// The recording that the program brings along: some minutes of a day with a call.
std::unique_ptr<std::istream> builtInRecording();

} // namespace velmoran
