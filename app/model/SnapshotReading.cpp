// The part of the model that reads a snapshot: what counts as use of a device, and by whom.
#include "app/model/AppModel.h"

#include "core/sessions/SystemHelpers.h"
#include "core/sessions/SystemProcess.h"

#include <algorithm>
#include <utility>

namespace velmoran {

namespace {

bool holds(const std::vector<AppIdentity>& apps, const std::string& id) {
    return std::any_of(apps.begin(), apps.end(),
                       [&](const AppIdentity& app) { return app.id == id; });
}

} // namespace

AppIdentity AppModel::identity(const AppRef& ref) {
    const auto found = identities_.find(ref.id());
    if (found != identities_.end()) {
        return found->second;
    }
    AppIdentity app{.id = ref.id(),
                    .name = ref.name,
                    .bundleID = ref.bundleID,
                    .path = ref.path,
                    .teamID =
                        ref.path ? around_.machine.signatures().teamID(*ref.path) : std::nullopt};
    return identities_.emplace(app.id, std::move(app)).first->second;
}

std::optional<AppIdentity> AppModel::seenApp(const std::string& id) const {
    const auto found = identities_.find(id);
    return found == identities_.end() ? std::nullopt : std::optional(found->second);
}

std::vector<AppIdentity> AppModel::identities(const std::vector<AppRef>& refs) {
    std::vector<AppIdentity> apps;
    apps.reserve(refs.size());
    for (const auto& ref : refs) {
        apps.push_back(identity(ref));
    }
    return apps;
}

bool AppModel::hasRole(const AppIdentity& app, SystemProcess::Role role) {
    if (!app.path) {
        return false;
    }
    const auto signingID = around_.machine.signatures().systemIdentifier(*app.path);
    // The other platform's are no part of this system.
    const auto& table = around_.machine.platform() == Platform::linux ? SystemProcess::onLinux()
                                                                      : SystemProcess::macOS();
    const auto process = signingID ? SystemProcess::known(*signingID, table) : std::nullopt;
    return process && process->role == role;
}

AppModel::MicrophoneReading AppModel::readMicrophone(Timestamp now) {
    MicrophoneReading reading;
    const auto held = identities(snapshot->microphoneApps);
    auto visible = held;
    if (*settings.ignoreSystemListening) {
        std::erase_if(visible, [this](const AppIdentity& app) {
            return hasRole(app, SystemProcess::Role::listensForMacOS);
        });
    }
    const bool onlyListeners = !held.empty() && visible.empty();

    std::copy_if(visible.begin(), visible.end(), std::back_inserter(reading.helpers),
                 [this](const AppIdentity& app) {
                     return hasRole(app, SystemProcess::Role::worksForOtherApps);
                 });
    std::vector<AppIdentity> others;
    std::copy_if(visible.begin(), visible.end(), std::back_inserter(others),
                 [&](const AppIdentity& app) { return !holds(reading.helpers, app.id); });

    auto microphone = SystemHelpers::microphone(others, reading.helpers,
                                                identities(snapshot->microphoneAttributed));
    reading.owners = std::move(microphone.owners);
    if (reading.helpers.empty() || !reading.owners.empty()) {
        helperUnownedSince_.reset();
        reading.use.apps = std::move(microphone.apps);
    } else {
        // Whom a helper works for is told a moment after it turns the microphone on. The wait is
        // counted once per spell of helpers without an owner.
        if (!helperUnownedSince_) {
            helperUnownedSince_ = now;
        }
        reading.waitingForOwner = now - *helperUnownedSince_ < unknownGrace;
        reading.use.apps = reading.waitingForOwner ? std::move(others) : std::move(microphone.apps);
    }
    reading.use.isOn = snapshot->microphoneOn && !onlyListeners &&
                       !(reading.waitingForOwner && reading.use.apps.empty());
    return reading;
}

void AppModel::syncSessions() {
    const Timestamp now = around_.clock.now();
    auto microphone = readMicrophone(now);
    auto speakerApps = SystemHelpers::speaker(identities(snapshot->speakerApps), microphone.helpers,
                                              microphone.owners);
    // Sessions that were opened in a helper's name and will now end in favour of its owner.
    std::vector<Uuid> inHelpersName;
    if (!microphone.owners.empty()) {
        for (const auto& session : engine_.open()) {
            if (session.device == Device::microphone && holds(microphone.helpers, session.app.id)) {
                inHelpersName.push_back(session.id);
            }
        }
    }
    const auto events = engine_.ingest(
        {{Device::camera, {.isOn = snapshot->cameraOn, .apps = identities(snapshot->cameraApps)}},
         {Device::microphone, std::move(microphone.use)},
         {Device::speaker,
          {.isOn = snapshot->speakerOn && *settings.monitorSpeakerUse,
           .apps = std::move(speakerApps)}}},
        now);
    for (const auto& id : inHelpersName) {
        takeBackNotice(id);
    }
    openSessions.set(engine_.open());
    handle(events);
    scheduleFollowUp(engine_.isGraceRunning() || microphone.waitingForOwner);
}

void AppModel::scheduleFollowUp(bool wanted) {
    followUp_.reset();
    if (wanted) {
        // A device that stays as it is delivers no further snapshot, so the waits need a look of
        // their own.
        followUp_ = around_.scheduler.after(followUpDelay, [this] {
            syncSessions();
            onChange();
        });
    }
}

} // namespace velmoran
