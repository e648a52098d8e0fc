// The running program: owns all state for the life of the process, wires what reads, stops, mutes
// and samples, tells of sessions and keeps their history. Every screen reads it and every action
// goes through it. One per program, made by whoever is the program's shell; main thread only.
#pragma once

#include "app/model/AwayDriving.h"
#include "app/model/AwayOutlook.h"
#include "app/model/ConnectionSampler.h"
#include "app/model/HistoryKeeper.h"
#include "app/model/MuteKeeper.h"
#include "app/model/OutputGuard.h"
#include "app/model/SettingsStore.h"
#include "app/model/ShownHistory.h"
#include "app/model/SightGuard.h"
#include "app/model/StopFlow.h"
#include "app/model/UseReading.h"
#include "app/model/Windows.h"
#include "app/notices/NoticeCenter.h"
#include "core/away/AwayReport.h"
#include "core/base/ForwardClock.h"
#include "core/base/MainThread.h"
#include "core/base/Observable.h"
#include "core/history/HistoryStore.h"
#include "core/sessions/SessionEngine.h"
#include "core/trust/TrustList.h"
#include "core/warnings/NoticeCoalescer.h"
#include "core/warnings/StatusIconState.h"
#include "system/Machine.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmoran {

/// What a model stands on; all of it outlives the model.
struct ModelSurroundings {
    Machine& machine;
    const Clock& clock;
    Scheduler& scheduler;
    KeyValueStore& settings;
    /// Opens the history; throws if it can't be opened. Asked once, at the start.
    std::function<std::shared_ptr<HistoryStore>()> openHistory;
    /// Where nobody can be asked the answer is to cancel.
    AskAboutBrowsers askAboutBrowsers = [](const BrowserQuestion&,
                                           const std::function<void(BrowserAnswer)>& answer) {
        answer(BrowserAnswer::cancel);
        return ShownQuestion();
    };
    /// Null where there are none.
    Windows* windows = nullptr;
};

class AppModel {
public:
    /// Nothing starts yet.
    explicit AppModel(ModelSurroundings surroundings);
    ~AppModel() = default;
    AppModel(const AppModel&) = delete;
    AppModel& operator=(const AppModel&) = delete;

    /// Brings everything up, once: trust, history with its repair, timers, and last of all the
    /// monitor, so that no session gets ahead of the repair.
    void start();
    /// What a quit does: stops the monitor and nothing else. What is open stays open in the store,
    /// and the next start repairs it, as after a crash.
    void stopMonitor();

    Observable<SystemSnapshot> snapshot;
    Observable<std::vector<UsageSession>> openSessions; ///< in order of opening
    Observable<HistoryView> historySessions;            ///< all stored sessions, newest first
    /// Why the history isn't being saved; nothing while it is.
    Observable<std::optional<HistoryProblem>> historyProblem;
    Observable<TrustList> trust;
    Observable<bool> awayWatchOn; ///< an away watch is running
    /// Reports to list, newest start first; never null.
    Observable<std::shared_ptr<const std::vector<AwayReport>>> awayReports{
        std::make_shared<const std::vector<AwayReport>>()};
    Observable<bool> isStopping;              ///< a stop is under way
    Observable<bool> stopShortcutUnavailable; ///< the system refused the stop shortcut
    Observable<bool> floatingStopUnavailable; ///< nothing here can carry the floating button
    /// When something last took the view of the sound system away, in this run.
    Observable<std::optional<Timestamp>> sightTaken;

    SettingsStore settings;
    NoticeCenter notices;
    AwayOutlook awayOutlook;

    /// The state has changed in a way that the status item has to look at.
    Event<> onChange;
    /// After a session's event has been told and stored.
    Event<const SessionEvent&> onSessionEvent;
    /// After a stop, a launch or the user muted (true) or unmuted all microphones, and when a
    /// stop's mute took effect late; what only keeps a mute up is not told.
    Event<bool, const MuteAnswer&> onMicrophonesMuted;
    /// A stop has tried to close an app; true if it is gone.
    Event<const AppIdentity&, bool> onAppClosed;
    /// What was asked of `stopEverything` or `stop` is over, its card shown: with what the stop
    /// did, or with nothing when the user didn't want it after all. Not for what was dropped.
    Event<const std::optional<StopResult>&> onStopEnded;
    /// The history's file was deleted, moved away or replaced while it was open; from now on the
    /// history is in the file that stands there instead.
    Event<> onHistoryReplaced;
    /// Peers were added to the open session with that id.
    Event<const Uuid&, const std::vector<ConnectionRecord>&> onConnections;

    /// A new reading.
    void receive(const SystemSnapshot& reading);
    /// Brings the sessions up to date with the last reading and the settings.
    void syncSessions();

    /// The user's decisions about an app, kept at once.
    void setTrusted(bool trusted, const AppIdentity& app, const std::vector<Device>& devices);
    void setAlwaysWarn(bool alwaysWarn, const AppIdentity& app, const std::vector<Device>& devices);

    /// Mutes all microphones and closes all apps that use camera or microphone; the user is asked
    /// before browsers are closed, about each of them once; what there is to do after the answer is
    /// decided then. Does nothing while a stop is under way. While such a question stands it only
    /// comes to the front.
    void stopEverything() { stopFlow_.stopEverything(); }
    /// The same for one app, whose use of the microphone decides about the mute.
    void stop(const AppIdentity& app) { stopFlow_.stop({app}); }
    /// A stop, or the question before it, is under way: another one would be dropped.
    bool isBusyStopping() const { return stopFlow_.isBusy(); }
    /// The user is being asked about browsers.
    bool isAsking() const { return stopFlow_.isAsking(); }
    /// Brings that question to the front.
    void raiseQuestion() const { stopFlow_.raiseQuestion(); }
    /// Ends the mute that a stop has left behind, and what keeps it up.
    void unmuteMicrophone() { mute_.unmute(); }
    /// Where its cards say that this can be done.
    UnmutingBy unmutingBy() const {
        return around_.windows ? UnmutingBy::panel : UnmutingBy::terminal;
    }
    /// Keeps up the mute of another program that shares the settings, if there is one: for when
    /// that program has gone.
    void adoptMute() { mute_.adopt(); }

    /// Looks up whom the apps of open sessions are talking to; the answer comes later.
    void sampleConnections() { sampler_.sample(); }

    /// Deletes what is older than the setting allows; what the settings screen calls after a change
    /// of `retentionDays`.
    void pruneHistory();
    /// Deletes everything but what is going on right now.
    void deleteHistory();
    /// Something waits to be written to the history; `onChange` comes when it is written.
    bool historyIsBehind() const { return history_.isBehind(); }

    /// What a reading of this run has named under that id; nothing if none has.
    std::optional<AppIdentity> seenApp(const std::string& id) const { return reading_.seenApp(id); }
    StatusIconState statusIconState() const;
    /// Who makes the microphone be on, where that is the system's own listening alone, as for a
    /// level meter, and no use.
    std::vector<AppIdentity> onlyListeners() const { return reading_.onlyListeners(*snapshot); }
    /// The time of all that is told and stored: it never runs back.
    const Clock& clock() const { return clock_; }
    /// The history as lists show it, newest first: without what the settings hide.
    SessionList visibleSessions() const { return shown_.visible(*historySessions); }
    /// What the panel lists: at most 20, of the newest 80 visible sessions.
    std::vector<ActivityRow> recentRows() const { return shown_.recentRows(*historySessions); }
    /// The row of the whole history, hidden sessions included, that holds that session.
    std::optional<ActivityRow> rowContaining(const Uuid& sessionID) const {
        return ShownHistory::rowContaining(sessionID, *historySessions);
    }
    /// The part of the operating system that an app is, by what the machine has verified.
    std::optional<SystemProcess> systemProcess(const AppIdentity& app) const {
        return around_.machine.systemProcess(app);
    }
    /// Open sessions of a device, the earliest start first.
    std::vector<UsageSession> sessions(Device device) const;

    static constexpr Seconds unknownGrace = 1.0;
    static constexpr Seconds followUpMargin = 0.1; ///< after the wait that a look is for
    static constexpr Seconds noticeWindow = 5.0;
    static constexpr Seconds connectionInterval = 15.0;

private:
    void handle(const std::vector<SessionEvent>& events);
    UsageSession warned(const UsageSession& session);
    void show(const WarningNotice& notice);
    void withdrawNotice(const Uuid& sessionID);
    void refreshHistory();
    void scheduleFollowUp(std::optional<Seconds> wait);
    void loadTrust();
    template <class Change>
    void changeTrust(const Change& change);

    ModelSurroundings around_;
    ForwardClock clock_;
    Windows noWindows_;
    SessionEngine engine_;
    NoticeCoalescer coalescer_;
    HistoryKeeper history_;
    UseReading reading_;
    ShownHistory shown_;
    OutputGuard outputGuard_;
    SightGuard sightGuard_;
    MuteKeeper mute_;
    StopFlow stopFlow_;
    ConnectionSampler sampler_;
    AwayDriving away_;
    Subscription noticeChanges_;
    Subscription connectionTimer_;
    Subscription followUp_;
    MainThread mainThread_;
};

} // namespace velmoran
