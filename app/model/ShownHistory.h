// What lists show of the history: without what the settings hide, or only as much of it as a list
// needs. Stateless, asked anew each time. Owned by the model; main thread.
#pragma once

#include "app/model/SettingsStore.h"
#include "core/history/ActivityRow.h"
#include "core/history/HistoryView.h"
#include "system/Machine.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace velmoran {

class ShownHistory {
public:
    /// Both outlive this.
    ShownHistory(Machine& machine, const SettingsStore& settings)
        : machine_(machine),
          settings_(settings) {}

    /// The sessions that the settings don't hide, in their order.
    SessionList visible(const HistoryView& history) const;
    /// At most `recentRowCount` rows, of the newest `recentSessionCount` visible sessions. A row at
    /// their edge may lack a device.
    std::vector<ActivityRow> recentRows(const HistoryView& history) const;
    /// The row with that session among the rows of all sessions, hidden ones too; nothing if there
    /// is no such session.
    static std::optional<ActivityRow> rowContaining(const Uuid& sessionID,
                                                    const HistoryView& history);

    static constexpr std::size_t recentSessionCount = 80;
    static constexpr std::size_t recentRowCount = 20;

private:
    SessionList newestVisible(const HistoryView& history, std::size_t limit) const;

    Machine& machine_;
    const SettingsStore& settings_;
};

} // namespace velmoran
