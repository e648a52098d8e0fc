// Who uses camera, microphone and speaker on this machine, from all sources at once: the sound
// server's graph, or a server's streams where none has a graph, and the device nodes that programs
// open past it. Owned by the machine; all readings on the loop's thread.
#pragma once

#include "system/Machine.h"
#include "system/linux/nodes/AlsaHolders.h"
#include "system/linux/nodes/V4l2Cameras.h"
#include "system/linux/pipewire/PipeWireGraph.h"
#include "system/linux/pulse/PulseSources.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace velmoran {

class LinuxReadings : private AudioReadings, private Attribution, private PropertyListeners {
public:
    struct Seams {
        EventLoop& loop;
        ProcessNaming& naming;
        SocketFacts& sockets;
        PulseContext& pulse;
        /// Told on the loop's thread which node sound goes to by default; empty: not known.
        std::function<void(const std::string&)> defaultOutput = {};
        /// Told on the loop's thread that something has taken the view of the sound system away.
        std::function<void()> sightTaken = {};
    };

    /// How long the graph's server has to be away before one without a graph is asked: PipeWire
    /// speaks libpulse too, and must not be heard by half while it only restarts.
    static constexpr Seconds patienceWithGraph = 8.0;
    /// How long the constructor waits to learn what is going on already.
    static constexpr Seconds firstPicture = 0.5;

    /// `deviceFolder`: where camera nodes stand; another one than /dev is taken as it is, without
    /// udev. Any thread; waits for the loop's.
    LinuxReadings(Seams seams, const std::string& deviceFolder);
    ~LinuxReadings() override;
    LinuxReadings(const LinuxReadings&) = delete;
    LinuxReadings& operator=(const LinuxReadings&) = delete;

    AudioReadings& audio() { return *this; }
    CameraReadings& cameras() { return cameras_; }
    /// Of cameras alone: on Linux it is known at once who listens.
    Attribution& attribution() { return *this; }
    PropertyListeners& listeners() { return *this; }

    /// Whose uses can't be seen: the microphone's without a sound server, the camera's while one
    /// can't be watched. The loop's thread.
    std::vector<Device> unwatched() const;

    /// Something beside these readings has changed that a snapshot shows. The loop's thread.
    void noteChange() { changed(); }

private:
    struct Cameras final : CameraReadings {
        const LinuxReadings& all;
        explicit Cameras(const LinuxReadings& owner) : all(owner) {}
        std::vector<CameraDeviceInfo> devices() override;
    };

    std::vector<AudioProcess> processes() override;
    std::vector<AudioDeviceInfo> devices() override;
    void start(std::function<void(const AttributionTable&)> receiver) override;
    void stop() override;
    void add(const ListenerAddress& address, std::function<void()> onChange) override;

    std::vector<CameraUse> cameraUses() const;
    AttributionTable attributionTable() const;
    void changed();
    void awaitStreams();
    void useStreams();
    void graphServerChanged();

    Seams seams_;
    Cameras cameras_{*this};
    std::unique_ptr<PipeWireGraph> graph_;
    std::unique_ptr<V4l2Cameras> directCameras_;
    std::unique_ptr<AlsaHolders> directCards_;
    std::unique_ptr<PulseSources> streams_; ///< while there is no graph
    Subscription graphChanges_;
    Subscription graphServer_;
    Subscription defaultOutput_;
    Subscription sightTaken_;
    Subscription patience_;

    std::function<void(const AttributionTable&)> receiver_;
    std::function<void()> onChange_;
    AttributionTable lastTable_;
};

} // namespace velmoran
