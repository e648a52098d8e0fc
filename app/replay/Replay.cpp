#include "app/replay/Replay.h"

#include "app/replay/ReplayReader.h"

#include <optional>
#include <utility>

namespace velmoran {

namespace {

/// The language is the recording's, whatever its settings say.
ReplayStage::Wording wordingOf(const ReplayBeginning& beginning, const Translations& translations) {
    return [locale = beginning.locale, timeZone = beginning.timeZone,
            translations](KeyValueStore&, Platform platform) {
        setWords(
            Localizer(locale, timeZone,
                      translations ? translations(locale, platform) : std::vector<Catalogue>()));
    };
}

} // namespace

Replay::Replay(const ReplayBeginning& beginning, Sink sink, const Translations& translations)
    : time_(beginning.time),
      stage_(beginning, wordingOf(beginning, translations)),
      writer_(std::move(sink)) {}

Replay::~Replay() {
    leave();
}

void Replay::perform(const ReplayAction& action) {
    const bool isLaunch = std::holds_alternative<replay::Launch>(action.doing);
    if (!std::exchange(begun_, true) && !isLaunch) {
        launch();
    }
    time_.advanceTo(action.at);
    if (isLaunch) {
        if (model_) {
            throw ReplayStop(ReplayStop::wrong, "\"launch\" while the program is running");
        }
        launch();
    } else if (const auto* change = std::get_if<replay::ChangeMachine>(&action.doing)) {
        stage_.changeMachine(*change);
    } else if (!std::holds_alternative<replay::Wait>(action.doing)) {
        if (!model_) {
            throw ReplayStop(ReplayStop::wrong,
                             "the program isn't running; \"launch\" comes first");
        }
        if (const auto* end = std::get_if<replay::Leave>(&action.doing)) {
            if (!end->crash) {
                model_->stopMonitor();
            }
            leave();
        } else if (const auto* show = std::get_if<replay::Show>(&action.doing)) {
            recorder_->show(show->word, show->argument);
        } else {
            stage_.perform(action.doing, *model_);
        }
    }
    time_.runPosted();
}

void Replay::launch() {
    stage_.machine.restart();
    model_ = std::make_unique<AppModel>(stage_.surroundings(time_, time_));
    recorder_ = std::make_unique<ModelRecorder>(
        *model_, [this] { return time_.elapsed(); }, writer_);
    stage_.recordTo(recorder_.get());
    shortcut_ = stage_.refuseShortcut(*model_);
    model_->start();
    time_.runPosted();
}

void Replay::leave() {
    shortcut_.reset();
    stage_.recordTo(nullptr);
    recorder_.reset();
    model_.reset();
    writer_.forgetAllNotices();
    time_.runPosted();
}

int runReplay(std::istream& input, const std::string& name, const Replay::Sink& sink,
              std::ostream& errors, const Translations& translations) {
    ReplayReader reader(input);
    std::optional<Replay> replay;
    try {
        while (const auto line = reader.next()) {
            if (!replay) {
                const auto* beginning = std::get_if<ReplayBeginning>(&*line);
                replay.emplace(beginning ? *beginning : ReplayBeginning(), sink, translations);
            }
            if (const auto* action = std::get_if<ReplayAction>(&*line)) {
                replay->perform(*action);
            }
        }
        return 0;
    } catch (const ReplayError& error) {
        errors << name << ':' << error.line() << ": " << error.what() << '\n';
        return ReplayStop::wrong;
    } catch (const ReplayStop& stop) {
        errors << name << ':' << reader.lineNumber() << ": " << stop.what() << '\n';
        return stop.status();
    }
}

} // namespace velmoran
