// All sessions that the program remembers. In memory only so far: the file comes with the store
// that takes this one's place. Main thread only.
#pragma once

#include "core/records/UsageSession.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

namespace velmoran {

/// All sessions as they were at one moment, newest start first. Cheap to copy and to compare.
class HistoryView {
public:
    HistoryView() = default;
    explicit HistoryView(std::shared_ptr<const std::vector<UsageSession>> list)
        : list_(std::move(list)) {}

    std::size_t size() const { return list_ ? list_->size() : 0; }
    bool empty() const { return size() == 0; }
    const UsageSession& operator[](std::size_t index) const { return (*list_)[index]; }
    bool operator==(const HistoryView&) const = default;

private:
    std::shared_ptr<const std::vector<UsageSession>> list_;
};

class HistoryStore {
public:
    explicit HistoryStore(std::optional<std::filesystem::path> url);

    void saveSession(const UsageSession& session);
    std::vector<UsageSession> sessions() const;
    HistoryView history() const;
    void closeOpenRecords();
    void prune(Timestamp before);
    void deleteAll();
    std::size_t sessionCount() const { return rows_.size(); }

private:
    std::vector<UsageSession> rows_;
};

} // namespace velmoran
