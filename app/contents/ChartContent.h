// What the history's chart shows: camera and microphone time of the last days, what stands along
// its axes, and what is said of a chosen day. A plain value; any thread.
#pragma once

#include "app/contents/ChartScale.h"
#include "app/contents/ChartSpan.h"
#include "core/history/DayUsage.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace velmoran {

/// What is said of one day.
struct DayNoteContent {
    struct Line {
        AppIdentity app;
        std::string time;

        bool operator==(const Line&) const = default;
    };

    std::string title;
    std::string camera;          ///< how long
    std::string microphone;      ///< how long
    std::vector<Line> apps = {}; ///< the first few
    std::string more = {};       ///< how many more there are; empty: none

    static constexpr std::size_t mostApps = 4;
    static DayNoteContent of(const DayUsage& day, Timestamp now, const Localizer& calendar);

    bool operator==(const DayNoteContent&) const = default;
};

struct ChartContent {
    struct AxisLabel {
        std::size_t day = 0; ///< the index of the day that it names
        std::string text;

        bool operator==(const AxisLabel&) const = default;
    };
    /// One line of the table that says the same as the chart.
    struct TableRow {
        std::string day;
        std::string camera;
        std::string microphone;

        bool operator==(const TableRow&) const = default;
    };

    ChartSpan span = ChartSpan::week;
    Timestamp now = {};
    std::vector<DayUsage> days = {}; ///< the oldest first
    Timestamp end = {};              ///< where the last day ends
    std::vector<AxisLabel> labels = {};
    ChartScale scale = ChartScale::upTo(0);

    static ChartContent of(const SessionList& sessions, ChartSpan span, Timestamp now,
                           const Localizer& calendar);

    /// No camera and no microphone on any day.
    bool isEmpty() const;
    /// Where a day stands along the axis of time.
    static Timestamp noonOf(const DayUsage& day) { return day.day + 43200; }
    /// The index of the day whose noon is nearest, the earlier one of two; nothing without days.
    std::optional<std::size_t> dayNearest(Timestamp moment) const;
    /// The index of the day that begins then; nothing if it isn't shown.
    std::optional<std::size_t> indexOf(Timestamp day) const;
    /// What the table says of the day with that index.
    TableRow tableRow(std::size_t day, const Localizer& calendar) const;
};

} // namespace velmoran
