#include "app/telling/ModelRecorder.h"

#include "app/telling/ModelState.h"

#include <unordered_set>
#include <utility>

namespace velmoran {

ModelRecorder::ModelRecorder(AppModel& model, std::function<Seconds()> at, ReplayWriter& writer)
    : model_(model),
      at_(std::move(at)),
      writer_(writer) {
    subscriptions_.push_back(
        model_.onSessionEvent.subscribe([this](const SessionEvent& event) { record(event); }));
    subscriptions_.push_back(model_.notices.onShown.subscribe([this](const NoticeItem& item) {
        writer_.write(at_(), "notice", {{"notice", writer_.notice(item)}});
    }));
    subscriptions_.push_back(model_.notices.onDismissed.subscribe([this](const NoticeItem& item) {
        writer_.write(at_(), "dismissed",
                      {{"id", writer_.noticeID(item.id)}, {"title", item.title}});
        writer_.forgetNotice(item.id);
    }));
    subscriptions_.push_back(model_.historyProblem.subscribe(
        [this](const std::optional<HistoryProblem>& problem) { record(problem); }));
    subscriptions_.push_back(model_.sightTaken.subscribe([this](const auto& time) {
        if (time) {
            writer_.write(at_(), "sightTaken");
        }
    }));
    subscriptions_.push_back(model_.awayWatchOn.subscribe([this](bool on) {
        writer_.write(at_(), "watch", {{"on", on}});
    }));
    subscriptions_.push_back(model_.isStopping.subscribe([this](bool stopping) {
        writer_.write(at_(), "stopping", {{"value", stopping}});
    }));
    subscriptions_.push_back(
        model_.onMicrophonesMuted.subscribe([this](bool on, const MuteOutcome& outcome) {
            writer_.write(
                at_(), "mute",
                {{"on", on}, {"muted", outcome.mutedCount}, {"failed", outcome.unmutable}});
        }));
    subscriptions_.push_back(
        model_.onAppClosed.subscribe([this](const AppIdentity& app, bool gone) {
            writer_.write(at_(), "close", {{"app", app.id}, {"gone", gone}});
        }));
    subscriptions_.push_back(model_.onConnections.subscribe(
        [this](const Uuid& session, const std::vector<ConnectionRecord>& added) {
            writer_.write(at_(), "connections",
                          {{"session", writer_.sessionID(session)}, {"connections", added}});
        }));
    subscriptions_.push_back(model_.onChange.subscribe([this] { recordIcon(); }));
    recordIcon();
}

void ModelRecorder::soundPlayed() {
    writer_.write(at_(), "sound");
}

void ModelRecorder::outputMuted(std::uint32_t device, bool muted, bool done) {
    writer_.write(at_(), "outputMute", {{"device", device}, {"on", muted}, {"done", done}});
}

void ModelRecorder::asked(const BrowserQuestion& question, BrowserAnswer answer) {
    writer_.write(at_(), "asked",
                  {{"browsers", question.browsers},
                   {"keepOffered", question.keepOffered},
                   {"answer", answer}});
}

void ModelRecorder::windowOpened(std::string_view id, const std::string& title) {
    writer_.write(at_(), "window", {{"id", id}, {"title", title}});
}

void ModelRecorder::windowClosed(std::string_view id, const std::string& title) {
    writer_.write(at_(), "window", {{"id", id}, {"title", title}, {"closed", true}});
}

void ModelRecorder::settingChanged(const std::string& name, const std::string& value) {
    writer_.write(at_(), "settingChanged", {{"name", name}, {"value", value}});
}

void ModelRecorder::distrusted(const std::string& app, const std::vector<Device>& devices) {
    writer_.write(at_(), "distrusted", {{"app", app}, {"devices", devices}});
}

void ModelRecorder::record(const SessionEvent& event) {
    writer_.write(at_(), rawValue(event.kind), {{"session", writer_.session(event.session)}});
    forgetOldNames();
}

void ModelRecorder::record(const std::optional<HistoryProblem>& problem) {
    if (!problem) {
        writer_.write(at_(), "historySaved");
    } else if (problem->kind == HistoryProblem::Kind::notOpened) {
        writer_.write(at_(), "historyUnavailable");
    } else {
        writer_.write(at_(), "historyNotSaved", {{"reason", problem->reason}});
    }
}

void ModelRecorder::recordIcon() {
    const auto state = model_.statusIconState();
    if (icon_ != state) {
        icon_ = state;
        writer_.write(at_(), "icon", {{"state", state}});
    }
}

// Now and then, so that a long run remembers as much as the history keeps and no more.
void ModelRecorder::forgetOldNames() {
    const auto& history = *model_.historySessions;
    if (writer_.knownSessions() < 2 * (history.size() + model_.openSessions->size()) + 1000) {
        return;
    }
    std::unordered_set<Uuid> ids;
    for (const auto& session : history) {
        ids.insert(session.id);
    }
    for (const auto& session : *model_.openSessions) {
        ids.insert(session.id);
    }
    writer_.keepOnlySessions(ids);
}

bool ModelRecorder::show(const std::string& word, const Json& argument) {
    auto value = stateOf(model_, word, argument, writer_);
    if (value) {
        writer_.write(at_(), word, {{"value", std::move(*value)}});
    }
    return value.has_value();
}

} // namespace velmoran
