#include "system/SystemMonitor.h"

#include "system/SnapshotBuilder.h"

#include <array>
#include <utility>

namespace velmoran {

namespace {
using Interface = ListenerAddress::Interface;

constexpr std::array<ListenerAddress, 4> systemListeners = {
    {{Interface::audio, systemObjectID, "prs#"},
     {Interface::audio, systemObjectID, "dev#"},
     {Interface::audio, systemObjectID, "dOut"},
     {Interface::camera, systemObjectID, "dev#"}}};
} // namespace

// Listeners are never removed and a posted action may outlast the monitor, so what they touch is
// held weakly.
struct SystemMonitor::State : std::enable_shared_from_this<SystemMonitor::State> {
    explicit State(MonitorReadings given) : readings(given) {}

    MonitorReadings readings;
    std::function<void(const SystemSnapshot&)> handler;
    std::optional<SystemSnapshot> last;
    Subscription timer;
    AttributionTable attributions;
    std::set<std::uint32_t> listenedAudioObjects;
    std::set<std::uint32_t> listenedCameras;
    bool started = false;

    void start(std::function<void(const SystemSnapshot&)> newHandler) {
        handler = std::move(newHandler);
        if (started) {
            return;
        }
        started = true;
        for (const auto& address : systemListeners) {
            listen(address);
        }
        readings.attribution.start([weak = weak_from_this()](const AttributionTable& table) {
            if (const auto self = weak.lock()) {
                self->readings.queue.post([weak, table] {
                    if (const auto state = weak.lock()) {
                        state->attributions = table;
                        state->refresh();
                    }
                });
            }
        });
        timer = readings.queue.every(pollInterval, [this] { refresh(); });
        // Behind what the attribution may have reported within its start: an app that is named from
        // the first is no app that has just turned something on.
        readings.queue.post([weak = weak_from_this()] {
            if (const auto state = weak.lock()) {
                state->refresh();
            }
        });
    }

    void listen(const ListenerAddress& address) {
        readings.listeners.add(address, [weak = weak_from_this()] {
            if (const auto self = weak.lock()) {
                self->refresh();
            }
        });
    }

    void refresh() {
        const auto processes = readings.audio.processes();
        const auto cameras = readings.cameras.devices();
        for (const auto& process : processes) {
            if (listenedAudioObjects.insert(process.objectID).second) {
                listen({Interface::audio, process.objectID, "piri"});
                listen({Interface::audio, process.objectID, "piro"});
            }
        }
        for (const auto& device : readings.audio.devices()) {
            if (listenedAudioObjects.insert(device.objectID).second) {
                listen({Interface::audio, device.objectID, "gone"});
            }
        }
        for (const auto& camera : cameras) {
            if (listenedCameras.insert(camera.objectID).second) {
                listen({Interface::camera, camera.objectID, "gone"});
            }
        }
        auto snapshot = buildSnapshot(processes, cameras, attributions, readings.outputs.current(),
                                      readings.names);
        if (last == snapshot) {
            return;
        }
        last = std::move(snapshot);
        if (handler) {
            handler(*last);
        }
    }
};

SystemMonitor::SystemMonitor(MonitorReadings readings)
    : state_(std::make_shared<State>(readings)) {}

SystemMonitor::~SystemMonitor() = default;

void SystemMonitor::start(std::function<void(const SystemSnapshot&)> handler) {
    state_->readings.queue.post([weak = std::weak_ptr(state_), handler = std::move(handler)] {
        if (const auto state = weak.lock()) {
            state->start(handler);
        }
    });
}

void SystemMonitor::stop() {
    state_->readings.attribution.stop();
    state_->readings.queue.post([weak = std::weak_ptr(state_)] {
        if (const auto state = weak.lock()) {
            state->timer.reset();
            state->handler = nullptr;
        }
    });
}

SystemSnapshot currentSnapshot(AudioReadings& audio, CameraReadings& cameras,
                               OutputDevices& outputs, AppNames& names) {
    return buildSnapshot(audio.processes(), cameras.devices(), {}, outputs.current(), names);
}

} // namespace velmoran
