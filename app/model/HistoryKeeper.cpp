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
        store_->prune(words().daysBefore(seams_.clock.now(), *seams_.settings.retentionDays));
        heedStore();
    }
}

void HistoryKeeper::deleteAllBut(const std::vector<UsageSession>& kept) {
    if (store_) {
        store_->deleteAll();
        for (const auto& session : kept) {
            store_->saveSession(session);
        }
        heedStore();
    }
}

void HistoryKeeper::heedStore() {
    const auto& failure = store_->failure();
    if (!failure) {
        seams_.problem.set(std::nullopt);
    } else if (!failure->isLock || waited_ >= lockGrace) {
        seams_.problem.set(failure->problem);
    }
    if (!store_->isBehind()) {
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
    if (store_->catchUp()) {
        delay_ = shortestDelay;
        waited_ = 0;
    } else {
        delay_ = std::min(2 * delay_, longestDelay);
    }
    heedStore();
    reports_.changed();
}

} // namespace velmoran
