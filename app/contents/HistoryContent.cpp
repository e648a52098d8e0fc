#include "app/contents/HistoryContent.h"

#include "app/contents/UseWords.h"
#include "core/text/DurationFormat.h"

#include <string_view>
#include <unordered_set>

namespace velmoran {

namespace {

std::vector<HistorySection> sectionsOf(const std::vector<ActivityRow>& rows, Timestamp now,
                                       const Localizer& calendar) {
    std::vector<HistorySection> sections;
    // The day of the section that is being filled: rows come by their starts, so most of them are
    // placed without asking the calendar.
    std::optional<Timestamp> day;
    std::optional<Timestamp> next;
    for (std::size_t index = 0; index < rows.size(); ++index) {
        const auto start = rows[index].start();
        const bool isSameDay = day && next && *day <= start && start < *next;
        if (!isSameDay) {
            const auto startDay = calendar.startOfDay(start);
            const bool continues = !sections.empty() && startDay == day;
            day = startDay;
            next = day ? calendar.addingDays(*day, 1) : std::nullopt;
            if (!continues) {
                sections.push_back({.title = calendar.dayTitle(start, now), .first = index});
            }
        }
        ++sections.back().count;
    }
    return sections;
}

std::string rowTrailing(const ActivityRow& row, Timestamp now) {
    if (row.isOpen) {
        return words().text("Still on");
    }
    const auto duration = row.duration(now);
    return duration ? DurationFormat::text(*duration) : words().text("End not known");
}

} // namespace

HistoryContent HistoryContent::of(const SessionList& sessions, const HistoryFilter& filter,
                                  Timestamp now, const Localizer& calendar) {
    const auto interval = intervalOf(filter.range, now, calendar);
    const bool isEverything = !filter.device && !filter.appID && !interval;
    HistoryContent content;
    content.now = now;
    content.rows = isEverything ? Activity::rows(sessions)
                                : Activity::rows(Activity::matching(sessions, filter.device,
                                                                    filter.appID, interval, now));
    content.sections = sectionsOf(content.rows, now, calendar);
    return content;
}

std::string HistoryRowText::spoken() const {
    std::string result;
    for (const auto* part : {&time, &app, &devices, &label, &trailing}) {
        if (!part->empty()) {
            result += result.empty() ? "" : ", ";
            result += *part;
        }
    }
    return result;
}

HistoryRowText rowText(const ActivityRow& row, Timestamp now) {
    std::vector<std::string> devices;
    for (const auto device : row.devices) {
        devices.push_back(deviceWord(device));
    }
    return {.time = words().shortTime(row.start()),
            .app = row.app().name,
            .devices = words().list(devices),
            .label = toldWord(row.outcome, row.warningLevel),
            .trailing = rowTrailing(row, now)};
}

std::vector<AppChoiceEntry> appChoices(const SessionList& sessions) {
    std::vector<AppChoiceEntry> choices;
    std::unordered_set<std::string_view> seen;
    for (const auto& session : sessions) {
        if (seen.insert(session->app.id).second) {
            choices.push_back({.id = session->app.id, .name = session->app.name});
        }
    }
    return choices;
}

std::string historyFooter(int retentionDays, bool hidesSystemSounds, bool ignoresSystemListening) {
    auto footer = words().text("Stored only on this Mac. Kept for %lld days.",
                               {std::to_string(retentionDays)});
    if (hidesSystemSounds) {
        footer += " " + words().text("System sounds are hidden.");
    }
    if (ignoresSystemListening) {
        footer += " " + words().text("macOS's own listening is ignored.");
    }
    return footer;
}

} // namespace velmoran
