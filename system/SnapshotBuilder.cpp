#include "system/SnapshotBuilder.h"

#include <algorithm>
#include <utility>

namespace velmoran {

namespace {

void addOnce(std::vector<AppRef>& apps, AppRef app) {
    const bool known = std::any_of(apps.begin(), apps.end(),
                                   [&](const AppRef& other) { return other.isSameApp(app); });
    if (!known) {
        apps.push_back(std::move(app));
    }
}

std::vector<AppRef> attributed(const AttributionTable& table, std::string_view key,
                               AppNames& names) {
    std::vector<AppRef> apps;
    if (const auto found = table.find(key); found != table.end()) {
        for (const auto& app : found->second) {
            addOnce(apps,
                    app.unidentified ? AppRef::unidentifiedAs(app.id) : names.ofBundleID(app.id));
        }
    }
    return apps;
}

} // namespace

SystemSnapshot buildSnapshot(const std::vector<AudioProcess>& processes,
                             const std::vector<CameraDeviceInfo>& cameras,
                             const AttributionTable& attributions,
                             std::optional<OutputDeviceInfo> output, AppNames& names) {
    SystemSnapshot snapshot;
    for (const auto& camera : cameras) {
        if (camera.isRunningSomewhere) {
            snapshot.cameraDevices.push_back(camera.name);
        }
    }
    snapshot.cameraOn = !snapshot.cameraDevices.empty();
    if (snapshot.cameraOn) {
        snapshot.cameraApps = attributed(attributions, "cam", names);
    }
    for (const auto& process : processes) {
        if (process.isRunningInput) {
            addOnce(snapshot.microphoneApps, names.ofProcess(process));
        }
    }
    if (!snapshot.microphoneApps.empty()) {
        snapshot.microphoneAttributed = attributed(attributions, "mic", names);
    }
    for (const auto& process : processes) {
        if (process.isRunningOutput) {
            addOnce(snapshot.speakerApps, names.ofProcess(process));
        }
    }
    snapshot.microphoneOn = !snapshot.microphoneApps.empty();
    snapshot.speakerOn = !snapshot.speakerApps.empty();
    snapshot.output = std::move(output);
    return snapshot;
}

} // namespace velmoran
