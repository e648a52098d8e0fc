#include "app/contents/TrustEntries.h"

#include "core/text/Localizer.h"
#include "core/warnings/DeviceWording.h"

namespace velmoran {

std::string TrustEntry::deviceWords() const {
    std::string result;
    for (const auto device : devices) {
        const auto word =
            device == Device::camera ? words().text("camera") : words().text("microphone");
        result += (result.empty() ? "" : ", ") + word;
    }
    return result;
}

std::string TrustEntry::question() const {
    return words().text("Stop trusting %@?", {app.name});
}

std::string TrustEntry::consequence() const {
    const auto used = DeviceWording::the(devices);
    return process ? words().text("%@ is part of macOS. %@ It keeps working either way. Velmoran "
                                  "will only show a notice again the next time it uses %@ under "
                                  "its own name.",
                                  {app.name, process->explanation, used})
                   : words().text("%1$@ keeps working. Velmoran will show a notice again the next "
                                  "time it uses %2$@.",
                                  {app.name, used});
}

TrustEntries TrustEntries::of(const AppModel& model, TrustKind kind) {
    TrustEntries result;
    for (const auto& [app, devices] : model.trust->entries(kind)) {
        auto process = model.systemProcess(app);
        auto& list = process ? result.systemProcesses : result.apps;
        list.push_back({app, devices, std::move(process)});
    }
    return result;
}

std::string TrustEntries::heading(TrustKind kind) {
    return kind == TrustKind::trusted ? words().text("Trusted apps") : words().text("Always warn");
}

std::string TrustEntries::emptyNote(TrustKind kind) {
    return kind == TrustKind::trusted
               ? words().text(
                     "No trusted apps yet. Choose \"Trust this app\" on a notice to add one.")
               : words().text("No apps here yet. You can add one from an event's details.");
}

std::string TrustEntries::action(TrustKind kind) {
    return kind == TrustKind::trusted ? words().text("Distrust") : words().text("Remove");
}

std::string TrustEntries::actionHelp(TrustKind kind, const AppIdentity& app) {
    return kind == TrustKind::trusted ? words().text("Distrust %@", {app.name})
                                      : words().text("Remove %@", {app.name});
}

std::string TrustEntries::systemProcessesTitle() const {
    return words().text("Show macOS system processes (%lld)",
                        {std::to_string(systemProcesses.size())});
}

std::string TrustEntries::systemProcessesNote() {
    return words().text("Click a name to see what it is.");
}

std::string TrustEntries::systemProcessesHeading() {
    return words().text("macOS system processes");
}

} // namespace velmoran
