// The part of the model that stops: what is asked before, what is done, and what is told after.
#include "app/model/AppModel.h"

#include "app/model/StopTools.h"
#include "app/notices/NoticeWording.h"
#include "core/stopping/BrowserLinux.h"

#include <algorithm>
#include <utility>

namespace velmoran {

namespace {

/// By what is registered for web links now; on Linux also by the program, since one that was only
/// unpacked is registered nowhere.
bool isBrowser(const AppIdentity& app, const std::vector<std::string>& installed,
               const Machine& machine) {
    return Browser::isBrowser(app, installed) ||
           (machine.platform() == Platform::linux && Browser::runsABrowserOnLinux(app));
}

} // namespace

void AppModel::stopEverything() {
    if (mayStop()) {
        stopEverythingAfter({});
    }
}

/// Asks about the browsers that the user wasn't asked about yet, one may have come since, and stops
/// what is open when there are none.
void AppModel::stopEverythingAfter(const Asked& asked) {
    const auto browsers = openBrowsers(asked.about);
    if (!browsers.empty()) {
        askAbout(browsers, true, [this, asked, browsers](BrowserAnswer answer) {
            if (answer == BrowserAnswer::cancel) {
                onStopEnded(std::nullopt);
                return;
            }
            auto next = asked;
            for (const auto& browser : browsers) {
                next.about.insert(browser.id);
                if (answer == BrowserAnswer::keep) {
                    next.spared.insert(browser.id);
                }
            }
            stopEverythingAfter(next);
        });
        return;
    }
    auto open = engine_.open();
    std::erase_if(
        open, [&](const UsageSession& session) { return asked.spared.contains(session.app.id); });
    run([this, open = std::move(open)](
            PanicController::Completion done) { panic_.stopAll(open, std::move(done)); },
        [this] { stopEverything(); });
}

void AppModel::stop(const AppIdentity& app) {
    if (!mayStop()) {
        return;
    }
    std::vector<AppIdentity> browsers;
    if (isBrowser(app, around_.machine.browsers(), around_.machine)) {
        browsers.push_back(app);
    }
    askAbout(browsers, false, [this, app](BrowserAnswer answer) {
        if (answer != BrowserAnswer::close) {
            onStopEnded(std::nullopt);
            return;
        }
        run(
            [this, app](PanicController::Completion done) {
                panic_.stop(app, engine_.open(), std::move(done));
            },
            [this, app] { stop(app); });
    });
}

/// Otherwise the user sees what the stop before waits for.
bool AppModel::mayStop() const {
    const bool may = !isBusyStopping();
    question_.raise();
    return may;
}

/// What a button of a card does. The card stays for another press while the user has to answer a
/// question first.
void AppModel::stopInsteadOf(const Uuid& card, const std::function<void()>& stopping) {
    if (isAsking()) {
        raiseQuestion();
        return;
    }
    notices.dismiss(card);
    stopping();
}

/// Apps with open sessions that are browsers by what is registered now, each once.
std::vector<AppIdentity> AppModel::openBrowsers(const std::set<std::string>& except) const {
    const auto installed = around_.machine.browsers();
    auto seen = except;
    std::vector<AppIdentity> browsers;
    for (const auto& session : engine_.open()) {
        if (session.device != Device::speaker &&
            isBrowser(session.app, installed, around_.machine) &&
            seen.insert(session.app.id).second) {
            browsers.push_back(session.app);
        }
    }
    return browsers;
}

void AppModel::askAbout(const std::vector<AppIdentity>& browsers, bool offerKeep,
                        const StopQuestion::Decide& decide) {
    if (!*settings.confirmClosingBrowser || browsers.empty()) {
        decide(BrowserAnswer::close);
    } else {
        question_.ask(browsers, offerKeep, decide);
    }
}

void AppModel::run(const Stopping& stopping, std::function<void()> retry) {
    isStopping.set(true);
    hasArrived_ = false;
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

    const ToldStop told{.result = result, .id = Uuid::random(), .retry = retry};
    showResult(told);
    std::erase_if(dueCards_, [this](const ToldStop& card) { return !notices.item(card.id); });
    if (isMuteDue_ && result.microphoneMuted) {
        dueCards_.push_back(told);
    }
    onStopEnded(result);
}

void AppModel::showResult(const ToldStop& told) {
    const auto whileAlive = [alive = std::weak_ptr(alive_)](auto action) {
        return [alive, action] {
            if (!alive.expired()) {
                action();
            }
        };
    };
    StopResultActions actions;
    // There is no window of the history to open yet: for now the card just goes.
    actions.details = whileAlive([this, id = told.id] { notices.dismiss(id); });
    actions.tryAgain =
        whileAlive([this, id = told.id, retry = told.retry] { stopInsteadOf(id, retry); });
    notices.show(stopResultItem(told.result, told.id, std::move(actions)));
}

// MARK: - The mute and its keeper

void AppModel::noteMute(const MuteAnswer& answer, bool stands) {
    isMuteDue_ = !answer.serverAnswered;
    lateMute_.reset();
    const bool isMuted = answer.mutedCount >= 1 && stands;
    // At once, so that a stop that is cut short leaves no mute that nobody knows of.
    if (isMuted) {
        settings.microphoneMuted.set(true);
    }
    onMicrophonesMuted(true, answer);
    if (isMuted) {
        setCardsRight(answer);
        if (std::exchange(hasArrived_, false)) {
            muter_->repeat();
        }
    }
}

/// What counts is what the microphones are: a mute that came late stands like any other, also if
/// what the keeper has repeated meanwhile is what the server has heard.
void AppModel::noteMuteInEffect(const MuteAnswer& answer) {
    if (std::exchange(isMuteDue_, false)) {
        lateMute_ = answer;
        settings.microphoneMuted.set(true);
        onMicrophonesMuted(true, answer);
        startMuteKeeper(false);
    }
    setCardsRight(answer);
}

/// Cards that still say that it couldn't be done would be wrong.
void AppModel::setCardsRight(const MuteOutcome& mute) {
    for (auto& told : std::exchange(dueCards_, {})) {
        if (notices.item(told.id)) {
            told.result.microphoneMuted = true;
            told.result.unmutableMicrophones = mute.unmutable;
            showResult(told);
        }
    }
}

/// What a stop says of the microphone when it is over: the mute has come first, and since then it
/// can have taken effect late, or the user can have undone it.
StopResult AppModel::withMuteAsItIs(StopResult result) const {
    if (result.microphoneMuted && lateMute_) {
        result.microphoneMuted = true;
        result.unmutableMicrophones = lateMute_->unmutable;
    }
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
    if (told) {
        muteMicrophones(true);
    } else {
        muter_->repeat();
    }
    muteKeeper_ = around_.scheduler.every(muteInterval, [this] { keepMuted(); });
}

/// Two programs may keep the same mute up, as the desktop's and a watch in a terminal: an unmute in
/// one of them holds for both.
void AppModel::keepMuted() {
    if (settings.muteElsewhere() == false) {
        unmuteMicrophone();
    } else {
        muter_->repeat();
    }
}

/// What is plugged in under a mute is muted at once, and not at the keeper's next look: also while
/// the stop that has muted is still closing, when no keeper runs yet.
void AppModel::noteArrival() {
    if (*settings.microphoneMuted) {
        keepMuted();
    } else if (*isStopping) {
        hasArrived_ = true;
    }
}

void AppModel::takeOverMute() {
    if (settings.muteElsewhere() == true) {
        settings.microphoneMuted.set(true);
        startMuteKeeper(true);
    }
}

void AppModel::unmuteMicrophone() {
    muter_->undo();
    settings.microphoneMuted.set(false);
    muteKeeper_.reset();
    muteMicrophones(false);
}

void AppModel::muteMicrophones(bool muted) {
    const auto report = [this, muted](const MuteAnswer& answer) {
        onMicrophonesMuted(muted, answer);
    };
    around_.machine.microphones().setMuted(
        muted,
        [report, alive = std::weak_ptr(alive_),
         &scheduler = around_.scheduler](const MuteAnswer& answer) {
            scheduler.post([report, alive, answer] {
                if (!alive.expired()) {
                    report(answer);
                }
            });
        },
        {}); // what comes late is what the setting says already
}

} // namespace velmoran
