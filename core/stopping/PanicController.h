// Ends all use of camera and microphone, or that of one app: mutes first, then closes the apps one
// after the other. Decides what to do with which app; how it is done stands behind two interfaces.
// Owned by the stop flow; main thread.
#pragma once

#include "core/records/UsageSession.h"
#include "core/stopping/StopResult.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace velmoran {

class MicrophoneMuting {
public:
    virtual ~MicrophoneMuting() = default;
    /// Mutes every microphone that can be muted. `done` is called once, on the caller's thread, in
    /// the call or later.
    virtual void mute(std::function<void(const MuteOutcome&)> done) = 0;
};

class AppClosing {
public:
    virtual ~AppClosing() = default;
    /// `done` is called once, on the caller's thread, in the call or later: true if the app is
    /// gone.
    virtual void close(const AppIdentity& app, std::function<void(bool gone)> done) = 0;
};

class PanicController {
public:
    using Completion = std::function<void(const StopResult&)>;
    /// Whether the system lives on an app, so that it is left alone.
    using Protection = std::function<bool(const AppIdentity&)>;

    /// What is handed over outlives the controller and whatever it has under way.
    PanicController(MicrophoneMuting& muter, AppClosing& closer, Protection isProtected);

    /// Everything but the speaker's sessions, and the mute even when nothing is open.
    void stopAll(const std::vector<UsageSession>& open, Completion done);
    /// These apps; mutes only if one of them uses the microphone.
    void stop(const std::vector<AppIdentity>& apps, const std::vector<UsageSession>& open,
              Completion done);

    /// On a Mac: this application itself, and what lies in the system's own folders.
    static bool isProtected(const AppIdentity& app, const std::optional<std::string>& ownBundleID);

private:
    void run(std::vector<UsageSession> sessions, bool muteMicrophone, Completion done);

    MicrophoneMuting& muter_;
    AppClosing& closer_;
    Protection isProtected_;
};

} // namespace velmoran
