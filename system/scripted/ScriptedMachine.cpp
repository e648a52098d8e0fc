#include "system/scripted/ScriptedMachine.h"

#include "core/stopping/BrowserLinux.h"
#include "system/ProtectedPrograms.h"

#include <map>

namespace velmoran {

namespace {

/// Closes apps in the time that the script gives each. Main thread; what is under way goes with it.
class ScriptedCloser final : public AppClosing {
public:
    ScriptedCloser(const MachineScript& script, Scheduler& scheduler)
        : script_(script),
          scheduler_(scheduler) {}

    void close(const AppIdentity& app, std::function<void(bool)> done) override {
        const bool refuses = script_.refusesToClose.contains(app.id);
        const auto wanted = script_.closeSeconds.find(app.id);
        const auto usual = wanted == script_.closeSeconds.end() ? ScriptedMachine::usualCloseSeconds
                                                                : wanted->second;
        const auto number = ++asked_;
        underWay_[number] = scheduler_.after(refuses ? ScriptedMachine::closePatience : usual,
                                             [this, number, refuses, done = std::move(done)] {
                                                 const auto handle = std::move(underWay_[number]);
                                                 underWay_.erase(number);
                                                 done(!refuses);
                                             });
    }

private:
    const MachineScript& script_;
    Scheduler& scheduler_;
    int asked_ = 0;
    std::map<int, Subscription> underWay_;
};

std::optional<std::string> valueAt(const std::map<std::string, std::string>& table,
                                   const std::string& key) {
    const auto found = table.find(key);
    return found == table.end() ? std::nullopt : std::optional(found->second);
}

} // namespace

void ScriptedSnapshots::start(std::function<void(const SystemSnapshot&)> handler) {
    handler_ = std::move(handler);
    started_ = true;
}

void ScriptedSnapshots::stop() {
    stopped_ = true;
}

void ScriptedSnapshots::deliver(const SystemSnapshot& snapshot) const {
    // A copy, since the handler may stop this source.
    const auto handler = handler_;
    if (handler && !stopped_) {
        handler(snapshot);
    }
}

std::optional<std::string> ScriptedMachine::teamID(const std::string& path) {
    return valueAt(script.teamIDs, path);
}

std::optional<std::string> ScriptedMachine::systemIdentifier(const std::string& path) {
    return valueAt(script.signingIDs, path);
}

bool ScriptedMachine::exists(std::uint32_t objectID) {
    return script.outputs.contains(objectID);
}

bool ScriptedMachine::setMuted(bool muted, std::uint32_t objectID) {
    const bool done = !script.outputMuteFails;
    if (onOutputMute) {
        onOutputMute(objectID, muted, done);
    }
    return done;
}

std::unique_ptr<AppClosing> ScriptedMachine::makeCloser(Scheduler& scheduler) {
    return std::make_unique<ScriptedCloser>(script, scheduler);
}

bool ScriptedMachine::isProtected(const AppIdentity& app) {
    return velmoran::isProtected(app, script.platform, script.ownBundleID);
}

std::optional<SystemProcess> ScriptedMachine::systemProcess(const AppIdentity& app) {
    const auto identifier = app.path ? systemIdentifier(*app.path) : std::nullopt;
    // The other platform's are no part of this system.
    return identifier ? SystemProcess::known(*identifier, script.platform == Platform::linux
                                                              ? SystemProcess::onLinux()
                                                              : SystemProcess::macOS())
                      : std::nullopt;
}

bool ScriptedMachine::isBrowser(const AppIdentity& app) {
    return script.platform == Platform::linux ? Browser::isBrowserOnLinux(app, script.browsers)
                                              : Browser::isBrowser(app, script.browsers);
}

void ScriptedMachine::restart() {
    snapshots_ = {};
    mute_ = std::make_unique<MicrophoneMute>(static_cast<InputControls&>(*this));
    arrived_.reset();
    waiting_.clear();
}

// MARK: - Microphones and peers

void ScriptedMachine::setMuted(bool muted, Answer done, Answer late) {
    if (!soundServerHangs_) {
        if (!muted && mutedByOthersAlone) {
            done(MuteAnswer{{}, true, true});
        } else {
            done({mute_->setMuted(muted)});
        }
        return;
    }
    waiting_.emplace_back(muted, std::move(late));
    MuteAnswer none;
    none.serverAnswered = false;
    for (const auto& input : inputs()) {
        none.unmutable.push_back(input.name);
    }
    done(none);
}

void ScriptedMachine::setSoundServerHangs(bool hangs) {
    soundServerHangs_ = hangs;
    if (hangs || waiting_.empty()) {
        return;
    }
    const auto [muted, late] = std::exchange(waiting_, {}).back();
    const auto outcome = mute_->setMuted(muted);
    if (late && outcome.mutedCount > 0) {
        late({outcome});
    }
}

Subscription ScriptedMachine::onArrival(std::function<void()> arrived) {
    arrived_ = std::make_shared<std::function<void()>>(std::move(arrived));
    return Subscription([mine = std::weak_ptr(arrived_)] {
        if (const auto callback = mine.lock()) {
            *callback = nullptr;
        }
    });
}

void ScriptedMachine::microphoneArrived() const {
    if (arrived_ && *arrived_) {
        (*arrived_)();
    }
}

std::vector<InputControls::Input> ScriptedMachine::inputs() {
    std::vector<Input> result;
    for (const auto& microphone : script.microphones) {
        result.push_back(
            {.objectID = static_cast<std::uint32_t>(result.size()), .name = microphone.name});
    }
    return result;
}

bool ScriptedMachine::setMuteSwitch(std::uint32_t objectID, bool) {
    return script.microphones.at(objectID).hasMute;
}

std::optional<float> ScriptedMachine::settableVolume(std::uint32_t objectID, int) {
    const auto volume = script.microphones.at(objectID).volume;
    return volume ? std::optional(static_cast<float>(*volume)) : std::nullopt;
}

bool ScriptedMachine::setVolume(std::uint32_t objectID, int, float volume) {
    script.microphones.at(objectID).volume = static_cast<double>(volume);
    return true;
}

void ScriptedMachine::ofApps(std::vector<AppIdentity> apps,
                             std::function<void(const Found&)> done) {
    if (onPeersAsked) {
        onPeersAsked(apps);
    }
    Found found;
    for (const auto& app : apps) {
        const auto peers = app.path ? script.connections.find(*app.path) : script.connections.end();
        if (peers != script.connections.end()) {
            found[app.id] = peers->second;
        }
    }
    done(found);
}

void ScriptedMachine::playWarning() {
    if (onSound) {
        onSound();
    }
}

} // namespace velmoran
