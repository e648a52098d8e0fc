// The model's history: opened once, written to in passing, and brought up to date again later where
// a write couldn't be done at once, so that nobody ever waits for it. Owned by the model; main
// thread.
#pragma once

#include "app/model/ListedReports.h"
#include "app/model/SettingsStore.h"
#include "core/away/AwayReport.h"
#include "core/away/AwayReportText.h"
#include "core/base/MainThread.h"
#include "core/base/Observable.h"
#include "core/history/HistoryStore.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace velmoran {

class HistoryKeeper {
public:
    struct Seams {
        const Clock& clock;
        Scheduler& scheduler;
        const SettingsStore& settings;
        Observable<std::optional<HistoryProblem>>& problem;
        /// Throws if it can't be opened.
        std::function<std::shared_ptr<HistoryStore>()> open;
    };
    struct Reports {
        std::function<void()> replaced; ///< the file had gone; now another one is open
        std::function<void()> changed;  ///< by itself: the list may be another one
    };

    /// The seams outlive this.
    HistoryKeeper(Seams seams, Reports reports);

    /// Once. Repairs and prunes what there is.
    void open();
    /// There is a history, though its file may be locked still.
    bool isOpen() const { return store_ != nullptr; }
    /// Something waits to be written, and would be lost with the process.
    bool isBehind() const { return store_ && (store_->isBehind() || !waitingReports_.empty()); }

    // Without a history these do nothing, and the lists are empty.
    void save(const UsageSession& session);
    void save(const AwayReport& report) { write(report.id, &report); }
    void removeReport(const Uuid& id) { write(id, nullptr); }
    /// Deletes what is older than the setting allows.
    void prune();
    /// Deletes everything but these, as soon as it can be.
    void deleteAllBut(const std::vector<UsageSession>& kept);
    HistoryView list() const { return store_ ? store_->history() : HistoryView(); }
    /// Those that are listed while that one is being written, if it isn't null, newest start first;
    /// never null.
    ListedReports::List reports(const AwayReport* current);

    static constexpr Seconds pruneInterval = 21600.0;
    /// What waits is tried again after the first of these, then after twice as long each time, up
    /// to the last.
    static constexpr Seconds shortestDelay = 0.05;
    static constexpr Seconds longestDelay = 1.0;
    /// How long another program may lock the file before that counts as a failure.
    static constexpr Seconds lockGrace = 0.25;
    /// So many reports wait at most; the oldest goes first.
    static constexpr std::size_t mostWaitingReports = 20;

private:
    using WaitingReport = std::pair<Uuid, std::optional<AwayReport>>; ///< nothing: to be deleted

    void write(const Uuid& id, const AwayReport* report);
    bool tryWrite(const Uuid& id, const AwayReport* report);
    bool writeWaitingReports();
    void heedStore();
    void catchUp();

    Seams seams_;
    Reports reports_;
    std::shared_ptr<HistoryStore> store_;
    ListedReports listed_;
    AwayReportText text_;
    std::vector<WaitingReport> waitingReports_;
    Seconds delay_ = shortestDelay;
    Seconds waited_ = 0; ///< for what waits, since something was written
    Subscription pruneTimer_;
    Subscription retry_;
    MainThread mainThread_;
};

} // namespace velmoran
