#include "core/stopping/StopResult.h"

#include "core/text/Localizer.h"
#include "core/warnings/DeviceWording.h"

namespace velmoran {

namespace {

std::string joined(const std::vector<std::string>& parts) {
    std::string text;
    for (const auto& part : parts) {
        text += (text.empty() ? "" : " ") + part;
    }
    return text;
}

std::string names(const std::vector<AppIdentity>& apps) {
    std::vector<std::string> list;
    list.reserve(apps.size());
    for (const auto& app : apps) {
        list.push_back(app.name);
    }
    return words().list(list);
}

std::string untilUnmuted(UnmutingBy way) {
    switch (way) {
    case UnmutingBy::panel:
        return words().text("The microphone stays muted until you unmute it in the Microphone row "
                            "of the panel.");
    case UnmutingBy::terminal:
        return words().text(
            "The microphone stays muted until you unmute it with “velmoranctl unmute”.");
    case UnmutingBy::panelOrTerminal:
        return words().text("The microphone stays muted until you unmute it in the Microphone row "
                            "of the panel, or with “velmoranctl unmute”.");
    }
    return {};
}

} // namespace

bool StopResult::everythingStopped() const {
    return microphoneMuted.value_or(true) && notClosed.empty() && protectedApps.empty() &&
           unknownOn.empty() && stillInUse.empty();
}

std::string StopResult::headline() const {
    std::vector<std::string> parts;
    if (microphoneMuted == true) {
        parts.push_back(words().text("Microphone muted."));
    }
    if (closed.size() == 1) {
        parts.push_back(words().text("%@ was closed.", {names(closed)}));
    } else if (!closed.empty()) {
        parts.push_back(words().text("%@ were closed.", {names(closed)}));
    } else if (notClosed.empty() && protectedApps.empty() && unknownOn.empty() &&
               stillInUse.empty()) {
        parts.push_back(microphoneMuted ? words().text("No app was using the camera or microphone.")
                                        : words().text("Nothing needed to be closed."));
    }
    if (parts.empty()) {
        parts.push_back(words().text("Nothing could be stopped."));
    }
    return joined(parts);
}

std::optional<std::string> StopResult::detail(UnmutingBy way) const {
    std::vector<std::string> parts;
    if (microphoneMuted == false) {
        parts.push_back(words().text("The microphone couldn't be muted. Turn the input volume "
                                     "down in System Settings > Sound."));
    }
    for (const auto& app : notClosed) {
        parts.push_back(words().text("%@ didn't close and may still be using the camera or "
                                     "microphone. Quit it from the Dock, or try again.",
                                     {app.name}));
    }
    for (const auto& app : protectedApps) {
        parts.push_back(
            words().text("%@ is part of macOS, so Velmoran didn't close it.", {app.name}));
    }
    if (!unknownOn.empty()) {
        parts.push_back(
            words().text("We couldn't tell which app is using %@, so there was nothing to close.",
                         {DeviceWording::the(unknownOn)}));
    }
    for (const auto device : stillInUse) {
        parts.push_back(device == Device::camera ? words().text("The camera is still in use.")
                                                 : words().text("The microphone is still in use."));
    }
    if (parts.empty() && microphoneMuted == true) {
        parts.push_back(untilUnmuted(way));
    }
    if (microphoneMuted == true && !unmutableMicrophones.empty()) {
        parts.push_back(
            words().text("%@ can't be muted from this Mac.", {words().list(unmutableMicrophones)}));
    }
    return parts.empty() ? std::nullopt : std::optional(joined(parts));
}

} // namespace velmoran
