#include "app/replay/ReplayStage.h"

#include "app/model/SettingChoices.h"
#include "app/telling/SettingFields.h"
#include "core/away/AwayReport.h"
#include "core/text/Localizer.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace velmoran {

namespace {

std::optional<AppIdentity> appThatWasSeen(const AppModel& model, const std::string& id) {
    if (auto app = model.seenApp(id)) {
        return app;
    }
    for (const auto& session : *model.openSessions) {
        if (session.app.id == id) {
            return session.app;
        }
    }
    for (const auto& session : *model.historySessions) {
        if (session.app.id == id) {
            return session.app;
        }
    }
    for (const auto& rule : model.trust->rules()) {
        if (rule.app.id == id) {
            return rule.app;
        }
    }
    return std::nullopt;
}

/// Of the windows that a model opens.
std::string titleOf(std::string_view window) {
    if (window == WindowID::history) {
        return words().text("History");
    }
    return window == WindowID::awayReport ? words().text("Away watch") : std::string(window);
}

struct Performer {
    ReplayStage& stage;
    AppModel& model;

    AppIdentity seen(const std::string& id) const {
        if (auto app = appThatWasSeen(model, id)) {
            return *app;
        }
        throw ReplayStop(ReplayStop::wrong, "no app with the id \"" + id + "\" has been seen");
    }

    void operator()(const replay::Snapshot& action) const {
        stage.machine.currentOutput = action.reading.output;
        stage.machine.snapshots().deliver(action.reading);
    }

    /// As the settings screen changes a field, with what that screen does then.
    void operator()(const replay::Setting& action) const {
        setField(model.settings, action.name, action.value);
        SettingChoices::carryOut(model, action.name);
    }

    void operator()(const replay::ChangeMachine& action) const { stage.changeMachine(action); }

    void operator()(const replay::Press& action) const {
        bool hasCard = false;
        const auto items = model.notices.items();
        for (const auto& item : items) {
            if (item.title != action.notice) {
                continue;
            }
            hasCard = true;
            if (action.button == "Close") {
                model.notices.close(item.id);
                return;
            }
            const auto button =
                std::find_if(item.buttons.begin(), item.buttons.end(),
                             [&](const NoticeButton& each) { return each.title == action.button; });
            if (button != item.buttons.end()) {
                model.notices.press(item.id, button->id);
                return;
            }
        }
        throw ReplayStop(ReplayStop::absent,
                         hasCard ? "the card \"" + action.notice + "\" has no button \"" +
                                       action.button + "\""
                                 : "no card \"" + action.notice + "\" is on screen");
    }

    void operator()(const replay::Decide& action) const {
        const auto app = seen(action.app);
        if (action.alwaysWarn) {
            model.setAlwaysWarn(action.value, app, action.devices);
        } else {
            model.setTrusted(action.value, app, action.devices);
        }
    }

    void operator()(const replay::StopEverything&) const { model.stopEverything(); }
    void operator()(const replay::Stop& action) const { model.stop(seen(action.app)); }
    void operator()(const replay::UnmuteMicrophone&) const { model.unmuteMicrophone(); }

    void operator()(const replay::DeleteHistory&) const { model.deleteHistory(); }

    void operator()(const replay::Lock& action) const {
        if (action.locked) {
            stage.machine.screenLock().lock();
        } else {
            stage.machine.screenLock().unlock();
        }
    }

    void operator()(const replay::Signal& action) const {
        stage.machine.away().announce(action.signal);
    }

    void operator()(const replay::Wait&) const {}
    void operator()(const replay::Launch&) const {}
    void operator()(const replay::Leave&) const {}
    void operator()(const replay::Show&) const {}
};

} // namespace

ReplayStage::ReplayStage(const ReplayBeginning& beginning, Wording wording)
    : machine(beginning.machine),
      wording_(std::move(wording)) {
    SettingsStore fields(settings);
    for (const auto& item : beginning.settings.items()) {
        setField(fields, item.key(), item.value());
    }
    if (beginning.trust) {
        fields.trustRulesData.set(encode(*beginning.trust));
    }
    if (wording_) {
        wording_(settings, machine.platform());
    }
    if (!beginning.historyFails) {
        history_ = std::make_shared<HistoryStore>(std::nullopt);
        for (const auto& session : beginning.history) {
            history_->saveSession(session);
        }
        for (const auto& payload : beginning.reports) {
            const auto report = payload.get<AwayReport>();
            history_->saveAwayPayload(report.id, report.start, report.end, payload.dump());
        }
    }
}

void ReplayStage::recordTo(ModelRecorder* recorder) {
    recorder_ = recorder;
    windows_.recorder = recorder;
    windows_.open.clear();
    if (!recorder) {
        machine.onSound = nullptr;
        machine.onOutputMute = nullptr;
        return;
    }
    machine.onSound = [recorder] {
        recorder->soundPlayed();
    };
    machine.onOutputMute = [recorder](std::uint32_t device, bool muted, bool done) {
        recorder->outputMuted(device, muted, done);
    };
}

ModelSurroundings ReplayStage::surroundings(const Clock& clock, Scheduler& scheduler) {
    const auto openHistory = [this] {
        if (!history_) {
            throw std::runtime_error("the recording says that it can't be opened");
        }
        return history_;
    };
    const auto ask = [this](const BrowserQuestion& question,
                            const std::function<void(BrowserAnswer)>& answered) {
        const auto answer = machine.script.browserAnswer;
        if (recorder_) {
            recorder_->asked(question, answer);
        }
        answered(answer);
        return ShownQuestion();
    };
    return {machine, clock, scheduler, settings, openHistory, ask, &windows_};
}

void ReplayStage::PaperWindows::show(std::string_view id) {
    if (open.emplace(id).second && recorder) {
        recorder->windowOpened(id, titleOf(id));
    }
}

// Another report each time, so that each is told of.
void ReplayStage::PaperWindows::showAwayReport(const AwayReport&) {
    open.emplace(WindowID::awayReport);
    if (recorder) {
        recorder->windowOpened(WindowID::awayReport, titleOf(WindowID::awayReport));
    }
}

void ReplayStage::PaperWindows::close(std::string_view id) {
    const auto found = open.find(id);
    if (found != open.end()) {
        open.erase(found);
        if (recorder) {
            recorder->windowClosed(id, titleOf(id));
        }
    }
}

Subscription ReplayStage::refuseShortcut(AppModel& model) {
    const auto apply = [this, &model](bool wanted) {
        model.stopShortcutUnavailable.set(wanted && machine.script.shortcutRefused);
    };
    apply(*model.settings.stopShortcutOn);
    return model.settings.stopShortcutOn.subscribe(apply);
}

void ReplayStage::changeMachine(const replay::ChangeMachine& change) {
    const auto before = machine.platform();
    machine.script.apply(change.keys);
    if (wording_ && machine.platform() != before) {
        wording_(settings, machine.platform());
    }
}

void ReplayStage::perform(const replay::Doing& doing, AppModel& model) {
    std::visit(Performer{*this, model}, doing);
}

} // namespace velmoran
