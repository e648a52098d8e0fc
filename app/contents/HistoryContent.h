// What the list of the history shows: the rows that its filters let through, in sections by day,
// and the words of a row. Plain values; any thread.
#pragma once

#include "app/contents/HistoryRange.h"
#include "core/history/ActivityRow.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace velmoran {

struct HistoryFilter {
    std::optional<Device> device = {};     ///< nothing: all
    std::optional<std::string> appID = {}; ///< nothing: all
    HistoryRange range = HistoryRange::week;

    bool operator==(const HistoryFilter&) const = default;
};

/// Rows that stand side by side and start on one calendar day.
struct HistorySection {
    std::string title;
    std::size_t first = 0; ///< the index of its first row
    std::size_t count = 0; ///< never 0

    bool operator==(const HistorySection&) const = default;
};

struct HistoryContent {
    Timestamp now = {}; ///< the moment that it was made for
    std::vector<ActivityRow> rows = {};
    std::vector<HistorySection> sections = {}; ///< newest day first; all rows are in one

    /// Of sessions that are the newest first, as the model has them.
    static HistoryContent of(const SessionList& sessions, const HistoryFilter& filter,
                             Timestamp now, const Localizer& calendar);
};

/// The words of one row, in the order in which they stand.
struct HistoryRowText {
    std::string time = {};
    std::string app = {};
    std::string devices = {};
    std::string label = {}; ///< empty where nothing is to be said
    std::string trailing = {};

    /// All of them, for a screen reader.
    std::string spoken() const;

    bool operator==(const HistoryRowText&) const = default;
};

HistoryRowText rowText(const ActivityRow& row, Timestamp now);

/// An app that the list can be narrowed to.
struct AppChoiceEntry {
    std::string id;
    std::string name;

    bool operator==(const AppChoiceEntry&) const = default;
};

/// One for each id, in the order of first appearance, with the name that stands there.
std::vector<AppChoiceEntry> appChoices(const SessionList& sessions);

/// The words under the list that say what is kept and what isn't shown.
std::string historyFooter(int retentionDays, bool hidesSystemSounds, bool ignoresSystemListening);

} // namespace velmoran
