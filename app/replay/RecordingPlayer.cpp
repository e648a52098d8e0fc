#include "app/replay/RecordingPlayer.h"

#include <algorithm>
#include <utility>

namespace velmoran {

RecordingPlayer::RecordingPlayer(std::unique_ptr<std::istream> recording)
    : recording_(std::move(recording)),
      reader_(*recording_) {
    if (auto line = reader_.next()) {
        if (auto* beginning = std::get_if<ReplayBeginning>(&*line)) {
            beginning_ = std::move(*beginning);
            readNext();
        } else {
            next_ = std::get<ReplayAction>(std::move(*line));
        }
    }
}

void RecordingPlayer::readNext() {
    next_.reset();
    if (auto line = reader_.next()) {
        next_ = std::get<ReplayAction>(std::move(*line));
    }
}

void RecordingPlayer::play(ReplayStage& stage, AppModel& model, const Clock& clock,
                           Scheduler& scheduler,
                           std::function<void(const std::optional<std::string>&)> onEnd) {
    playing_.emplace(Playing{stage, model, clock, scheduler, std::move(onEnd), clock.now()});
    scheduleNext();
}

void RecordingPlayer::scheduleNext() {
    if (!next_) {
        end(std::nullopt);
        return;
    }
    const auto elapsed = playing_->clock.now() - playing_->start;
    timer_ = playing_->scheduler.after(std::max(0.0, next_->at - elapsed), [this] { perform(); });
}

void RecordingPlayer::perform() {
    const auto action = *std::exchange(next_, std::nullopt);
    const auto place = std::to_string(reader_.lineNumber()) + ": ";
    if (std::holds_alternative<replay::Leave>(action.doing)) {
        end(std::nullopt);
        return;
    }
    try {
        playing_->stage.perform(action.doing, playing_->model);
        readNext();
    } catch (const ReplayStop& stop) {
        end(place + stop.what());
        return;
    } catch (const ReplayError& error) {
        end(std::to_string(error.line()) + ": " + error.what());
        return;
    }
    scheduleNext();
}

void RecordingPlayer::end(const std::optional<std::string>& error) {
    if (const auto onEnd = std::exchange(playing_->onEnd, nullptr)) {
        onEnd(error);
    }
}

} // namespace velmoran
