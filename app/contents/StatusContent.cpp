#include "app/contents/StatusContent.h"

#include "app/contents/DeviceNames.h"
#include "core/text/DurationFormat.h"
#include "core/text/Localizer.h"
#include "core/warnings/ListeningWording.h"

namespace velmoran {

namespace {

std::string stateOf(const StatusContent::Input& input) {
    if (!input.sessions.empty()) {
        return words().text("In use");
    }
    // What can't be seen is never called off.
    return input.isWatched ? words().text("Not in use") : words().text("Not watched");
}

std::string noteOf(const StatusContent::Input& input) {
    if (input.mutedByVelmoran) {
        return words().text("Muted by Velmoran after a stop");
    }
    if (!input.sessions.empty() || input.onlyListeners.empty()) {
        return {};
    }
    std::vector<std::string> names;
    for (const auto& app : input.onlyListeners) {
        names.push_back(app.name);
    }
    return ListeningWording::onlySystem(names);
}

} // namespace

std::string StatusContent::Use::text() const {
    return app.name + " · " + duration;
}

StatusContent StatusContent::of(const Input& input, Timestamp now) {
    StatusContent content{
        .title = DeviceNames::of(input.device),
        .symbol = input.mutedByVelmoran ? "mic.slash.fill" : DeviceNames::symbolOf(input.device),
        .isInUse = !input.sessions.empty(),
        .mutedByVelmoran = input.mutedByVelmoran,
        .note = noteOf(input),
    };
    for (const auto& session : input.sessions) {
        content.uses.push_back({.session = session.id,
                                .app = session.app,
                                .duration = DurationFormat::text(session.duration(now))});
    }
    if (!input.mutedByVelmoran) {
        content.state = stateOf(input);
    }
    return content;
}

std::string StatusContent::unmute() {
    return words().text("Unmute");
}

std::string StatusContent::unmuteHelp() {
    return words().text("Unmute microphone");
}

std::string StatusContent::detailsHelp() {
    return words().text("Show details");
}

} // namespace velmoran
