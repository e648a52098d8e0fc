// The list of all sessions that the screens see: what the file holds, read once and from then on
// kept up row by row, with what waits to be written in its places. Owned by HistoryStore; main
// thread only.
#pragma once

#include "core/history/HistoryView.h"
#include "core/history/PendingDeletion.h"
#include "core/history/PendingSessions.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace velmoran {

class SessionTable;

/// Private to core/history.
class HistoryList {
public:
    /// A session that a transaction is about to put into the file.
    struct Written {
        PendingSessions::Entries::iterator pending;
        std::optional<HistoryView::Place> old; ///< where the row was, if there was one
        HistoryView::Entry entry;
        bool isKnown = true; ///< false if that has to be read
    };

    /// Empty as long as it can't be read.
    const HistoryView& view() const { return view_; }

    /// Reads the table, which is null without a file, unless that has been done or is in vain. What
    /// is to be deleted of it isn't shown any more.
    void read(SessionTable* table, const PendingDeletion& deletion, PendingSessions& pending);
    /// The file may hold something else now.
    void readAgain() { isRead_ = isDamaged_ = false; }
    void readAgainIf(bool wanted) { isRead_ &= !wanted; }
    /// What can't be read may have been deleted.
    void readDamagedAgain() { isDamaged_ = false; }
    /// Another file, and nothing of it has been read.
    void restart();
    /// All sessions were deleted.
    void clear();
    void removeStartsBefore(Timestamp moment);
    /// Those that no longer wait, and aren't in the file.
    void remove(const std::vector<HistoryView::Place>& places);

    /// What is in the file by now goes where it is there, and out of what is pending.
    void moveToFile(Written written, PendingSessions& pending);
    /// Shows what has begun to wait, or has changed, as if it were in the file.
    void show(PendingSessions& pending);

private:
    // A session that is stored for the first time while the file can't be written stands behind all
    // others with the same start until it has a row.
    static constexpr std::int64_t firstPendingRow = std::int64_t{1} << 62U;

    HistoryView view_;
    bool isRead_ = false;
    bool isDamaged_ = false; ///< the table can't be read, and trying again won't change that
    std::int64_t nextPendingRow_ = firstPendingRow;
};

} // namespace velmoran
