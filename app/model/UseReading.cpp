#include "app/model/UseReading.h"

#include "core/sessions/SystemHelpers.h"

#include <algorithm>
#include <utility>

namespace velmoran {

UseReading::UseReading(Machine& machine, const SettingsStore& settings)
    : machine_(machine),
      settings_(settings) {}

UseReading::Found UseReading::read(const SystemSnapshot& snapshot, Timestamp elapsing) {
    auto microphone = readMicrophone(snapshot, elapsing);
    auto speakerApps = SystemHelpers::speaker(identities(snapshot.speakerApps), microphone.helpers,
                                              microphone.owners);
    Found found;
    found.uses = {
        {Device::camera, {.isOn = snapshot.cameraOn, .apps = identities(snapshot.cameraApps)}},
        {Device::microphone, std::move(microphone.use)},
        {Device::speaker,
         {.isOn = snapshot.speakerOn && *settings_.monitorSpeakerUse,
          .apps = std::move(speakerApps)}}};
    if (!microphone.owners.empty()) {
        found.replacedHelpers = std::move(microphone.helpers);
    }
    found.wait = microphone.wait;
    return found;
}

UseReading::Microphone UseReading::readMicrophone(const SystemSnapshot& snapshot,
                                                  Timestamp elapsing) {
    Microphone reading;
    std::vector<AppIdentity> others;
    const auto held = identities(snapshot.microphoneApps);
    for (const auto& app : held) {
        const auto role = machine_.roleOf(app);
        if (role == SystemProcess::Role::worksForOtherApps) {
            reading.helpers.push_back(app);
        } else if (role != SystemProcess::Role::listensForSystem ||
                   !*settings_.ignoreSystemListening) {
            others.push_back(app);
        }
    }
    const bool onlyListeners = !held.empty() && reading.helpers.empty() && others.empty();

    auto microphone = SystemHelpers::microphone(others, reading.helpers,
                                                identities(snapshot.microphoneAttributed));
    reading.owners = std::move(microphone.owners);
    reading.use.apps = std::move(microphone.apps);
    endSpellsBut(reading.helpers, elapsing);
    if (!reading.owners.empty()) {
        unowned_.clear();
    }
    if (reading.helpers.empty() || !reading.owners.empty()) {
        helperUnownedSince_.reset();
    } else {
        if (!helperUnownedSince_) {
            helperUnownedSince_ = elapsing;
        }
        // Whom a helper works for is told a moment after it turns the microphone on. The wait is
        // counted once per spell of helpers without an owner, and of each over all its spells.
        const auto ofSpell = elapsing - *helperUnownedSince_;
        for (const auto& helper : reading.helpers) {
            const auto left = ownerGrace - std::max(ofSpell, unownedFor(helper, elapsing));
            if (left > 0) {
                reading.wait = std::min(left, reading.wait.value_or(left));
                std::erase_if(reading.use.apps,
                              [&](const AppIdentity& app) { return app.isSameApp(helper); });
            }
        }
    }
    reading.use.isOn =
        snapshot.microphoneOn && !onlyListeners && !(reading.wait && reading.use.apps.empty());
    return reading;
}

Seconds UseReading::unownedFor(const AppIdentity& helper, Timestamp elapsing) {
    auto& unowned = unowned_[helper.id];
    if (!unowned.since) {
        unowned.since = elapsing;
    }
    return unowned.before + (elapsing - *unowned.since);
}

void UseReading::endSpellsBut(const std::vector<AppIdentity>& goingOn, Timestamp elapsing) {
    std::erase_if(unowned_, [&](const auto& each) {
        const auto& [id, unowned] = each;
        return !unowned.since && elapsing - unowned.until >= spellMemory;
    });
    for (auto& [id, unowned] : unowned_) {
        const bool goesOn = std::ranges::any_of(
            goingOn, [&known = id](const AppIdentity& helper) { return helper.id == known; });
        if (unowned.since && !goesOn) {
            unowned.before += elapsing - *unowned.since;
            unowned.until = elapsing;
            unowned.since.reset();
        }
    }
}

const AppIdentity& UseReading::identity(const AppRef& ref) {
    const auto [known, isNew] = identities_.try_emplace({ref.unidentified, ref.id()});
    if (isNew) {
        auto& app = known->second;
        app.id = ref.id();
        app.name = ref.name;
        app.path = ref.path;
        app.unidentified = ref.unidentified;
        if (!ref.unidentified) {
            app.bundleID = ref.bundleID;
            app.teamID = ref.path ? machine_.signatures().teamID(*ref.path) : std::nullopt;
        }
    }
    return known->second;
}

/// Whoever bears the unknown app's id counts as nobody named: a session for him would end at the
/// next reading, and begin again.
std::vector<AppIdentity> UseReading::identities(const std::vector<AppRef>& refs) {
    std::vector<AppIdentity> apps;
    apps.reserve(refs.size());
    for (const auto& ref : refs) {
        if (ref.id() != AppIdentity::unknownID) {
            apps.push_back(identity(ref));
        }
    }
    return apps;
}

std::optional<AppIdentity> UseReading::seenApp(const std::string& id) const {
    for (const bool unidentified : {false, true}) {
        if (const auto found = identities_.find({unidentified, id}); found != identities_.end()) {
            return found->second;
        }
    }
    return std::nullopt;
}

std::vector<AppIdentity> UseReading::onlyListeners(const SystemSnapshot& snapshot) const {
    std::vector<AppIdentity> listeners;
    if (!snapshot.microphoneOn || !*settings_.ignoreSystemListening) {
        return listeners;
    }
    for (const auto& ref : snapshot.microphoneApps) {
        const auto app = seenApp(ref.id());
        if (!app || machine_.roleOf(*app) != SystemProcess::Role::listensForSystem) {
            return {};
        }
        listeners.push_back(*app);
    }
    return listeners;
}

} // namespace velmoran
