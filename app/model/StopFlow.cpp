#include "app/model/StopFlow.h"

#include "app/notices/NoticeWording.h"

#include <utility>

namespace velmoran {

StopFlow::StopFlow(Seams seams, Reports reports)
    : seams_(std::move(seams)),
      reports_(std::move(reports)),
      closer_(seams_.machine.makeCloser(seams_.scheduler), reports_),
      panic_(
          seams_.mute, closer_,
          [&machine = seams_.machine](const AppIdentity& app) { return machine.isProtected(app); }),
      question_(seams_.ask),
      mainThread_(seams_.scheduler) {}

void StopFlow::Closer::close(const AppIdentity& app, std::function<void(bool)> done) {
    machines_->close(app, [this, app, done = std::move(done)](bool gone) {
        reports_.closed(app, gone);
        done(gone);
    });
}

void StopFlow::stopEverything() {
    if (mayStop()) {
        stopEverythingAfter({});
    }
}

/// Asks about the browsers that the user wasn't asked about yet, one may have come since, and stops
/// what is open when there are none.
void StopFlow::stopEverythingAfter(const Asked& asked) {
    const auto browsers = openBrowsers(asked.about);
    if (!browsers.empty()) {
        askAbout(browsers, true, [this, asked, browsers](BrowserAnswer answer) {
            if (answer == BrowserAnswer::cancel) {
                reports_.ended(std::nullopt);
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
    auto open = seams_.engine.open();
    std::erase_if(open, [&](const UsageSession& session) {
        return asked.spared.contains(session.app.id) && !session.app.cannotBeNamed();
    });
    run([this, open = std::move(open)](
            PanicController::Completion done) { panic_.stopAll(open, std::move(done)); },
        [this] { stopEverything(); });
}

void StopFlow::stop(const AppIdentity& app) {
    if (!mayStop()) {
        return;
    }
    std::vector<AppIdentity> browsers;
    if (seams_.machine.isBrowser(app)) {
        browsers.push_back(app);
    }
    askAbout(browsers, false, [this, app](BrowserAnswer answer) {
        if (answer != BrowserAnswer::close) {
            reports_.ended(std::nullopt);
            return;
        }
        run(
            [this, app](PanicController::Completion done) {
                panic_.stop(app, seams_.engine.open(), std::move(done));
            },
            [this, app] { stop(app); });
    });
}

/// Otherwise the user sees what the stop before waits for.
bool StopFlow::mayStop() const {
    const bool may = !isBusy();
    question_.raise();
    return may;
}

void StopFlow::stopInsteadOf(const Uuid& card, const std::function<void()>& stopping) {
    if (isAsking()) {
        raiseQuestion();
        return;
    }
    seams_.notices.dismiss(card);
    stopping();
}

/// Each once.
std::vector<AppIdentity> StopFlow::openBrowsers(const std::set<std::string>& except) const {
    auto seen = except;
    std::vector<AppIdentity> browsers;
    for (const auto& session : seams_.engine.open()) {
        if (session.device != Device::speaker && seen.insert(session.app.id).second &&
            seams_.machine.isBrowser(session.app)) {
            browsers.push_back(session.app);
        }
    }
    return browsers;
}

void StopFlow::askAbout(const std::vector<AppIdentity>& browsers, bool offerKeep,
                        const StopQuestion::Decide& decide) {
    if (!*seams_.settings.confirmClosingBrowser || browsers.empty()) {
        decide(BrowserAnswer::close);
    } else {
        question_.ask(browsers, offerKeep, decide);
    }
}

void StopFlow::run(const Stopping& stopping, std::function<void()> retry) {
    seams_.isStopping.set(true);
    stopping(mainThread_.whileAlive(
        [this, retry = std::move(retry)](const StopResult& result) { finish(result, retry); }));
}

void StopFlow::noteEnd(const UsageSession& session) {
    if (*seams_.isStopping) {
        endedInStop_.push_back(session);
    }
}

void StopFlow::finish(const StopResult& answer, const std::function<void()>& retry) {
    seams_.isStopping.set(false);
    const auto result = seams_.mute.withCurrentMute(answer);
    seams_.engine.markStoppedByUser(result.stoppedSessionIDs);
    // An app that goes mostly takes its sessions with it before the closer has seen that it went.
    auto stopped = std::exchange(endedInStop_, {});
    std::erase_if(stopped, [&](const UsageSession& session) {
        return !result.stoppedSessionIDs.contains(session.id);
    });
    for (auto& session : stopped) {
        session.outcome = SessionOutcome::stoppedByUser;
    }
    reports_.stopped(stopped);

    const ResultCard shown{.result = result, .id = Uuid::random(), .retry = retry};
    showResult(shown);
    if (result.microphoneMuted) {
        seams_.mute.correctLater(shown.id, [this, shown](const MuteOutcome& mute) {
            auto right = shown;
            right.result.microphoneMuted = true;
            right.result.unmutableMicrophones = mute.unmutable;
            showResult(right);
        });
    }
    reports_.ended(result);
}

void StopFlow::showResult(const ResultCard& shown) {
    StopResultActions actions;
    actions.details = mainThread_.whileAlive([this, id = shown.id] {
        seams_.notices.dismiss(id);
        seams_.windows.show(WindowID::history);
    });
    actions.tryAgain = mainThread_.whileAlive(
        [this, id = shown.id, retry = shown.retry] { stopInsteadOf(id, retry); });
    seams_.notices.show(stopResultItem(shown.result, shown.id, std::move(actions)));
}

} // namespace velmoran
