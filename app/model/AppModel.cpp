#include "app/model/AppModel.h"

#include "app/notices/NoticeWording.h"
#include "core/warnings/WarningPolicy.h"

#include <algorithm>
#include <set>
#include <utility>

namespace velmoran {

AppModel::AppModel(ModelSurroundings surroundings)
    : settings(surroundings.settings),
      notices(surroundings.scheduler, surroundings.clock),
      awayOutlook(surroundings.machine.away(), surroundings.machine.screenLock(), settings,
                  surroundings.scheduler),
      around_(std::move(surroundings)),
      clock_(around_.clock),
      engine_(unknownGrace),
      coalescer_(noticeWindow),
      history_({.clock = clock_,
                .scheduler = around_.scheduler,
                .settings = settings,
                .problem = historyProblem,
                .open = around_.openHistory},
               {.replaced =
                    [this] {
                        away_.storeAgain();
                        onHistoryReplaced();
                    },
                .changed =
                    [this] {
                        refreshHistory();
                        if (!history_.isBehind()) {
                            onChange();
                        }
                    }}),
      reading_(around_.machine, settings),
      shown_(around_.machine, settings),
      outputGuard_({.outputs = around_.machine.outputs(),
                    .scheduler = around_.scheduler,
                    .settings = settings,
                    .engine = engine_,
                    .notices = notices}),
      sightGuard_({.machine = around_.machine,
                   .clock = clock_,
                   .scheduler = around_.scheduler,
                   .settings = settings,
                   .notices = notices,
                   .lastTaken = sightTaken},
                  [this](const Uuid& card) {
                      stopFlow_.stopInsteadOf({card}, [this] { stopEverything(); });
                  }),
      mute_({.microphones = around_.machine.microphones(),
             .clock = clock_,
             .scheduler = around_.scheduler,
             .settings = settings,
             .notices = notices},
            [this](bool on, const MuteAnswer& answer) { onMicrophonesMuted(on, answer); }),
      stopFlow_({.machine = around_.machine,
                 .scheduler = around_.scheduler,
                 .engine = engine_,
                 .notices = notices,
                 .settings = settings,
                 .mute = mute_,
                 .windows = around_.windows ? *around_.windows : noWindows_,
                 .ask = around_.askAboutBrowsers,
                 .isStopping = isStopping,
                 .unmuting = unmutingBy()},
                {.closed = [this](const AppIdentity& app, bool gone) { onAppClosed(app, gone); },
                 .stopped =
                     [this](const std::vector<UsageSession>& sessions) {
                         for (const auto& session : sessions) {
                             history_.save(session);
                         }
                         refreshHistory();
                     },
                 .ended =
                     [this](const std::optional<StopResult>& result) {
                         onStopEnded(result);
                     }}),
      sampler_({.connections = around_.machine.connections(),
                .clock = clock_,
                .scheduler = around_.scheduler,
                .engine = engine_},
               {.added =
                    [this](const UsageSession& session, const auto& added) {
                        history_.save(session);
                        onConnections(session.id, added);
                    },
                .anyAdded =
                    [this] {
                        openSessions.set(engine_.open());
                        refreshHistory();
                    }}),
      away_({.machine = around_.machine,
             .clock = clock_,
             .scheduler = around_.scheduler,
             .settings = settings,
             .history = history_,
             .windows = around_.windows ? *around_.windows : noWindows_,
             .isOn = awayWatchOn},
            {.changed = [this] { onChange(); },
             .ended =
                 [this] {
                     refreshHistory();
                 }}),
      mainThread_(around_.scheduler) {}

void AppModel::start() {
    loadTrust();
    noticeChanges_ = notices.onChange.subscribe([this] { onChange(); });
    awayOutlook.start();
    history_.open();
    refreshHistory();
    away_.start();
    mute_.start();
    sightGuard_.start();
    connectionTimer_ = around_.scheduler.every(connectionInterval, [this] { sampleConnections(); });
    around_.machine.snapshots().start(
        mainThread_.later([this](const SystemSnapshot& reading) { receive(reading); }));
}

void AppModel::stopMonitor() {
    around_.machine.snapshots().stop();
}

void AppModel::receive(const SystemSnapshot& reading) {
    outputGuard_.compare(*snapshot, reading);
    snapshot.set(reading);
    syncSessions();
    onChange();
}

void AppModel::syncSessions() {
    const Timestamp elapsing = clock_.elapsing();
    const auto found = reading_.read(*snapshot, elapsing);
    // Opened in a helper's name, and about to end in favour of its owner.
    std::vector<Uuid> inHelpersName;
    for (const auto& session : engine_.open(Device::microphone)) {
        if (std::ranges::any_of(found.replacedHelpers, [&](const AppIdentity& app) {
                return app.isSameApp(session.app);
            })) {
            inHelpersName.push_back(session.id);
        }
    }
    const auto events = engine_.ingest(found.uses, clock_.now(), elapsing);
    for (const auto& id : inHelpersName) {
        withdrawNotice(id);
    }
    handle(events);
    stopFlow_.noteReading();
    auto wait = found.wait;
    if (engine_.isGraceRunning()) {
        wait = std::min(unknownGrace, wait.value_or(unknownGrace));
    }
    scheduleFollowUp(wait);
}

void AppModel::scheduleFollowUp(std::optional<Seconds> wait) {
    followUp_.reset();
    if (wait) {
        // A device that stays as it is delivers no further snapshot, so the waits need a look of
        // their own.
        followUp_ = around_.scheduler.after(*wait + followUpMargin, [this] {
            syncSessions();
            onChange();
        });
    }
}

StatusIconState AppModel::statusIconState() const {
    // The plain readings, also of a use that the settings leave out: the icon never denies that a
    // device is on.
    return velmoran::statusIconState({.cameraOn = snapshot->cameraOn,
                                      .microphoneOn = snapshot->microphoneOn,
                                      .strongWarningWaiting = notices.strongWarningWaiting(),
                                      .awayWatchOn = awayWatchOn.get()});
}

std::vector<UsageSession> AppModel::sessions(Device device) const {
    std::vector<UsageSession> result;
    std::ranges::copy_if(*openSessions, std::back_inserter(result),
                         [device](const auto& session) { return session.device == device; });
    std::ranges::stable_sort(result, {}, &UsageSession::start);
    return result;
}

// MARK: - From an event to a card and a row

void AppModel::handle(const std::vector<SessionEvent>& events) {
    if (events.empty()) {
        return;
    }
    for (const auto& event : events) {
        SessionEvent published = event;
        if (event.kind == SessionEvent::Kind::reattributed) {
            withdrawNotice(event.session.id);
        } else if (event.kind == SessionEvent::Kind::ended) {
            stopFlow_.noteEnd(event.session);
        }
        // Without a history nobody is warned: what can't be remembered is shown as open only, and
        // the screens say why.
        if (history_.isOpen()) {
            if (event.kind != SessionEvent::Kind::ended) {
                published.session = warned(event.session);
            }
            history_.save(published.session);
        }
        onSessionEvent(published);
    }
    openSessions.set(engine_.open());
    refreshHistory();
    // So that the peers of a new session are seen at once.
    if (std::ranges::any_of(
            events, [](auto kind) { return kind != SessionEvent::Kind::ended; },
            &SessionEvent::kind)) {
        sampleConnections();
    }
}

UsageSession AppModel::warned(const UsageSession& session) {
    if (!session.observedFromStart) {
        return session;
    }
    const auto level =
        WarningPolicy::level(session.app, session.device, trust.get(), awayWatchOn.get());
    if (!level) {
        return session;
    }
    const auto updated =
        engine_.update(session.id, [&](UsageSession& open) { open.warningLevel = level; });
    UsageSession result = updated.value_or(session);
    away_.noteUse(result.device, result.app);
    // A card that has gone no longer collects sessions.
    std::set<Uuid> shown;
    for (const auto& item : notices.items()) {
        shown.insert(item.id);
    }
    coalescer_.keepOnly(shown);
    const bool alreadyStrong =
        std::ranges::any_of(coalescer_.active(), [&](const WarningNotice& notice) {
            return notice.app.isSameApp(result.app) && notice.level == WarningLevel::strong;
        });
    const auto notice = coalescer_.registerSession(result, *level, awayWatchOn.get());
    if (notice) {
        show(*notice);
        if (notice->level == WarningLevel::strong && !alreadyStrong && *settings.warningSoundOn) {
            around_.machine.sounds().playWarning();
        }
    }
    return result;
}

void AppModel::show(const WarningNotice& notice) {
    const Uuid id = notice.id;
    NoticeActions actions;
    actions.stop = mainThread_.whileAlive([this, id, app = notice.app] {
        stopFlow_.stopInsteadOf({id}, [this, app] { stop(app); });
    });
    actions.stopTogether = mainThread_.whileAlive([this](const std::vector<Uuid>& cards) {
        std::vector<AppIdentity> apps;
        for (const auto& card : cards) {
            const auto item = notices.item(card);
            if (item && item->app && !item->app->isAmong(apps)) {
                apps.push_back(*item->app);
            }
        }
        stopFlow_.stopInsteadOf(cards, [this, apps] { stopFlow_.stop(apps); });
    });
    actions.thisWasMe = mainThread_.whileAlive([this, id] { notices.dismiss(id); });
    actions.trustThisApp =
        mainThread_.whileAlive([this, id, app = notice.app, devices = notice.devices] {
            setTrusted(true, app, devices);
            notices.dismiss(id);
        });
    notices.show(
        noticeItem(notice, trust.get(), *settings.standardNoticesStay, std::move(actions)));
}

void AppModel::withdrawNotice(const Uuid& sessionID) {
    if (const auto notice = coalescer_.remove(sessionID)) {
        notices.dismiss(notice->id);
    }
}

// MARK: - Trust

void AppModel::loadTrust() {
    if (const auto& data = *settings.trustRulesData) {
        try {
            trust.set(decode<TrustList>(*data));
        } catch (const DecodingError&) {
            // Nobody is trusted then; the stored data stays until the next decision.
        }
    }
}

void AppModel::setTrusted(bool trusted, const AppIdentity& app,
                          const std::vector<Device>& devices) {
    changeTrust([&](TrustList& list) { list.setTrusted(trusted, app, devices); });
}

void AppModel::setAlwaysWarn(bool alwaysWarn, const AppIdentity& app,
                             const std::vector<Device>& devices) {
    changeTrust([&](TrustList& list) { list.setAlwaysWarn(alwaysWarn, app, devices); });
}

template <class Change>
void AppModel::changeTrust(const Change& change) {
    auto list = trust.get();
    change(list);
    trust.set(list);
    settings.trustRulesData.set(encode(list));
}

// MARK: - History

void AppModel::pruneHistory() {
    history_.prune();
    refreshHistory();
}

void AppModel::deleteHistory() {
    stopFlow_.forgetEnded();
    history_.deleteAllBut(*openSessions);
    refreshHistory();
}

void AppModel::refreshHistory() {
    historySessions.set(history_.list());
    awayReports.set(history_.reports(away_.currentReport()));
}

} // namespace velmoran
