// The Linux desktop as a machine: puts the readings of the sound server, of cameras and sound cards
// that are opened directly, of the output and of app names together. Owned by whoever runs the
// program; made and destroyed on the main thread, read on a thread of its own.
#pragma once

#include "core/base/SharedEvent.h"
#include "system/GapWatch.h"
#include "system/MakeMachine.h"
#include "system/SystemMonitor.h"
#include "system/linux/apps/LinuxAppNames.h"
#include "system/linux/apps/LinuxCodeSignatures.h"
#include "system/linux/apps/ProcessFinder.h"
#include "system/linux/away/LinuxAwayReadings.h"
#include "system/linux/away/LinuxScreenLock.h"
#include "system/linux/bus/BusKeeper.h"
#include "system/linux/clients/PeerSockets.h"
#include "system/linux/kernel/EventLoop.h"
#include "system/linux/kernel/TimeStampFile.h"
#include "system/linux/peers/LinuxConnections.h"
#include "system/linux/pulse/PulseContext.h"
#include "system/linux/pulse/PulseMicrophones.h"
#include "system/linux/pulse/PulseOutputs.h"

#include <memory>
#include <optional>
#include <string>

namespace velmoran {

class LinuxReadings;

class LinuxMachine final : public Machine {
public:
    /// Returns when the first picture of the sound server is there, or there is none. Throws
    /// std::system_error or std::runtime_error if the kernel denies it a thread or a descriptor.
    explicit LinuxMachine(MachineOptions options);
    ~LinuxMachine() override;

    Platform platform() const override { return Platform::linux; }
    std::optional<std::string> ownBundleID() const override { return "org.velmoran.Velmoran"; }
    SnapshotSource& snapshots() override { return *monitor_; }
    CodeSignatures& signatures() override { return signatures_; }
    OutputDevices& outputs() override { return outputs_; }
    Sounds& sounds() override { return *sounds_; }
    Microphones& microphones() override { return microphones_; }
    Connections& connections() override { return connections_; }
    Sight& sight() override { return sight_; }
    AwayReadings& away() override { return away_; }
    ScreenLock& screenLock() override { return screenLock_; }
    std::unique_ptr<AppClosing> makeCloser(Scheduler& scheduler) override;
    bool isProtected(const AppIdentity& app) override;
    std::optional<SystemProcess> systemProcess(const AppIdentity& app) override;
    bool isBrowser(const AppIdentity& app) override;
    std::optional<std::string> iconName(const AppRef& app) override { return names_.iconName(app); }

private:
    struct SoundSight final : Sight {
        SharedEvent<> taken; ///< on the loop's thread, and on the context's
        Subscription onTaken(std::function<void()> callback) override {
            return taken.subscribe(std::move(callback));
        }
    };

    std::unique_ptr<Sounds> sounds_;
    LinuxCodeSignatures signatures_;
    LinuxAppNames names_;
    const ProcessFinder processes_;
    const std::string display_;
    PeerSockets peers_;
    PulseContext pulse_;
    TimeStampFile lastLook_;
    GapWatch gaps_; ///< on the loop's thread
    EventLoop loop_;
    PulseOutputs outputs_;
    PulseMicrophones microphones_;
    LinuxConnections connections_;
    SoundSight sight_;
    BusKeeper systemBus_;  ///< connected from when somebody wants something of it
    BusKeeper sessionBus_; ///< likewise
    LinuxAwayReadings away_;
    LinuxScreenLock screenLock_;
    Subscription pulseSight_;
    std::unique_ptr<LinuxReadings> readings_; ///< its cameras and cards live on the loop's thread
    std::unique_ptr<SystemMonitor> monitor_;
};

} // namespace velmoran
