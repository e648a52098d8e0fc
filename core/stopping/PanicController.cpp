#include "core/stopping/PanicController.h"

#include <algorithm>
#include <array>
#include <memory>
#include <set>
#include <string_view>
#include <utility>

namespace velmoran {

namespace {

/// One stop under way. Each step keeps it alive until the last one has answered.
struct Stop : std::enable_shared_from_this<Stop> {
    std::vector<UsageSession> sessions;
    PanicController::Protection isProtected;
    AppClosing* closer = nullptr;
    PanicController::Completion done;
    StopResult result;
    std::set<std::string> seen;
    std::size_t next = 0;

    void closeRest() {
        for (; next < sessions.size(); ++next) {
            const AppIdentity app = sessions[next].app;
            if (app.cannotBeNamed()) {
                if (result.unknownOn.empty()) {
                    noteUnknown();
                }
                continue;
            }
            if (!seen.insert(app.id).second) {
                continue;
            }
            if (isProtected(app)) {
                result.protectedApps.push_back(app);
                continue;
            }
            ++next;
            closer->close(app, [self = shared_from_this(), app](bool gone) {
                self->noteClosed(app, gone);
                self->closeRest();
            });
            return;
        }
        done(result);
    }

    void noteUnknown() {
        for (const auto& session : sessions) {
            if (session.app.cannotBeNamed()) {
                result.unknownOn.push_back(session.device);
            }
        }
    }

    void noteClosed(const AppIdentity& app, bool gone) {
        if (!gone) {
            result.notClosed.push_back(app);
            return;
        }
        result.closed.push_back(app);
        for (const auto& session : sessions) {
            if (session.app.isSameApp(app)) {
                result.stoppedSessionIDs.insert(session.id);
            }
        }
    }
};

} // namespace

PanicController::PanicController(MicrophoneMuting& muter, AppClosing& closer,
                                 Protection isProtected)
    : muter_(muter),
      closer_(closer),
      isProtected_(std::move(isProtected)) {}

void PanicController::stopAll(const std::vector<UsageSession>& open, Completion done) {
    auto sessions = open;
    std::erase_if(sessions, [](const auto& each) { return each.device == Device::speaker; });
    run(std::move(sessions), true, std::move(done));
}

void PanicController::stop(const std::vector<AppIdentity>& apps,
                           const std::vector<UsageSession>& open, Completion done) {
    auto sessions = open;
    std::erase_if(sessions, [&](const auto& each) {
        return each.device == Device::speaker || !each.app.isAmong(apps);
    });
    const bool onMicrophone = std::any_of(sessions.begin(), sessions.end(), [](const auto& each) {
        return each.device == Device::microphone;
    });
    run(std::move(sessions), onMicrophone, std::move(done));
}

void PanicController::run(std::vector<UsageSession> sessions, bool muteMicrophone,
                          Completion done) {
    const auto stop = std::make_shared<Stop>();
    stop->sessions = std::move(sessions);
    stop->isProtected = isProtected_;
    stop->closer = &closer_;
    stop->done = std::move(done);
    if (!muteMicrophone) {
        stop->closeRest();
        return;
    }
    // First of all, so that the microphone is quiet before any slow closing.
    muter_.mute([stop](const MuteOutcome& outcome) {
        stop->result.microphoneMuted = outcome.mutedCount >= 1;
        stop->result.unmutableMicrophones = outcome.unmutable;
        stop->closeRest();
    });
}

bool PanicController::isProtected(const AppIdentity& app,
                                  const std::optional<std::string>& ownBundleID) {
    if (ownBundleID && app.bundleID && *app.bundleID == *ownBundleID) {
        return true;
    }
    constexpr std::array<std::string_view, 5> places = {"/System/Library/", "/usr/", "/sbin/",
                                                        "/bin/", "/Library/Apple/"};
    return app.path && std::any_of(places.begin(), places.end(), [&](std::string_view place) {
               return app.path->starts_with(place);
           });
}

} // namespace velmoran
