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

struct SystemMonitor::State : std::enable_shared_from_this<SystemMonitor::State> {
    explicit State(MonitorReadings given) : readings(std::move(given)) {}

    /// Listeners are never removed and a posted action may outlast the monitor: that does nothing
    /// then.
    template <typename Action>
    auto whileAlive(Action action) {
        return [weak = weak_from_this(), action = std::move(action)](const auto&... arguments) {
            if (const auto state = weak.lock()) {
                action(*state, arguments...);
            }
        };
    }

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
        readings.attribution.start(whileAlive([](State& monitor, const AttributionTable& table) {
            monitor.readings.queue.post(monitor.whileAlive([table](State& state) {
                state.attributions = table;
                state.refresh();
            }));
        }));
        timer = readings.queue.every(pollInterval, [this] { refresh(); });
        // Behind what the attribution may have reported within its start: an app that is named from
        // the first is no app that has just turned something on.
        readings.queue.post(whileAlive([](State& state) { state.refresh(); }));
    }

    void listen(const ListenerAddress& address) {
        readings.listeners.add(address, whileAlive([](State& state) { state.refresh(); }));
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
        snapshot.unwatched = readings.unwatched();
        snapshot.lastGap = readings.lastGap();
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
    : state_(std::make_shared<State>(std::move(readings))) {}

SystemMonitor::~SystemMonitor() = default;

void SystemMonitor::start(std::function<void(const SystemSnapshot&)> handler) {
    state_->readings.queue.post(
        state_->whileAlive([handler = std::move(handler)](State& state) { state.start(handler); }));
}

void SystemMonitor::stop() {
    state_->readings.attribution.stop();
    state_->readings.queue.post(state_->whileAlive([](State& state) {
        state.timer.reset();
        state.handler = nullptr;
    }));
}

} // namespace velmoran
