#include "app/model/HistoryKeeper.h"

#include "core/text/Localizer.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace velmoran {

HistoryKeeper::HistoryKeeper(Seams seams, Reports reports)
    : seams_(std::move(seams)),
      reports_(std::move(reports)),
      mainThread_(seams_.scheduler) {}

void HistoryKeeper::open() {
    try {
        store_ = seams_.open();
    } catch (const std::exception& error) {
        seams_.problem.set(
            HistoryProblem{.kind = HistoryProblem::Kind::notOpened, .reason = error.what()});
        return;
    }
    store_->onReplaced(mainThread_.whileAlive([this] { reports_.replaced(); }));
    store_->closeOpenRecords();
    prune();
    pruneTimer_ = seams_.scheduler.every(pruneInterval, [this] {
        prune();
        reports_.changed();
    });
}

void HistoryKeeper::save(const UsageSession& session) {
    if (store_) {
        store_->saveSession(session);
        heedStore();
    }
}

void HistoryKeeper::prune() {
    if (store_) {
        const auto before = words().daysBefore(seams_.clock.now(), *seams_.settings.retentionDays);
        std::erase_if(waitingReports_, [&](const WaitingReport& each) {
            return each.second && each.second->start < before;
        });
        store_->prune(before);
        heedStore();
    }
}

void HistoryKeeper::deleteAllBut(const std::vector<UsageSession>& kept) {
    if (store_) {
        waitingReports_.clear();
        store_->deleteAll();
        for (const auto& session : kept) {
            store_->saveSession(session);
        }
        heedStore();
    }
}

ListedReports::List HistoryKeeper::reports(const AwayReport* current) {
    static const auto none = std::make_shared<const std::vector<std::string>>();
    return listed_.update(store_ ? store_->awayPayloads() : none, current,
                          current ? text_.of(*current) : std::string());
}

void HistoryKeeper::write(const Uuid& id, const AwayReport* report) {
    if (!store_) {
        return;
    }
    std::erase_if(waitingReports_, [&](const WaitingReport& each) { return each.first == id; });
    if (!tryWrite(id, report)) {
        if (waitingReports_.size() == mostWaitingReports) {
            waitingReports_.erase(waitingReports_.begin());
        }
        waitingReports_.emplace_back(id, report ? std::optional(*report) : std::nullopt);
    }
    heedStore();
}

bool HistoryKeeper::tryWrite(const Uuid& id, const AwayReport* report) {
    return report ? store_->saveAwayPayload(id, report->start, report->end, text_.of(*report))
                  : store_->deleteAwayReport(id);
}

/// True if one less waits now.
bool HistoryKeeper::writeWaitingReports() {
    return std::erase_if(waitingReports_, [this](const WaitingReport& each) {
               return tryWrite(each.first, each.second ? &*each.second : nullptr);
           }) > 0;
}

void HistoryKeeper::heedStore() {
    const auto& failure = store_->failure();
    if (!failure) {
        seams_.problem.set(std::nullopt);
    } else if (!failure->isLock || waited_ >= lockGrace) {
        seams_.problem.set(failure->problem);
    }
    if (!isBehind()) {
        retry_.reset();
        delay_ = shortestDelay;
        waited_ = 0;
    } else if (!retry_) {
        retry_ = seams_.scheduler.after(delay_, [this] { catchUp(); });
    }
}

void HistoryKeeper::catchUp() {
    retry_.reset();
    waited_ += delay_;
    const bool caughtUp = store_->catchUp();
    if (writeWaitingReports() || caughtUp) {
        delay_ = shortestDelay;
        waited_ = 0;
    } else {
        delay_ = std::min(2 * delay_, longestDelay);
    }
    heedStore();
    reports_.changed();
}

} // namespace velmoran
