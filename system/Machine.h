// Everything that the program asks of the machine it runs on, as narrow interfaces: one per thing
// in the world, each a door with no decisions behind it. A caller takes the least it needs. Two
// machines stand behind it: Linux, and a scripted one for tests, replays and the demo; the Mac's is
// to come.
#pragma once

#include "core/base/Scheduler.h"
#include "core/base/Subscription.h"
#include "core/records/AppIdentity.h"
#include "core/records/MicrophonePlace.h"
#include "core/records/SystemSnapshot.h"
#include "core/sessions/SystemProcess.h"
#include "core/stopping/PanicController.h"
#include "system/AwayReadings.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velmoran {

/// One client process of the audio system.
struct AudioProcess {
    std::uint32_t objectID = 0;          ///< the audio object of the process
    std::int32_t pid = 0;                ///< 0 if it couldn't be read
    std::optional<std::string> bundleID; ///< as the audio system reports it
    bool isRunningInput = false;
    bool isRunningOutput = false;

    bool operator==(const AudioProcess&) const = default;
};

/// One audio device.
struct AudioDeviceInfo {
    std::uint32_t objectID = 0;
    std::string name; ///< or "Unknown device"
    bool hasInput = false;
    bool hasOutput = false;
    bool isRunningSomewhere = false;

    bool operator==(const AudioDeviceInfo&) const = default;
};

/// One camera.
struct CameraDeviceInfo {
    std::uint32_t objectID = 0;
    std::string name; ///< or "Unknown camera"
    bool isRunningSomewhere = false;

    bool operator==(const CameraDeviceInfo&) const = default;
};

/// Whom a report names: by an app's identifier, or by what tells an unidentified process from
/// others.
struct AttributedApp {
    std::string id;
    bool unidentified = false;

    AttributedApp() = default;
    AttributedApp(const char* identifier) : id(identifier) {}
    AttributedApp(std::string identifier) : id(std::move(identifier)) {}
    explicit AttributedApp(const AppRef& app) : id(app.id()), unidentified(app.unidentified) {}

    bool operator==(const AttributedApp&) const = default;
};

/// A camera and who uses it, from a source that knows both.
struct CameraUse {
    CameraDeviceInfo device;
    std::vector<AttributedApp> apps; ///< in order of opening, those that can't be named among them;
                                     ///< empty while nobody is known to use it

    bool operator==(const CameraUse&) const = default;
};

/// From "cam" and "mic" (other keys are kept and ignored) to apps, in the order of the report,
/// duplicates included. An empty table is a report that nobody is named.
using AttributionTable = std::map<std::string, std::vector<AttributedApp>, std::less<>>;

/// Lists are in the order of the system's object list; what can't be read is empty, false or its
/// default text. Cheap: called on every refresh, on the monitor's queue.
class AudioReadings {
public:
    virtual ~AudioReadings() = default;
    virtual std::vector<AudioProcess> processes() = 0;
    virtual std::vector<AudioDeviceInfo> devices() = 0;
};

class CameraReadings {
public:
    virtual ~CameraReadings() = default;
    virtual std::vector<CameraDeviceInfo> devices() = 0;
};

class OutputDevices {
public:
    virtual ~OutputDevices() = default;
    /// The default output; nothing when there is none. Monitor's queue.
    virtual std::optional<OutputDeviceInfo> current() = 0;
    /// Whether that audio device is connected now. Main thread.
    virtual bool exists(std::uint32_t objectID) = 0;
    /// True if the write took place. Main thread.
    virtual bool setMuted(bool muted, std::uint32_t objectID) = 0;
};

/// Names apps. What can't be found out is named by the fallbacks of the implementation, never by
/// an error. Monitor's queue.
class AppNames {
public:
    virtual ~AppNames() = default;
    virtual AppRef ofProcess(const AudioProcess& process) = 0;
    virtual AppRef ofBundleID(const std::string& bundleID) = 0;
};

/// Reports from the system about who uses camera and microphone, beside the list of processes.
class Attribution {
public:
    virtual ~Attribution() = default;
    /// Returns at once. The receiver is called on a queue of the implementation's own.
    virtual void start(std::function<void(const AttributionTable&)> receiver) = 0;
    /// Returns when no further call of the receiver can come.
    virtual void stop() = 0;
};

/// Which object a listener is for, as the platform addresses it.
struct ListenerAddress {
    enum class Interface { audio, camera };

    Interface interface = Interface::audio;
    std::uint32_t objectID = 0;
    std::string_view selector; ///< four characters: "prs#", "dev#", "dOut", "piri", "piro", "gone"

    bool operator==(const ListenerAddress&) const = default;
};

/// The object that stands for the whole audio or camera system.
inline constexpr std::uint32_t systemObjectID = 1;

class PropertyListeners {
public:
    virtual ~PropertyListeners() = default;
    /// `onChange` is called on the monitor's queue whenever that property may have changed, from
    /// now on for good. There is no removal and no error.
    virtual void add(const ListenerAddress& address, std::function<void()> onChange) = 0;
};

/// One serial thread of work.
class SerialQueue {
public:
    virtual ~SerialQueue() = default;
    /// From any thread; in the order of posting.
    virtual void post(std::function<void()> action) = 0;
    /// On the queue. The first call comes after one interval; dropping the handle, on the queue
    /// too, ends it.
    [[nodiscard]] virtual Subscription every(Seconds interval, std::function<void()> action) = 0;
};

/// What a monitor of the machine's devices stands on.
struct MonitorReadings {
    SerialQueue& queue;
    AudioReadings& audio;
    CameraReadings& cameras;
    OutputDevices& outputs;
    AppNames& names;
    Attribution& attribution;
    PropertyListeners& listeners;
    /// Whose uses can't be seen now.
    std::function<std::vector<Device>()> unwatched = [] {
        return std::vector<Device>();
    };
    /// Told that the machine is being looked at; says when it last wasn't.
    std::function<std::optional<WatchGap>()> lastGap = [] {
        return std::optional<WatchGap>();
    };
};

/// Where readings of the whole machine come from.
class SnapshotSource {
public:
    virtual ~SnapshotSource() = default;
    /// Returns at once. The handler is called on a thread of the source's own with each reading
    /// that differs from the last; a second start only replaces it.
    virtual void start(std::function<void(const SystemSnapshot&)> handler) = 0;
    /// For good. Returns when no report of who uses what can come any more.
    virtual void stop() = 0;
};

/// What is known of the origin of code. Both may take long the first time they see a path.
class CodeSignatures {
public:
    virtual ~CodeSignatures() = default;
    /// Who made or installed the code at that path; nothing if that can't be relied on. Not cached.
    virtual std::optional<std::string> teamID(const std::string& path) = 0;
    /// Under which identifier the operating system's own code stands; nothing for all other files.
    /// Cached for good, the negative answer too. Any thread.
    virtual std::optional<std::string> systemIdentifier(const std::string& path) = 0;
};

class Sounds {
public:
    virtual ~Sounds() = default;
    /// The one sound of the program: a strong warning. Returns at once.
    virtual void playWarning() = 0;
};

/// What a call to all microphones came to.
struct MuteAnswer : MuteOutcome {
    /// False if the sound server is away or was silent for too long: then nobody knows which
    /// microphones there are, or what becomes of them.
    bool serverAnswered = true;
    /// Of an unmute: no microphone was muted by this program, so there was nothing to take back.
    bool hadNothing = false;

    bool operator==(const MuteAnswer&) const = default;
};

/// All microphones of the machine at once.
class Microphones {
public:
    using Answer = std::function<void(const MuteAnswer&)>;

    virtual ~Microphones() = default;
    /// Mutes every device with input, by its switch, else by its volume, or unmutes those that this
    /// program has muted; which had been muted before stays so. Doesn't block; calls take effect in
    /// their order. `done` is called once, in the call or later and then on
    /// any thread, within two seconds whatever the sound server does. A server that is silent or
    /// away until then gets the last call's wish when it speaks again; if a device then is as
    /// wanted after all, `late`, which may be empty, is called once on any thread. Main thread.
    virtual void setMuted(bool muted, Answer done, Answer late) = 0;
    /// What an earlier run, or another program that shares the settings, has muted and not unmuted
    /// counts as muted by this one, too. Nothing: that was lost, and all microphones count as such
    /// until they are unmuted, as they do before the first call. `stands`: the mute goes on. Main
    /// thread.
    virtual void recall(const std::optional<MutedPlaces>& muted, bool stands) = 0;
    /// `changed` is called on any thread with what is to be recalled by the next run, whenever it
    /// has become something else, for as long as the handle is kept; of a mute after its answer.
    /// Main thread.
    [[nodiscard]] virtual Subscription
    onMutedHere(std::function<void(const std::optional<MutedPlaces>&)> changed) = 0;
    /// `arrived` is called on any thread whenever a device with input has appeared, for as long as
    /// the handle is kept; not for those that are there already. Main thread.
    [[nodiscard]] virtual Subscription onArrival(std::function<void()> arrived) = 0;
    /// `unmuted` is called on any thread whenever somebody else has unmuted a device under the mute
    /// of the last call, for as long as the handle is kept. By then it is being muted again. Main
    /// thread.
    [[nodiscard]] virtual Subscription onUnmuted(std::function<void()> unmuted) = 0;
};

/// What this program sees of the sound system, and whether others leave it that.
class Sight {
public:
    virtual ~Sight() = default;
    /// `taken` is called on any thread each time something has taken the view of the sound system
    /// away from this program, for as long as the handle is kept. It is had back by itself. Main
    /// thread.
    [[nodiscard]] virtual Subscription onTaken(std::function<void()> taken) = 0;
};

/// The remote end of a socket.
struct Connection {
    std::string address; ///< as printed
    std::uint16_t port = 0;
    std::string transport; ///< "TCP" or "UDP"

    auto operator<=>(const Connection&) const = default;
};

class Connections {
public:
    using Found = std::map<std::string, std::vector<Connection>>; ///< by AppIdentity::id

    virtual ~Connections() = default;
    /// The peers of all processes of each app, sorted by address and then port, without duplicates
    /// and without loopback. Doesn't block; `done` is called once, in the call or later and then on
    /// any thread. Main thread.
    virtual void ofApps(std::vector<AppIdentity> apps, std::function<void(const Found&)> done) = 0;
};

enum class Platform { macOS, linux };

class Machine {
public:
    virtual ~Machine() = default;
    /// For the words alone: whatever is decided asks one of the others.
    virtual Platform platform() const = 0;
    /// This application's own identifier; nothing when it has none.
    virtual std::optional<std::string> ownBundleID() const = 0;
    virtual SnapshotSource& snapshots() = 0;
    virtual CodeSignatures& signatures() = 0;
    virtual OutputDevices& outputs() = 0;
    virtual Sounds& sounds() = 0;
    virtual Microphones& microphones() = 0;
    virtual Connections& connections() = 0;
    virtual Sight& sight() = 0;
    virtual AwayReadings& away() = 0;
    virtual ScreenLock& screenLock() = 0;
    /// Ends apps, politely and then by force. The scheduler is the main thread's and outlives it.
    virtual std::unique_ptr<AppClosing> makeCloser(Scheduler& scheduler) = 0;
    /// Whether the session or the system stands on that app, so that it is never closed. Main
    /// thread.
    virtual bool isProtected(const AppIdentity& app) = 0;
    /// Which part of the system an app is, if it uses sound for reasons of the system's own;
    /// nothing for all other apps. By its path alone. Main thread.
    virtual std::optional<SystemProcess> systemProcess(const AppIdentity& app) = 0;
    /// Those reasons.
    std::optional<SystemProcess::Role> roleOf(const AppIdentity& app) {
        const auto process = systemProcess(app);
        return process ? std::optional(process->role) : std::nullopt;
    }
    /// Whether to close it is to lose pages, by what is registered for web links at this moment and
    /// by what is known of browsers. Main thread.
    virtual bool isBrowser(const AppIdentity& app) = 0;
    /// The picture of an app: a name of the desktop's icon theme or an absolute path. Nothing if
    /// the platform draws it from the app's path, or there is none. Any thread.
    virtual std::optional<std::string> iconName(const AppRef&) { return std::nullopt; }
};

} // namespace velmoran
