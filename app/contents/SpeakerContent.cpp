#include "app/contents/SpeakerContent.h"

#include "app/contents/DeviceNames.h"
#include "core/text/Localizer.h"
#include "core/text/PlainLine.h"

#include <cmath>

namespace velmoran {

namespace {

std::string placeOf(const std::optional<OutputRoute>& route) {
    if (!route) {
        return words().text("No output device");
    }
    switch (route->kind) {
    case OutputRoute::Kind::builtInSpeakers:
        return words().text("Built-in speakers");
    case OutputRoute::Kind::headphones:
        return words().text("Headphones");
    case OutputRoute::Kind::other:
        break;
    }
    return plainLine(route->name);
}

std::string speakerState(const std::optional<OutputRoute>& route) {
    if (route && route->isMuted) {
        return words().text("Muted");
    }
    return route && route->volume ? std::to_string(std::lround(*route->volume * 100)) + "%"
                                  : std::string();
}

std::string whoHasSound(const std::vector<UsageSession>& sessions) {
    std::vector<std::string> names;
    names.reserve(sessions.size());
    for (const auto& session : sessions) {
        names.push_back(plainLine(session.app.name));
    }
    const auto list = words().list(names);
    return sessions.size() == 1 ? words().text("%@ has sound open", {list})
                                : words().text("%@ have sound open", {list});
}

} // namespace

SpeakerContent SpeakerContent::of(const std::optional<OutputRoute>& route,
                                  const std::vector<UsageSession>& sessions) {
    SpeakerContent content{
        .title = DeviceNames::of(Device::speaker),
        .symbol = route && route->isMuted ? "speaker.slash.fill" : "speaker.wave.2.fill",
        .isInUse = !sessions.empty(),
        .line = placeOf(route),
        .state = speakerState(route),
    };
    if (!sessions.empty()) {
        content.line += " · " + whoHasSound(sessions);
    }
    return content;
}

} // namespace velmoran
