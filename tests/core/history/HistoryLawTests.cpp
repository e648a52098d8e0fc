// Laws of the history under random use.
#include "HistoryTools.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <rapidcheck/gtest.h>

namespace velmoran {
namespace {

UsageSession randomSession(std::mt19937& random) {
    auto session = random() % 2 == 0 ? fullSession(random() % 40, random() % 60)
                                     : sessionNumber(random() % 40, random() % 60);
    session.device = allDevices[random() % 3];
    if (random() % 3 == 0) {
        session.end = Timestamp{static_cast<double>(random() % 80)};
    }
    if (random() % 3 == 0) {
        session.outcome = static_cast<SessionOutcome>(random() % 3);
    }
    if (random() % 8 == 0) {
        session.app.id = "unknown";
    }
    session.observedFromStart = random() % 2 == 0;
    return session;
}

/// The rules of the list, spelled out over plain rows in the order of their first storing.
class SlowModel {
public:
    void save(UsageSession session) {
        if (session.app.isUnknown()) {
            session.app = AppIdentity::unknown();
        }
        for (auto& row : rows_) {
            if (row.id == session.id) {
                row = session;
                return;
            }
        }
        rows_.push_back(session);
    }
    void close() {
        for (auto& row : rows_) {
            if (!row.end && !row.outcome) {
                row.outcome = SessionOutcome::endUnknown;
            }
        }
    }
    void prune(Timestamp before) {
        std::erase_if(rows_, [&](const auto& row) { return row.start < before; });
    }
    std::vector<UsageSession> sessions(std::optional<Timestamp> since,
                                       std::optional<std::size_t> limit) const {
        auto sorted = rows_;
        std::ranges::stable_sort(sorted, std::greater<>(), &UsageSession::start);
        std::vector<UsageSession> kept;
        for (const auto& session : sorted) {
            const bool isOpen = !session.end && !session.outcome;
            const auto last = session.end ? *session.end : session.start;
            if (!since || session.start >= *since || isOpen || last >= *since) {
                kept.push_back(session);
            }
        }
        if (limit && *limit < kept.size()) {
            kept.resize(*limit);
        }
        return kept;
    }

private:
    std::vector<UsageSession> rows_;
};

RC_GTEST_PROP(HistoryLaws, TheListIsWhatAFreshReadGives, ()) {
    const auto seed = *rc::gen::arbitrary<std::uint32_t>();
    const bool readFirst = *rc::gen::arbitrary<bool>();
    std::mt19937 random(seed);
    const HistoryFile file;
    SlowModel model;
    auto store = file.open();
    if (readFirst) {
        store.history();
    }
    for (int step = 0; step < 60; ++step) {
        switch (random() % 25) {
        case 0: {
            const Timestamp cutoff{static_cast<double>(random() % 40)};
            store.prune(cutoff);
            model.prune(cutoff);
            break;
        }
        case 1:
            if (random() % 4 == 0) {
                store.deleteAll();
                model = {};
            }
            break;
        case 2:
            store.closeOpenRecords();
            model.close();
            break;
        case 3:
            store.history();
            break;
        default: {
            const auto session = randomSession(random);
            store.saveSession(session);
            model.save(session);
        }
        }
        if (step % 20 == 19) {
            RC_ASSERT(store.sessions() == model.sessions({}, {}));
            RC_ASSERT(store.sessionCount() == store.history().size());
            const Timestamp since{static_cast<double>(random() % 90)};
            const std::size_t limit = random() % 50;
            RC_ASSERT(store.sessions(since, limit) == model.sessions(since, limit));
            RC_ASSERT(store.sessions(since) == model.sessions(since, {}));
        }
    }
    auto fresh = file.open();
    RC_ASSERT(store.sessions() == fresh.sessions());
    RC_ASSERT(store.history() == fresh.history());
}

} // namespace
} // namespace velmoran
