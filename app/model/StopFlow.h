// A stop from the press to its card: what is asked before, what is closed, what is told after, and
// the way to try again. Only one is under way at a time. Owned by the model; main thread.
#pragma once

#include "app/model/MuteKeeper.h"
#include "app/model/StopQuestion.h"
#include "app/model/UseAfterStop.h"
#include "app/model/Windows.h"
#include "core/sessions/SessionEngine.h"

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace velmoran {

class StopFlow {
public:
    struct Seams {
        Machine& machine;
        Scheduler& scheduler;
        SessionEngine& engine;
        NoticeCenter& notices;
        const SettingsStore& settings;
        MuteKeeper& mute;
        Windows& windows;
        AskAboutBrowsers ask;
        Observable<bool>& isStopping; ///< set while apps are closed
        UnmutingBy unmuting;          ///< where the cards stand
    };
    struct Reports {
        std::function<void(const AppIdentity&, bool gone)> closed; ///< or not, after a try
        /// These have ended while they were being stopped, and are to be stored as such.
        std::function<void(const std::vector<UsageSession>&)> stopped;
        /// What was asked for is over, its card shown, and whether a device goes on being used is
        /// known: with nothing when the user didn't want it.
        std::function<void(const std::optional<StopResult>&)> ended;
    };

    /// The seams outlive this.
    StopFlow(Seams seams, Reports reports);

    /// Dropped while a stop is under way, or the question before one, which comes to the front.
    void stopEverything();
    /// These as one.
    void stop(const std::vector<AppIdentity>& apps);
    /// What a button of these cards does. They stay for another press while the user has to answer
    /// a question first.
    void stopInsteadOf(const std::vector<Uuid>& cards, const std::function<void()>& stopping);

    bool isBusy() const { return *seams_.isStopping || question_.stands(); }
    bool isAsking() const { return question_.stands(); }
    void raiseQuestion() const { question_.raise(); }

    /// An open session has come to its end.
    void noteEnd(const UsageSession& session);
    /// The sessions are as a new reading has them.
    void noteReading() { after_.reconsider(); }
    /// What has ended so far was deleted and isn't to be stored again.
    void forgetEnded() { endedInStop_.clear(); }

private:
    /// The machine's closer, with a report of each app.
    class Closer final : public AppClosing {
    public:
        Closer(std::unique_ptr<AppClosing> machines, const Reports& reports)
            : machines_(std::move(machines)),
              reports_(reports) {}
        void close(const AppIdentity& app, std::function<void(bool gone)> done) override;

    private:
        std::unique_ptr<AppClosing> machines_;
        const Reports& reports_;
    };
    /// The browsers that the user was asked about before one stop, by their ids.
    struct Asked {
        std::set<std::string> about;
        std::set<std::string> spared;
    };
    using Stopping = std::function<void(PanicController::Completion)>;
    using Aim = UseAfterStop::Aim;
    /// What a stop's card says.
    struct ResultCard {
        StopResult result;
        Uuid id;
        Aim aim;
        std::set<Uuid> ended; ///< sessions of apps that went, though a reading may still have them
        std::function<void()> retry; ///< the same stop again
    };

    bool mayStop() const;
    void stopEverythingAfter(const Asked& asked);
    std::vector<AppIdentity> openBrowsers(const std::set<std::string>& except) const;
    void askAbout(const std::vector<AppIdentity>& browsers, bool offerKeep,
                  const StopQuestion::Decide& decide);
    void run(const Stopping& stopping, const Aim& aim, std::function<void()> retry);
    void finish(const StopResult& answer, const Aim& aim, const std::function<void()>& retry);
    void storeStopped(const std::set<Uuid>& sessionIDs);
    void showResult(const ResultCard& shown);

    Seams seams_;
    Reports reports_;
    Closer closer_;
    PanicController panic_;
    StopQuestion question_;
    UseAfterStop after_;
    std::vector<UsageSession> endedInStop_; ///< while a stop is under way
    MainThread mainThread_;
};

} // namespace velmoran
