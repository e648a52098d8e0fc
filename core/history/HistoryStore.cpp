#include "core/history/HistoryStore.h"

#include <algorithm>
#include <stdexcept>

namespace velmoran {

HistoryStore::HistoryStore(std::optional<std::filesystem::path> url) {
    if (url) {
        throw std::runtime_error("there is no history file yet");
    }
}

void HistoryStore::saveSession(const UsageSession& session) {
    const auto same = [&](const UsageSession& row) {
        return row.id == session.id;
    };
    const auto found = std::find_if(rows_.begin(), rows_.end(), same);
    if (found == rows_.end()) {
        rows_.push_back(session);
    } else {
        *found = session;
    }
}

std::vector<UsageSession> HistoryStore::sessions() const {
    auto result = rows_;
    std::stable_sort(result.begin(), result.end(),
                     [](const auto& a, const auto& b) { return a.start > b.start; });
    return result;
}

HistoryView HistoryStore::history() const {
    return HistoryView(std::make_shared<const std::vector<UsageSession>>(sessions()));
}

void HistoryStore::closeOpenRecords() {
    for (auto& row : rows_) {
        if (!row.end && !row.outcome) {
            row.outcome = SessionOutcome::endUnknown;
        }
    }
}

void HistoryStore::prune(Timestamp before) {
    std::erase_if(rows_, [&](const UsageSession& row) { return row.start < before; });
}

void HistoryStore::deleteAll() {
    rows_.clear();
}

} // namespace velmoran
