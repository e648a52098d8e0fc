// A machine whose readings a test sets by hand, with a queue that runs on the test's own thread.
#pragma once

#include "system/Machine.h"

#include <deque>
#include <list>
#include <memory>
#include <utility>

namespace velmoran::testing {

/// Actions wait until the test runs them; timers fire when the test says that time has passed.
class ManualQueue final : public SerialQueue {
public:
    void post(std::function<void()> action) override { waiting_.push_back(std::move(action)); }

    [[nodiscard]] Subscription every(Seconds interval, std::function<void()> action) override {
        auto timer = std::make_shared<Timer>(Timer{interval, interval, std::move(action)});
        timers_.push_back(timer);
        return Subscription([this, timer] { timers_.remove(timer); });
    }

    void run() {
        while (!waiting_.empty()) {
            const auto action = std::move(waiting_.front());
            waiting_.pop_front();
            action();
        }
    }

    void pass(Seconds time) {
        for (const auto& timer : std::list(timers_)) {
            for (timer->left -= time; timer->left <= 1e-9; timer->left += timer->interval) {
                timer->action();
            }
        }
        run();
    }

    std::size_t timers() const { return timers_.size(); }

private:
    struct Timer {
        Seconds interval;
        Seconds left;
        std::function<void()> action;
    };

    std::deque<std::function<void()>> waiting_;
    std::list<std::shared_ptr<Timer>> timers_;
};

struct FakeAudio final : AudioReadings {
    std::vector<AudioProcess> processList;
    std::vector<AudioDeviceInfo> deviceList;

    std::vector<AudioProcess> processes() override { return processList; }
    std::vector<AudioDeviceInfo> devices() override { return deviceList; }
};

struct FakeCameras final : CameraReadings {
    std::vector<CameraDeviceInfo> deviceList;

    std::vector<CameraDeviceInfo> devices() override { return deviceList; }
};

struct FakeOutputs final : OutputDevices {
    std::optional<OutputDeviceInfo> output;

    std::optional<OutputDeviceInfo> current() override { return output; }
    bool exists(std::uint32_t objectID) override { return output && output->objectID == objectID; }
    bool setMuted(bool, std::uint32_t) override { return false; }
};

struct FakeNames final : AppNames {
    std::map<std::int32_t, AppRef> byPid;
    std::map<std::string, AppRef> byBundleID;
    std::vector<std::string> asked; ///< every bundle identifier that was asked for, in order

    AppRef ofProcess(const AudioProcess& process) override {
        const auto found = byPid.find(process.pid);
        return found == byPid.end() ? AppRef{.name = "Unknown app", .bundleID = {}, .path = {}}
                                    : found->second;
    }
    AppRef ofBundleID(const std::string& bundleID) override {
        asked.push_back(bundleID);
        const auto found = byBundleID.find(bundleID);
        return found == byBundleID.end()
                   ? AppRef{.name = bundleID, .bundleID = bundleID, .path = {}}
                   : found->second;
    }
};

struct FakeAttribution final : Attribution {
    std::function<void(const AttributionTable&)> receiver;
    std::optional<AttributionTable> atStart; ///< reported within the start
    int starts = 0;
    int stops = 0;

    void start(std::function<void(const AttributionTable&)> given) override {
        receiver = std::move(given);
        ++starts;
        if (atStart) {
            receiver(*atStart);
        }
    }
    void stop() override { ++stops; }
};

struct FakeListeners final : PropertyListeners {
    std::vector<ListenerAddress> addresses;
    std::vector<std::function<void()>> callbacks;

    void add(const ListenerAddress& address, std::function<void()> onChange) override {
        addresses.push_back(address);
        callbacks.push_back(std::move(onChange));
    }
};

struct FakeReadings {
    ManualQueue queue;
    FakeAudio audio;
    FakeCameras cameras;
    FakeOutputs outputs;
    FakeNames names;
    FakeAttribution attribution;
    FakeListeners listeners;

    MonitorReadings readings() {
        return {queue, audio, cameras, outputs, names, attribution, listeners};
    }
};

} // namespace velmoran::testing
