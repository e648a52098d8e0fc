// Sessions that wait to be written to the history's file, in the order in which they began to. What
// they take of memory is bounded: beyond that the details of the oldest are dropped first, and only
// then the oldest themselves. Owned by HistoryStore; main thread only.
#pragma once

#include "core/history/HistoryView.h"
#include "core/records/UsageSession.h"

#include <cstddef>
#include <list>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace velmoran {

/// Private to core/history.
class PendingSessions {
public:
    struct Entry {
        UsageSession session;                   ///< without its connections
        std::optional<std::string> connections; ///< its connectionsData
        bool lacksConnections = false;          ///< they were dropped: the row keeps what it has
        /// Where it stands in the list, though it isn't in the file.
        std::optional<HistoryView::Place> shown;
        bool isShownAsItIs = false; ///< nothing of it has changed since then
    };
    using Entries = std::list<Entry>;

    PendingSessions() = default;
    PendingSessions(const PendingSessions&) = delete;
    PendingSessions& operator=(const PendingSessions&) = delete;

    bool empty() const { return entries_.empty(); }
    std::size_t size() const { return entries_.size(); }
    Entries::iterator begin() { return entries_.begin(); }
    Entries::iterator end() { return entries_.end(); }
    /// Null if the session doesn't wait.
    Entry* find(const Uuid& id);

    /// In the place of what waits with that id, otherwise behind all others. Gives where those
    /// stood in the list that had to go instead; as a rule none has to.
    std::vector<HistoryView::Place> add(const UsageSession& session);
    /// Takes an entry out, and gives the one behind it.
    Entries::iterator erase(Entries::iterator entry);
    /// Puts an entry behind all others.
    void postpone(Entries::iterator entry);
    void eraseStartsBefore(Timestamp moment);
    void clear();

    /// Some ten thousand sessions with names of ordinary length.
    static constexpr std::size_t mostBytes = 8U << 20U;

private:
    std::vector<HistoryView::Place> makeRoom();
    static std::size_t detailBytes(const Entry& entry);
    static std::size_t bytes(const Entry& entry);

    Entries entries_;
    std::unordered_map<Uuid, Entries::iterator> byID_;
    std::size_t bytes_ = 0;
    std::size_t detailBytes_ = 0; ///< of those, what dropping all details would set free
};

} // namespace velmoran
