#include "ctl/Watch.h"

#include "app/bus/BusService.h"
#include "app/qtbase/QtEventLoop.h"
#include "app/qtbase/QtSettingsFile.h"
#include "app/qtbase/SystemWords.h"
#include "app/qtbase/UserHistory.h"
#include "app/replay/RecordingPlayer.h"
#include "app/telling/ModelRecorder.h"
#include "app/telling/WatchLines.h"
#include "core/text/Localizer.h"
#include "ctl/EndSignals.h"
#include "ctl/Output.h"
#include "ctl/SparedBrowsers.h"
#include "system/MakeMachine.h"
#include "system/PeerProgram.h"
#include "system/SoundServer.h"

#include <QCoreApplication>
#include <QDateTime>
#include <cmath>
#include <csignal>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>

namespace velmoran {

namespace {

struct TellingSounds final : Sounds {
    std::function<void()> onSound;
    void playWarning() override {
        if (onSound) {
            onSound();
        }
    }
};

std::string timeOfDay(Timestamp time) {
    const auto milliseconds = std::floor((time.seconds + secondsFromUnixEpoch) * 1000);
    return QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(milliseconds))
        .toString(QStringLiteral("HH:mm:ss"))
        .toStdString();
}

/// What is told of one model, on standard output.
class Teller {
public:
    Teller(AppModel& model, QtEventLoop& loop, bool json)
        : unmuting_(model.unmutingBy()),
          // The first lines come before the event loop runs, when an exit would be lost.
          output_([this, &loop] {
              loop.post([status = output_.end()] { QCoreApplication::exit(status); });
          }),
          writer_([this](const std::string& line) { output_.write(line); }) {
        if (json) {
            recorder_.emplace(
                model,
                [&clock = model.clock(), start = model.clock().now()] {
                    return std::round((clock.now() - start) * 1e6) / 1e6;
                },
                writer_);
        } else {
            lines_.emplace(model, model.clock(), timeOfDay,
                           [this](const std::string& line) { output_.write(line); });
        }
    }

    /// A sentence that isn't about a use; beside JSON it goes where it disturbs no reader.
    void say(const std::string& sentence) {
        if (lines_) {
            lines_->say(sentence);
        } else {
            std::cerr << sentence << std::endl;
        }
    }

    /// Beside JSON nothing: there it is an event.
    void stopped(const std::optional<StopResult>& result) {
        if (lines_ && result) {
            lines_->say(result->headline());
            if (const auto detail = result->detail(unmuting_)) {
                lines_->say(*detail);
            }
        }
    }

    /// What another program has had changed.
    void changed(const OutsideChange& change) {
        if (lines_) {
            lines_->say(words().text("Another program asked for it: %@", {change.sentence}));
        } else if (change.setting) {
            recorder_->settingChanged(change.setting->name, change.setting->value);
        } else if (change.distrust) {
            recorder_->distrusted(change.distrust->app, change.distrust->devices);
        }
    }

    /// Null beside sentences.
    ModelRecorder* recorder() { return recorder_ ? &*recorder_ : nullptr; }

private:
    UnmutingBy unmuting_;
    Output output_;
    ReplayWriter writer_;
    std::optional<ModelRecorder> recorder_;
    std::optional<WatchLines> lines_;
};

int watchThisComputer(const WatchOptions& options, QtEventLoop& loop) {
    QtSettingsFile settings;
    setSystemWords(settings, thisPlatform());
    followSystemZone();
    auto sounds = std::make_unique<TellingSounds>();
    auto& telling = *sounds;
    MachineOptions machineOptions;
    machineOptions.sounds = std::move(sounds);
    if (!options.deviceFolder.empty()) {
        machineOptions.deviceFolder = options.deviceFolder;
    }
    std::unique_ptr<Machine> machine;
    try {
        machine = makeMachine(std::move(machineOptions));
    } catch (const std::exception& error) {
        std::cerr << "velmoranctl: this computer can't be watched: " << error.what() << '\n';
        return 1;
    }
    bool keptElsewhere = false;
    SparedBrowsers browsers;
    AppModel model({*machine, loop, loop, settings,
                    [&keptElsewhere] {
                        try {
                            return openUserHistory(WhenKept::giveWay);
                        } catch (const HistoryIsKept&) {
                            keptElsewhere = true;
                            return std::make_shared<HistoryStore>(std::nullopt);
                        }
                    },
                    [&browsers](const BrowserQuestion& question,
                                const std::function<void(BrowserAnswer)>& answer) {
                        browsers.answer(question, answer);
                        return ShownQuestion();
                    }});
    Teller teller(model, loop, options.json);
    const auto stops = model.onStopEnded.subscribe(
        [&](const std::optional<StopResult>& result) { teller.stopped(result); });
    telling.onSound = [recorder = teller.recorder()] {
        if (recorder) {
            recorder->soundPlayed();
        }
    };
    const auto replaced = model.onHistoryReplaced.subscribe([&] {
        teller.say(words().text("The history file was deleted or replaced. The history goes on in "
                                "the file that is there now."));
    });
    model.start();
    if (keptElsewhere) {
        teller.say(words().text("The history is being kept already. This watch keeps none."));
    }
    if (!soundServerAnswers()) {
        teller.say(words().text("No sound server can be reached. Until one can, only programs that "
                                "open a device directly are seen."));
    }
    BusService::Options service;
    service.givesWay = true;
    service.remark = [&] {
        const auto sentence = browsers.popSentence();
        if (!sentence.empty()) {
            teller.say(sentence);
        }
        return sentence;
    };
    service.isVelmoran = [&options](std::int32_t pid) {
        const auto program = programOf(pid);
        return isVelmoran(program) || (program.path && *program.path == options.velmoran);
    };
    service.changed = [&](const OutsideChange& change) {
        teller.changed(change);
    };
    const BusService bus(model, loop, std::move(service));
    const auto status = QCoreApplication::exec();
    telling.onSound = nullptr;
    model.stopMonitor();
    return status;
}

int watchRecording(const WatchOptions& options, QtEventLoop& loop) {
    const auto name = options.demoFile.empty() ? std::string("demo") : options.demoFile;
    std::unique_ptr<std::istream> recording = builtInRecording();
    if (!options.demoFile.empty()) {
        recording = std::make_unique<std::ifstream>(options.demoFile, std::ios::binary);
        if (!*recording) {
            std::cerr << name << ": it can't be opened\n";
            return ReplayStop::wrong;
        }
    }
    try {
        RecordingPlayer player(std::move(recording));
        ReplayStage stage(player.beginning(), setSystemWords);
        AppModel model(stage.surroundings(loop, loop));
        Teller teller(model, loop, options.json);
        const auto stops = model.onStopEnded.subscribe(
            [&](const std::optional<StopResult>& result) { teller.stopped(result); });
        stage.recordTo(teller.recorder());
        model.start();
        player.play(stage, model, loop, loop, [&](const std::optional<std::string>& error) {
            if (error) {
                std::cerr << name << ':' << *error << '\n';
            }
            loop.post([status = error ? ReplayStop::wrong : 0] { QCoreApplication::exit(status); });
        });
        return QCoreApplication::exec();
    } catch (const ReplayError& error) {
        std::cerr << name << ':' << error.line() << ": " << error.what() << '\n';
        return ReplayStop::wrong;
    }
}

} // namespace

int runWatch(const WatchOptions& options, int& argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN); // a reader that goes is noticed when writing
    const QCoreApplication application(argc, argv);
    const EndSignals endings([] { QCoreApplication::quit(); });
    QtEventLoop loop;
    return options.demo ? watchRecording(options, loop) : watchThisComputer(options, loop);
}

} // namespace velmoran
