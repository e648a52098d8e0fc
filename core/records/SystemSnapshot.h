// What the probes hand over: one reading of the whole machine. Plain values; made on the monitor's
// thread, handed to the main thread by copy.
#pragma once

#include "core/base/Fields.h"
#include "core/records/Device.h"
#include "core/records/WatchGap.h"

#include <cstdint>

namespace velmoran {

/// An app as the platform names it.
struct AppRef {
    std::string name;                    ///< to show
    std::optional<std::string> bundleID; ///< never empty: an empty one is stored as absent
    std::optional<std::string> path;     ///< of the app, or of the executable if it has no bundle
    /// A process that can't honestly be named; its `bundleID` only tells it from others of its
    /// kind.
    bool unidentified = false;

    /// An unidentified process under that id, in the present words.
    static AppRef unidentifiedAs(std::string id);

    /// `bundleID` if present, otherwise `path` if present, otherwise `name`.
    const std::string& id() const;
    /// Two references with the same id are the same app, if both can be named or neither can.
    bool isSameApp(const AppRef& other) const {
        return id() == other.id() && unidentified == other.unidentified;
    }

    bool operator==(const AppRef&) const = default;
};

/// The device that sound goes to.
struct OutputDeviceInfo {
    enum class Kind { builtInSpeakers, headphones, other };

    std::uint32_t objectID = 0;
    std::string name; ///< or "Unknown device"
    Kind kind = Kind::other;
    std::optional<float> volume; ///< 0 to 1 as the device reports it; absent without such a control
    bool isMuted = false;

    bool operator==(const OutputDeviceInfo&) const = default;
};

constexpr std::array<std::string_view, 3> caseNames(OutputDeviceInfo::Kind) {
    return {"builtInSpeakers", "headphones", "other"};
}

struct SystemSnapshot {
    bool cameraOn = false;                    ///< at least one camera is running
    std::vector<std::string> cameraDevices;   ///< running cameras' names, equal names are kept
    std::vector<AppRef> cameraApps;           ///< whom the attribution names for the camera
    bool microphoneOn = false;                ///< at least one process runs audio input
    std::vector<AppRef> microphoneApps;       ///< who runs audio input, without duplicates
    std::vector<AppRef> microphoneAttributed; ///< whom the attribution names for the microphone
    bool speakerOn = false;                   ///< at least one process runs audio output
    std::vector<AppRef> speakerApps;          ///< who runs audio output, without duplicates
    std::optional<OutputDeviceInfo> output;   ///< the default output; absent when there is none
    std::vector<Device> unwatched;            ///< whose uses can't be seen now: not known to be off
    std::optional<WatchGap> lastGap; ///< when nobody looked; absent if that isn't known of any time

    /// Everything off, no output.
    static const SystemSnapshot& empty();

    /// All fields in order; arrays element by element, so another order is another snapshot.
    bool operator==(const SystemSnapshot&) const = default;
};

/// These three are exchanged by their field names, with a missing field read as its empty value, as
/// which `unidentified` isn't written; a name must stand in an AppRef, and nothing may stand that
/// is not a field.
void from_json(const Json& json, AppRef& ref);
void from_json(const Json& json, OutputDeviceInfo& output);
void from_json(const Json& json, SystemSnapshot& snapshot);

void visitFields(MaybeConst<AppRef> auto& ref, auto visit) {
    visit("name", ref.name);
    visit("bundleID", ref.bundleID);
    visit("path", ref.path);
    visit("unidentified", ref.unidentified, OnlyIfTrue());
}

void visitFields(MaybeConst<OutputDeviceInfo> auto& output, auto visit) {
    visit("objectID", output.objectID);
    visit("name", output.name);
    visit("kind", output.kind);
    visit("volume", output.volume);
    visit("isMuted", output.isMuted);
}

void visitFields(MaybeConst<SystemSnapshot> auto& snapshot, auto visit) {
    visit("cameraOn", snapshot.cameraOn);
    visit("cameraDevices", snapshot.cameraDevices);
    visit("cameraApps", snapshot.cameraApps);
    visit("microphoneOn", snapshot.microphoneOn);
    visit("microphoneApps", snapshot.microphoneApps);
    visit("microphoneAttributed", snapshot.microphoneAttributed);
    visit("speakerOn", snapshot.speakerOn);
    visit("speakerApps", snapshot.speakerApps);
    visit("output", snapshot.output);
    visit("unwatched", snapshot.unwatched, OnlyIfAny());
    visit("lastGap", snapshot.lastGap);
}

} // namespace velmoran

template <>
struct std::hash<velmoran::AppRef> : velmoran::FieldHash<velmoran::AppRef> {};
