#include "core/history/PendingSessions.h"

#include "core/history/ConnectionsText.h"

#include <iterator>

namespace velmoran {

PendingSessions::Entry* PendingSessions::find(const Uuid& id) {
    const auto found = byID_.find(id);
    return found == byID_.end() ? nullptr : &*found->second;
}

std::vector<HistoryView::Place> PendingSessions::add(const UsageSession& session) {
    auto [known, isNew] = byID_.try_emplace(session.id);
    if (isNew) {
        known->second = entries_.emplace(entries_.end());
    } else {
        bytes_ -= bytes(*known->second);
        detailBytes_ -= detailBytes(*known->second);
    }
    auto& entry = *known->second;
    entry.session = {.id = session.id,
                     .device = session.device,
                     .app = session.app,
                     .start = session.start,
                     .end = session.end,
                     .outcome = session.outcome,
                     .warningLevel = session.warningLevel,
                     .connections = {},
                     .observedFromStart = session.observedFromStart};
    entry.connections = connectionsText(session.connections);
    entry.lacksConnections = false;
    entry.isShownAsItIs = false;
    bytes_ += bytes(entry);
    detailBytes_ += detailBytes(entry);
    return makeRoom();
}

std::vector<HistoryView::Place> PendingSessions::makeRoom() {
    std::vector<HistoryView::Place> gone;
    if (entries_.size() < 2) {
        return gone; // it is about to be written, however long it is
    }
    for (auto oldest = entries_.begin(); bytes_ > mostBytes && detailBytes_ > 0; ++oldest) {
        if (const auto freed = detailBytes(*oldest); freed > 0) {
            oldest->connections.reset();
            oldest->lacksConnections = true;
            oldest->isShownAsItIs = false;
            bytes_ -= freed;
            detailBytes_ -= freed;
        }
    }
    while (bytes_ > mostBytes && entries_.size() > 1) {
        if (const auto& shown = entries_.front().shown) {
            gone.push_back(*shown);
        }
        erase(entries_.begin());
    }
    return gone;
}

PendingSessions::Entries::iterator PendingSessions::erase(Entries::iterator entry) {
    bytes_ -= bytes(*entry);
    detailBytes_ -= detailBytes(*entry);
    byID_.erase(entry->session.id);
    return entries_.erase(entry);
}

void PendingSessions::postpone(Entries::iterator entry) {
    entries_.splice(entries_.end(), entries_, entry);
}

void PendingSessions::eraseStartsBefore(Timestamp moment) {
    for (auto each = entries_.begin(); each != entries_.end();) {
        each = each->session.start < moment ? erase(each) : std::next(each);
    }
}

void PendingSessions::clear() {
    entries_.clear();
    byID_.clear();
    bytes_ = 0;
    detailBytes_ = 0;
}

/// With what the list takes for the same.
std::size_t PendingSessions::detailBytes(const Entry& entry) {
    return entry.connections ? 4 * entry.connections->size() : 0;
}

std::size_t PendingSessions::bytes(const Entry& entry) {
    const auto& app = entry.session.app;
    const auto length = [](const std::optional<std::string>& text) {
        return text ? text->size() : 0;
    };
    const auto texts = app.id.size() + app.name.size() + length(app.bundleID) + length(app.path) +
                       length(app.teamID);
    return 2 * (sizeof(Entry) + texts) + detailBytes(entry);
}

} // namespace velmoran
