// A machine that exists only on paper: it answers what a recording says and remembers what was done
// to it. For tests, replays and the demo. Owned by whoever plays the recording; one thread only.
#pragma once

#include "core/base/Observable.h"
#include "system/Machine.h"
#include "system/MicrophoneMute.h"
#include "system/scripted/MachineScript.h"
#include "system/scripted/ScriptedAway.h"

#include <functional>
#include <utility>
#include <vector>

namespace velmoran {

/// Delivers nothing by itself: whoever plays a recording hands its readings over.
class ScriptedSnapshots final : public SnapshotSource {
public:
    void start(std::function<void(const SystemSnapshot&)> handler) override;
    void stop() override;

    bool isStarted() const { return started_; }
    bool isStopped() const { return stopped_; }
    /// Hands a reading to the handler, as a monitor would; nothing before the start or after the
    /// stop, which is for good.
    void deliver(const SystemSnapshot& snapshot) const;

private:
    std::function<void(const SystemSnapshot&)> handler_;
    bool started_ = false;
    bool stopped_ = false;
};

class ScriptedMachine final : public Machine,
                              private CodeSignatures,
                              private OutputDevices,
                              private Sounds,
                              private Microphones,
                              private InputControls,
                              private Connections,
                              private Sight {
public:
    ScriptedMachine() = default;
    explicit ScriptedMachine(MachineScript answers) : script(std::move(answers)) {}

    Platform platform() const override { return script.platform; }
    std::optional<std::string> ownBundleID() const override { return script.ownBundleID; }
    ScriptedSnapshots& snapshots() override { return snapshots_; }
    CodeSignatures& signatures() override { return *this; }
    OutputDevices& outputs() override { return *this; }
    Sounds& sounds() override { return *this; }
    Microphones& microphones() override { return *this; }
    Connections& connections() override { return *this; }
    Sight& sight() override { return *this; }
    ScriptedAwayReadings& away() override { return away_; }
    ScriptedScreenLock& screenLock() override { return screenLock_; }
    std::unique_ptr<AppClosing> makeCloser(Scheduler& scheduler) override;
    bool isProtected(const AppIdentity& app) override;
    std::optional<SystemProcess> systemProcess(const AppIdentity& app) override;
    bool isBrowser(const AppIdentity& app) override;

    /// A process begins anew on the same machine: nothing is started and nothing remembered, all
    /// else stays as it is.
    void restart();
    /// Somebody plugs a microphone in; `script` has it already.
    void microphoneArrived() const;
    /// Another program unmutes a microphone under a mute; it is muted again at once.
    void microphoneUnmuted() const { unmuted_(); }
    /// Another program takes the view of the sound system away.
    void takeSight() const { sightTaken_(); }
    /// The sound server stops answering; or it wakes up and does what it was told meanwhile.
    void setSoundServerHangs(bool hangs);

    /// How long an app takes to close that the script says nothing of, and how long it takes to
    /// give one up that refuses.
    static constexpr Seconds usualCloseSeconds = 0.1;
    static constexpr Seconds closePatience = 3.5;

    MachineScript script;
    /// Nothing that is muted was muted by this program, as an unmute then says.
    bool mutedByOthersAlone = false;
    /// The default output, as the last reading had it.
    std::optional<OutputDeviceInfo> currentOutput;

    std::function<void()> onSound; ///< called whenever the warning sound is played
    /// Called whenever an output is to be muted or unmuted, with whether that worked.
    std::function<void(std::uint32_t objectID, bool muted, bool done)> onOutputMute;
    /// Called with the apps whose peers are asked for.
    std::function<void(const std::vector<AppIdentity>&)> onPeersAsked;

private:
    std::optional<std::string> teamID(const std::string& path) override;
    std::optional<std::string> systemIdentifier(const std::string& path) override;
    std::optional<OutputDeviceInfo> current() override { return currentOutput; }
    bool exists(std::uint32_t objectID) override;
    bool setMuted(bool muted, std::uint32_t objectID) override;
    void playWarning() override;
    void setMuted(bool muted, Answer done, Answer late) override;
    // A recording doesn't say who has muted what, so all is this program's to unmute.
    void recall(const std::optional<MutedPlaces>&, bool) override {}
    [[nodiscard]] Subscription
    onMutedHere(std::function<void(const std::optional<MutedPlaces>&)>) override {
        return {};
    }
    [[nodiscard]] Subscription onArrival(std::function<void()> arrived) override;
    [[nodiscard]] Subscription onUnmuted(std::function<void()> unmuted) override {
        return unmuted_.subscribe(std::move(unmuted));
    }
    [[nodiscard]] Subscription onTaken(std::function<void()> taken) override {
        return sightTaken_.subscribe(std::move(taken));
    }
    std::vector<Input> inputs() override;
    bool setMuteSwitch(std::uint32_t objectID, bool muted) override;
    int volumeElements() const override { return 1; }
    std::optional<float> settableVolume(std::uint32_t objectID, int element) override;
    bool setVolume(std::uint32_t objectID, int element, float volume) override;
    void ofApps(std::vector<AppIdentity> apps, std::function<void(const Found&)> done) override;

    ScriptedSnapshots snapshots_;
    std::unique_ptr<MicrophoneMute> mute_ =
        std::make_unique<MicrophoneMute>(static_cast<InputControls&>(*this));
    std::shared_ptr<std::function<void()>> arrived_; ///< while somebody wants to hear of it
    Event<> unmuted_;
    Event<> sightTaken_;
    ScriptedAwayReadings away_;
    ScriptedScreenLock screenLock_;
    bool soundServerHangs_ = false;
    std::vector<std::pair<bool, Answer>> waiting_; ///< wishes that the server hasn't taken yet
};

} // namespace velmoran
