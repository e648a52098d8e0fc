// The part of the model that stops: what is asked before, what is done, and what is told after.
#include "app/model/AppModel.h"

#include "app/model/StopTools.h"
#include "app/notices/NoticeWording.h"

#include <algorithm>
#include <utility>

namespace velmoran {

void AppModel::stopEverything() {
    if (isBusyStopping()) {
        return;
    }
    const auto browsers = openBrowsers();
    askAbout(browsers, true, [this, browsers](BrowserAnswer answer) {
        if (answer == BrowserAnswer::cancel) {
            onStopEnded(std::nullopt);
            return;
        }
        // What the user was not asked about isn't closed either: a browser may have come since.
        auto spared = *settings.confirmClosingBrowser ? openBrowsers() : std::vector<AppIdentity>();
        if (answer == BrowserAnswer::close) {
            std::erase_if(spared, [&](const AppIdentity& app) {
                return std::find(browsers.begin(), browsers.end(), app) != browsers.end();
            });
        }
        auto open = engine_.open();
        std::erase_if(open, [&](const UsageSession& session) {
            return std::find(spared.begin(), spared.end(), session.app) != spared.end();
        });
        run([this, open = std::move(open)](
                PanicController::Completion done) { panic_.stopAll(open, std::move(done)); },
            [this] { stopEverything(); });
    });
}

void AppModel::stop(const AppIdentity& app) {
    if (isBusyStopping()) {
        return;
    }
    std::vector<AppIdentity> browsers;
    if (Browser::isBrowser(app, around_.machine.browsers())) {
        browsers.push_back(app);
    }
    askAbout(browsers, false, [this, app](BrowserAnswer answer) {
        if (answer == BrowserAnswer::close) {
            run(
                [this, app](PanicController::Completion done) {
                    panic_.stop(app, engine_.open(), std::move(done));
                },
                [this, app] { stop(app); });
        } else {
            onStopEnded(std::nullopt);
        }
    });
}

/// Apps with open sessions that are browsers by what is registered now, each once.
std::vector<AppIdentity> AppModel::openBrowsers() const {
    const auto installed = around_.machine.browsers();
    std::vector<AppIdentity> browsers;
    for (const auto& session : engine_.open()) {
        if (session.device != Device::speaker && Browser::isBrowser(session.app, installed) &&
            std::find(browsers.begin(), browsers.end(), session.app) == browsers.end()) {
            browsers.push_back(session.app);
        }
    }
    return browsers;
}

void AppModel::askAbout(const std::vector<AppIdentity>& browsers, bool offerKeep,
                        const std::function<void(BrowserAnswer)>& decide) {
    if (!*settings.confirmClosingBrowser || browsers.empty()) {
        decide(BrowserAnswer::close);
        return;
    }
    BrowserQuestion question;
    question.keepOffered = offerKeep;
    for (const auto& browser : browsers) {
        question.browsers.push_back(browser.name);
    }
    isAsking_ = true;
    around_.askAboutBrowsers(
        question, [this, alive = std::weak_ptr(alive_), offerKeep, decide](BrowserAnswer answer) {
            if (alive.expired()) {
                return;
            }
            isAsking_ = false;
            decide(answer == BrowserAnswer::keep && !offerKeep ? BrowserAnswer::cancel : answer);
        });
}

void AppModel::run(const Stopping& stopping, std::function<void()> retry) {
    isStopping.set(true);
    stopping(
        [this, alive = std::weak_ptr(alive_), retry = std::move(retry)](const StopResult& result) {
            if (!alive.expired()) {
                finishStop(result, retry);
            }
        });
}

void AppModel::finishStop(const StopResult& answer, const std::function<void()>& retry) {
    isStopping.set(false);
    const auto result = withMuteAsItIs(answer);
    if (result.microphoneMuted == true) {
        startMuteKeeper(false);
    }
    engine_.markStoppedByUser(result.stoppedSessionIDs);
    // An app that goes mostly takes its sessions with it before the closer has seen that it went.
    for (auto& session : std::exchange(endedInStop_, {})) {
        if (result.stoppedSessionIDs.contains(session.id)) {
            session.outcome = SessionOutcome::stoppedByUser;
            save(session);
        }
    }
    refreshHistory();

    const auto id = Uuid::random();
    const auto dismissed = [this, alive = std::weak_ptr(alive_), id](auto action) {
        return [this, alive, id, action] {
            if (!alive.expired()) {
                notices.dismiss(id);
                action();
            }
        };
    };
    // There is no window of the history to open yet: for now the card just goes.
    notices.show(
        stopResultItem(result, id, {.details = dismissed([] {}), .tryAgain = dismissed(retry)}));
    onStopEnded(result);
}

// MARK: - The mute and its keeper

void AppModel::noteMute(const MuteOutcome& outcome, bool stands) {
    // At once, so that a stop that is cut short leaves no mute that nobody knows of.
    if (outcome.mutedCount >= 1 && stands) {
        settings.microphoneMuted.set(true);
    }
    onMicrophonesMuted(true, outcome);
}

/// What a stop says of the microphone when it is over: the mute has come first, and the user can
/// have undone it since.
StopResult AppModel::withMuteAsItIs(StopResult result) const {
    if (result.microphoneMuted == true && !*settings.microphoneMuted) {
        result.microphoneMuted.reset();
        result.unmutableMicrophones.clear();
    }
    return result;
}

void AppModel::startMuteKeeper(bool told) {
    if (!*settings.microphoneMuted || muteKeeper_) {
        return;
    }
    muteMicrophones(true, told);
    muteKeeper_ = around_.scheduler.every(muteInterval, [this] { muteMicrophones(true, false); });
}

void AppModel::unmuteMicrophone() {
    muter_->undo();
    settings.microphoneMuted.set(false);
    muteKeeper_.reset();
    muteMicrophones(false, true);
}

void AppModel::muteMicrophones(bool muted, bool told) {
    const auto report = [this, muted](const MuteOutcome& outcome) {
        onMicrophonesMuted(muted, outcome);
    };
    around_.machine.microphones().setMuted(
        muted, [told, report, alive = std::weak_ptr(alive_),
                &scheduler = around_.scheduler](const MuteOutcome& outcome) {
            if (!told) {
                return;
            }
            scheduler.post([report, alive, outcome] {
                if (!alive.expired()) {
                    report(outcome);
                }
            });
        });
}

} // namespace velmoran
