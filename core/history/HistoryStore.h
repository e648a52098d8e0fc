// The only lasting memory of what was seen: one row for each usage session and one for each away
// report, in a single database file that never leaves the machine. Owned by the application model;
// main thread only.
#pragma once

#include "core/base/Json.h"
#include "core/history/HistoryFailure.h"
#include "core/history/HistoryList.h"
#include "core/history/HistoryView.h"
#include "core/history/PendingDeletion.h"
#include "core/history/PendingSessions.h"
#include "core/records/UsageSession.h"

#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace SQLite {
class Statement;
}

namespace velmoran {

struct OpenHistory;

/// Only opening can fail, and only opening waits for another program that has locked the file, for
/// a moment. After that no failure of a read or a write reaches the caller: a failed read is empty.
/// A session, a deletion or a repair that couldn't be written waits, in bounded memory: it shows in
/// the lists at once, and goes out with the next write that works, so that the lists and the file
/// agree again from then on; what waits at the end of the process is lost. What is saved after a
/// deletion survives it, whenever that is done. Many sessions that wait go out in several writes. A
/// save that has returned, with `isBehind` false, outlives a kill of the process. (A session whose
/// start is no number isn't kept. A deletion that a statement of its own keeps from happening, as
/// by a trigger in the file, is dropped. A single away report that couldn't be saved or deleted at
/// once is the caller's to bring again.)
///
/// The file may be written by another process meanwhile; what it wrote shows at the next read. If
/// the file is deleted, moved away or replaced, the next write finds that out and goes to the file
/// that stands there then, or to a new one, with all sessions that are open; what that file has of
/// an earlier run is repaired first. Where none can be opened, saves wait and each further write
/// tries again. A file that was cut, or whose beginning was written over, isn't written to.
class HistoryStore {
public:
    /// Opens or makes the file, with all missing folders above it (0700; the file and its side
    /// files 0600; what is there keeps its permissions), or a store in memory without a path.
    /// Throws std::runtime_error or an exception derived from it when the folder can't be made or
    /// the file can't be opened for reading and writing, isn't a database or isn't this store's;
    /// the file is then left byte for byte as it was. A file that another program has locked is
    /// opened later, by the next write that can: until then what is written waits.
    ///
    /// `beforeReopening` is called before a file is opened in place of one that has gone; it is not
    /// opened now if that throws.
    explicit HistoryStore(const std::optional<std::filesystem::path>& url,
                          std::function<void()> beforeReopening = {});
    ~HistoryStore();
    HistoryStore(const HistoryStore&) = delete;
    HistoryStore& operator=(const HistoryStore&) = delete;

    /// Called in the middle of a write, when the file had gone and now another one is open; the
    /// call mustn't use the store.
    void onReplaced(std::function<void()> callback);

    /// From a write that failed until one has succeeded.
    const std::optional<HistoryFailure>& failure() const { return failure_; }
    /// Something waits to be written: `catchUp` should be called soon.
    bool isBehind() const;
    /// Writes some of what waits. True if less waits now.
    bool catchUp();

    /// Inserts the session, or overwrites all of the row with its id.
    void saveSession(const UsageSession& session);

    /// All readable sessions, newest start first; equal starts in the order in which they were
    /// first stored. Read from the file once and from then on kept up by the changed row, so that
    /// the cost of a call after a save doesn't grow with the number of sessions. Empty if reading
    /// fails.
    HistoryView history();

    /// A copy of `history()`. With `since`: only what started, ended or is open at or after that
    /// moment; a session closed without an end counts by its start. With `limit`: no more than that
    /// many of them.
    std::vector<UsageSession> sessions(std::optional<Timestamp> since = std::nullopt,
                                       std::optional<std::size_t> limit = std::nullopt);

    /// After an unclean exit: sessions with neither end nor outcome get the outcome `endUnknown`.
    void closeOpenRecords();

    /// Deletes sessions and away reports that started before that moment, open ones too.
    void prune(Timestamp before);

    /// Deletes all sessions and away reports.
    void deleteAll();

    /// Rows of sessions in the file, unreadable ones among them; 0 if that can't be read.
    std::size_t sessionCount();

    /// Inserts the report, or overwrites the end and the payload of the one with this id; the
    /// stored start stays. `Report` is anything with to_json. Nothing is stored if that throws.
    /// False if it couldn't be written now, and may be later.
    template <class Report>
    bool saveAwayReport(const Uuid& id, Timestamp start, std::optional<Timestamp> end,
                        const Report& report) {
        std::string payload;
        try {
            payload = encode(report);
        } catch (const std::exception&) {
            return true;
        }
        return saveAwayPayload(id, start, end, payload);
    }

    /// All reports that can be read as a `Report` (anything with from_json), newest stored start
    /// first.
    template <class Report>
    std::vector<Report> awayReports() {
        std::vector<Report> reports;
        for (const auto& payload : *awayPayloads()) {
            try {
                reports.push_back(decode<Report>(payload));
            } catch (const std::exception&) {
                continue; // it stays in the file, unread
            }
        }
        return reports;
    }

    /// False if it couldn't be done now, and may be later.
    bool deleteAwayReport(const Uuid& id);

    /// `saveAwayReport` with the report as JSON text already.
    bool saveAwayPayload(const Uuid& id, Timestamp start, std::optional<Timestamp> end,
                         const std::string& payload);

    /// The texts behind `awayReports`, never null. The same pointer as last time means that nothing
    /// has changed in between, so that a caller can spare itself the decoding.
    std::shared_ptr<const std::vector<std::string>> awayPayloads();

private:
    template <class Work>
    bool inTransaction(Work work);
    /// How many rows went; nothing where the statement failed.
    struct Deleted {
        std::optional<int> sessions;
        std::optional<int> reports;
    };
    Deleted deleteWhatWaits();
    void endDeletion(const Deleted& deleted);
    template <class... Arguments>
    std::optional<int> tryRun(SQLite::Statement& deletion, Arguments... arguments);
    void fail(const std::exception& error);
    bool hasFile();
    void reopen();
    void heedOtherWriters();
    void checkpoint();
    HistoryList::Written write(PendingSessions::Entries::iterator pending);

    std::optional<std::filesystem::path> url_;
    std::function<void()> beforeReopening_;
    std::function<void()> onReplaced_;
    std::unique_ptr<OpenHistory> open_; ///< null while there is no file that can be opened
    bool wasOpen_ = false;
    std::optional<HistoryFailure> failure_;
    bool needsRepair_ = false;          ///< the file may have open sessions of an earlier run
    bool needsCheckpoint_ = false;      ///< deleted content stands in the log
    std::vector<UsageSession> ongoing_; ///< as saved last, with neither end nor outcome

    HistoryList list_;
    PendingDeletion deletion_; ///< goes before what is pending, which was saved after it
    PendingSessions pending_;
    std::int64_t lastDataVersion_ = -1;
    std::shared_ptr<const std::vector<std::string>> payloads_; ///< null when not read yet
};

} // namespace velmoran
