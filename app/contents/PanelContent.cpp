#include "app/contents/PanelContent.h"

#include "core/text/Localizer.h"
#include "core/text/PlainLine.h"
#include "core/warnings/HistoryWording.h"
#include "core/warnings/UnwatchedWording.h"

#include <algorithm>

namespace velmoran {

namespace {

std::string moment(Timestamp time, Timestamp now) {
    const auto hour = words().shortTime(time);
    return words().startOfDay(time) == words().startOfDay(now)
               ? hour
               : words().dayTitle(time, now) + ", " + hour;
}

bool isWatched(const SystemSnapshot& snapshot, Device device) {
    return std::ranges::find(snapshot.unwatched, device) == snapshot.unwatched.end();
}

std::vector<std::string> warningsOf(const AppModel& model, Timestamp now) {
    std::vector<std::string> sentences;
    if (const auto& problem = *model.historyProblem) {
        sentences.push_back(HistoryWording::sentence(*problem));
    }
    for (auto& reason : UnwatchedWording::reasons(model.snapshot->unwatched)) {
        sentences.push_back(std::move(reason));
    }
    if (const auto& taken = *model.sightTaken) {
        sentences.push_back(
            words().text("Something took Velmoran's view of the sound system away (last: %@)",
                         {moment(*taken, now)}));
    }
    return sentences;
}

void addStatus(std::vector<std::string>& lines, const StatusContent& status) {
    lines.push_back(status.title + ": " +
                    (status.mutedByVelmoran ? StatusContent::unmute() : status.state));
    if (!status.note.empty()) {
        lines.push_back(status.note);
    }
    for (const auto& use : status.uses) {
        lines.push_back(use.text());
    }
}

} // namespace

PanelContent PanelContent::of(const AppModel& model, const std::vector<ActivityRow>& recent,
                              Timestamp now) {
    const auto& snapshot = *model.snapshot;
    PanelContent content{
        .camera = StatusContent::of({.device = Device::camera,
                                     .sessions = model.sessions(Device::camera),
                                     .isWatched = isWatched(snapshot, Device::camera)},
                                    now),
        .microphone = StatusContent::of({.device = Device::microphone,
                                         .sessions = model.sessions(Device::microphone),
                                         .mutedByVelmoran = *model.settings.microphoneMuted,
                                         .isWatched = isWatched(snapshot, Device::microphone),
                                         .onlyListeners = model.onlyListeners()},
                                        now),
        .speaker =
            SpeakerContent::of(outputRoute(snapshot.output), model.sessions(Device::speaker)),
        .canStop = !*model.isStopping,
        .warnings = warningsOf(model, now),
    };
    content.recent.reserve(recent.size());
    for (const auto& row : recent) {
        content.recent.push_back(RecentLine::of(row, now));
    }
    return content;
}

std::string PanelContent::title() {
    return "Velmoran";
}

std::string PanelContent::stop() {
    return words().text("Stop camera and microphone");
}

std::string PanelContent::stopNote() {
    return words().text("Closes the apps that are using the camera or microphone, and mutes the "
                        "microphone. Unsaved work in those apps may be lost.");
}

std::string PanelContent::history() {
    return words().text("History");
}

std::string PanelContent::settings() {
    return words().text("Settings");
}

std::string PanelContent::quit() {
    return words().text("Quit");
}

std::vector<std::string> panelLines(const AppModel& model, Timestamp now) {
    const auto content = PanelContent::of(model, model.recentRows(), now);
    std::vector<std::string> lines = {PanelContent::title()};
    addStatus(lines, content.camera);
    addStatus(lines, content.microphone);
    lines.push_back(content.speaker.state.empty()
                        ? content.speaker.title
                        : content.speaker.title + ": " + content.speaker.state);
    lines.push_back(content.speaker.line);
    lines.push_back(PanelContent::stop());
    lines.push_back(PanelContent::stopNote());
    lines.push_back(RecentLine::heading());
    for (const auto& line : content.recent) {
        lines.push_back(line.spoken());
    }
    if (content.recent.empty()) {
        lines.push_back(RecentLine::nothingYet());
    }
    lines.insert(lines.end(), content.warnings.begin(), content.warnings.end());
    lines.insert(lines.end(),
                 {PanelContent::history(), PanelContent::settings(), PanelContent::quit()});
    std::ranges::transform(lines, lines.begin(), plainLine);
    return lines;
}

} // namespace velmoran
