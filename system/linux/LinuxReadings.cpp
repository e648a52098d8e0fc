#include "system/linux/LinuxReadings.h"

#include "system/SoundServer.h"
#include "system/linux/apps/ServingPrograms.h"

#include <chrono>
#include <future>
#include <utility>

#include <unistd.h>

namespace velmoran {

LinuxReadings::LinuxReadings(Seams seams, const std::string& deviceFolder) : seams_(seams) {
    graph_ = std::make_unique<PipeWireGraph>(seams_.loop, seams_.naming, seams_.sockets);
    seams_.loop.runAndWait([this, &deviceFolder] {
        const auto serves = [](pid_t pid) {
            return servesOthers(pid, ProcFs());
        };
        V4l2Cameras::Places places;
        places.devices.deviceFolder = deviceFolder;
        places.devices.udev = deviceFolder == "/dev";
        directCameras_ = std::make_unique<V4l2Cameras>(seams_.loop, seams_.naming, serves, places);
        directCards_ = std::make_unique<AlsaHolders>(seams_.loop, seams_.naming, serves,
                                                     AlsaHolders::Places{});
        lastTable_ = attributionTable();
        graphChanges_ = graph_->onChange([this] { changed(); });
        if (seams_.defaultOutput) {
            defaultOutput_ = graph_->onDefaultOutput(seams_.defaultOutput);
        }
        if (seams_.sightTaken) {
            sightTaken_ = graph_->onSightTaken(seams_.sightTaken);
        }
        graphServer_ = graph_->onServerChange([this] { graphServerChanged(); });
        directCameras_->onChange([this] { changed(); });
        directCards_->onChange([this] { changed(); });
    });
    awaitStreams();
}

LinuxReadings::~LinuxReadings() {
    seams_.loop.runAndWait([this] {
        graphChanges_.reset();
        defaultOutput_.reset();
        sightTaken_.reset();
        graphServer_.reset();
        patience_.reset();
        streams_.reset();
        directCards_.reset();
        directCameras_.reset();
        receiver_ = nullptr;
        onChange_ = nullptr;
    });
    graph_.reset();
}

void LinuxReadings::awaitStreams() {
    const auto firstList = std::make_shared<std::promise<void>>();
    bool isWaiting = false;
    seams_.loop.runAndWait([&] {
        if (graph_->isConnected()) {
            return;
        }
        useStreams();
        isWaiting = soundServerAnswers();
        streams_->onChange([this, firstList, first = true]() mutable {
            if (std::exchange(first, false)) {
                firstList->set_value();
            }
            changed();
        });
    });
    if (isWaiting) {
        firstList->get_future().wait_for(std::chrono::duration<double>(firstPicture));
    }
}

void LinuxReadings::useStreams() {
    streams_ =
        std::make_unique<PulseSources>(seams_.pulse, seams_.loop, seams_.sockets, seams_.naming,
                                       PulseContext::socketPath({}).value_or(std::string()));
    streams_->onChange([this] { changed(); });
    streams_->onSightTaken(seams_.sightTaken);
}

void LinuxReadings::graphServerChanged() {
    if (graph_->isConnected()) {
        patience_.reset();
        streams_.reset();
        changed();
    } else {
        changed();
        patience_ = seams_.loop.after(patienceWithGraph, [this] { useStreams(); });
    }
}

std::vector<Device> LinuxReadings::unwatched() const {
    std::vector<Device> devices;
    if (!directCameras_->watchesAll()) {
        devices.push_back(Device::camera);
    }
    if (!graph_->isConnected() && !(streams_ && streams_->isConnected())) {
        devices.push_back(Device::microphone);
    }
    return devices;
}

std::vector<AudioProcess> LinuxReadings::processes() {
    graph_->checkSight();
    auto processes = graph_->processes();
    if (streams_) {
        const auto streams = streams_->processes();
        processes.insert(processes.end(), streams.begin(), streams.end());
    }
    const auto direct = directCards_->processes();
    processes.insert(processes.end(), direct.begin(), direct.end());
    // The warning sound is this program's own and nobody's business.
    for (auto& process : processes) {
        if (process.pid == ::getpid()) {
            process.isRunningOutput = false;
        }
    }
    return processes;
}

std::vector<AudioDeviceInfo> LinuxReadings::devices() {
    auto devices = graph_->devices();
    if (streams_) {
        const auto more = streams_->devices();
        devices.insert(devices.end(), more.begin(), more.end());
    }
    return devices;
}

std::vector<CameraUse> LinuxReadings::cameraUses() const {
    auto uses = graph_->cameras();
    const auto direct = directCameras_->cameras();
    uses.insert(uses.end(), direct.begin(), direct.end());
    return uses;
}

std::vector<CameraDeviceInfo> LinuxReadings::Cameras::devices() {
    std::vector<CameraDeviceInfo> devices;
    for (const auto& use : all.cameraUses()) {
        devices.push_back(use.device);
    }
    return devices;
}

AttributionTable LinuxReadings::attributionTable() const {
    AttributionTable table;
    for (const auto& use : cameraUses()) {
        for (const auto& app : use.apps) {
            table["cam"].push_back(app);
        }
    }
    return table;
}

void LinuxReadings::start(std::function<void(const AttributionTable&)> receiver) {
    receiver_ = std::move(receiver);
    lastTable_ = attributionTable();
    if (!lastTable_.empty()) {
        receiver_(lastTable_);
    }
}

void LinuxReadings::stop() {
    seams_.loop.runAndWait([this] { receiver_ = nullptr; });
}

void LinuxReadings::add(const ListenerAddress& address, std::function<void()> onChange) {
    // Every listener runs the same refresh, and a change of anything is one change here.
    if (address.objectID == systemObjectID && !onChange_) {
        onChange_ = std::move(onChange);
    }
}

void LinuxReadings::changed() {
    auto table = attributionTable();
    if (receiver_ && table != lastTable_) {
        // The receiver's refresh takes everything else along; a refresh before it would show a
        // camera that nobody uses.
        lastTable_ = std::move(table);
        receiver_(lastTable_);
    } else if (onChange_) {
        onChange_();
    }
}

} // namespace velmoran
