#include "app/model/StopFlow.h"

#include "app/notices/NoticeWording.h"

#include <algorithm>
#include <iterator>
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
      after_(seams_.engine, seams_.scheduler),
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
        {.devices = {Device::camera, Device::microphone}, .spared = asked.spared},
        [this] { stopEverything(); });
}

void StopFlow::stop(const std::vector<AppIdentity>& apps) {
    if (!mayStop()) {
        return;
    }
    std::vector<AppIdentity> browsers;
    std::ranges::copy_if(apps, std::back_inserter(browsers),
                         [this](const AppIdentity& app) { return seams_.machine.isBrowser(app); });
    askAbout(browsers, false, [this, apps](BrowserAnswer answer) {
        if (answer != BrowserAnswer::close) {
            reports_.ended(std::nullopt);
            return;
        }
        Aim aim;
        for (const auto& session : seams_.engine.open()) {
            if (!session.app.isAmong(apps)) {
                aim.spared.insert(session.app.id);
            } else if (session.device != Device::speaker) {
                aim.devices.insert(session.device);
            }
        }
        run(
            [this, apps](PanicController::Completion done) {
                panic_.stop(apps, seams_.engine.open(), std::move(done));
            },
            aim, [this, apps] { stop(apps); });
    });
}

/// Otherwise the user sees what the stop before waits for.
bool StopFlow::mayStop() const {
    const bool may = !isBusy();
    question_.raise();
    return may;
}

void StopFlow::stopInsteadOf(const std::vector<Uuid>& cards,
                             const std::function<void()>& stopping) {
    if (isAsking()) {
        raiseQuestion();
        return;
    }
    for (const auto& card : cards) {
        seams_.notices.dismiss(card);
    }
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

void StopFlow::run(const Stopping& stopping, const Aim& aim, std::function<void()> retry) {
    after_.answerNow();
    seams_.isStopping.set(true);
    stopping(mainThread_.whileAlive([this, aim, retry = std::move(retry)](
                                        const StopResult& result) { finish(result, aim, retry); }));
}

void StopFlow::noteEnd(const UsageSession& session) {
    if (*seams_.isStopping) {
        endedInStop_.push_back(session);
    }
}

/// An app that goes mostly takes its sessions with it before the closer has seen that it went.
void StopFlow::storeStopped(const std::set<Uuid>& sessionIDs) {
    auto stopped = std::exchange(endedInStop_, {});
    std::erase_if(stopped,
                  [&](const UsageSession& session) { return !sessionIDs.contains(session.id); });
    for (auto& session : stopped) {
        session.outcome = SessionOutcome::stoppedByUser;
    }
    reports_.stopped(stopped);
}

void StopFlow::finish(const StopResult& answer, const Aim& aim,
                      const std::function<void()>& retry) {
    seams_.isStopping.set(false);
    const auto closed = answer.stoppedSessionIDs;
    seams_.engine.markStoppedByUser(closed);
    storeStopped(closed);

    const auto shown =
        std::make_shared<ResultCard>(ResultCard{.result = seams_.mute.withCurrentMute(answer),
                                                .id = Uuid::random(),
                                                .aim = aim,
                                                .ended = closed,
                                                .retry = retry});
    shown->result.stillInUse = after_.besides(aim, closed);
    showResult(*shown);
    if (shown->result.microphoneMuted) {
        seams_.mute.correctLater(shown->id, [this, shown](const MuteOutcome& mute) {
            shown->result.microphoneMuted = true;
            shown->result.unmutableMicrophones = mute.unmutable;
            showResult(*shown);
        });
    }
    after_.whenEnded(aim, closed, [this, shown](const std::vector<Device>& stillInUse) {
        shown->ended.clear(); // whoever goes on under their names now isn't who was closed
        const bool isOther = shown->result.stillInUse != stillInUse;
        shown->result.stillInUse = stillInUse;
        if (isOther && seams_.notices.item(shown->id)) {
            shown->result = seams_.mute.withCurrentMute(shown->result);
            showResult(*shown);
        }
        reports_.ended(shown->result);
    });
}

void StopFlow::showResult(const ResultCard& shown) {
    StopResultActions actions;
    actions.details = mainThread_.whileAlive([this, id = shown.id] {
        seams_.notices.dismiss(id);
        seams_.windows.show(WindowID::history);
    });
    auto others = shown.aim;
    for (const auto* apps : {&shown.result.notClosed, &shown.result.protectedApps}) {
        std::ranges::transform(*apps, std::inserter(others.spared, others.spared.end()),
                               &AppIdentity::id);
    }
    // If somebody else goes on, it wasn't enough to stop who was named.
    const auto retry = after_.besides(others, shown.ended).empty() ? shown.retry : [this] {
        stopEverything();
    };
    actions.tryAgain =
        mainThread_.whileAlive([this, id = shown.id, retry] { stopInsteadOf({id}, retry); });
    seams_.notices.show(
        stopResultItem(shown.result, shown.id, std::move(actions), seams_.unmuting));
}

} // namespace velmoran
