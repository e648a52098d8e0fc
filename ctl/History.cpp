#include "ctl/History.h"

#include "core/text/Localizer.h"
#include "core/text/MomentText.h"
#include "core/text/ZoneSource.h"
#include "ctl/Asking.h"
#include "ctl/KeptHistory.h"

#include <optional>
#include <unordered_map>

namespace velmoran {

namespace {

/// Which sessions are wanted.
class Filter {
public:
    std::optional<Device> device;
    std::string app;
    std::optional<Timestamp> since;
    std::optional<Timestamp> until;

    bool passes(const UsageSession& session, const LineContext& context) {
        const bool isOpen = !session.end && !session.outcome && context.isKept;
        const auto last = session.end.value_or(isOpen ? context.now : session.start);
        return (!device || session.device == *device) && (!since || last >= *since) &&
               (!until || session.start < *until) && (app.empty() || isWanted(session.app));
    }

private:
    bool isWanted(const AppIdentity& candidate) {
        return candidate.id == app || candidate.path == app || candidate.bundleID == app ||
               isNamed(candidate.name);
    }

    /// The comparison takes its time, and most sessions are of few apps.
    bool isNamed(const std::string& name) {
        constexpr std::size_t most = 10'000;
        if (names_.size() >= most) {
            names_.clear();
        }
        const auto [found, isNew] = names_.try_emplace(name);
        if (isNew) {
            found->second = words().compareIgnoringCase(name, app) == 0;
        }
        return found->second;
    }

    std::unordered_map<std::string, bool> names_;
};

} // namespace

int printHistory(const HistoryOptions& options, const AskOptions& asking) {
    asking::prepare(asking);
    setZoneSource(nullptr); // asked for each line it would cost more than the line
    const auto now = asking::present();
    Filter filter;
    filter.app = options.app;
    if (!options.device.empty()) {
        filter.device =
            options.device == "mic" ? Device::microphone : caseNamed<Device>(options.device);
        if (!filter.device) {
            return asking::complain(words().text("“%@” is no device. There are: %@.",
                                                 {options.device, "camera, microphone, speaker"}),
                                    AskEnd::wrongRequest);
        }
    }
    for (const auto& [text, moment] :
         {std::pair(&options.since, &filter.since), std::pair(&options.until, &filter.until)}) {
        if (text->empty()) {
            continue;
        }
        *moment = momentFrom(*text, now);
        if (!*moment) {
            return asking::complain(
                words().text(
                    "“%@” is no time. A time is like %@.",
                    {*text, "2026-11-22, 2026-11-22T10:00, 10:00, today, yesterday, 2h, 7d"}),
                AskEnd::wrongRequest);
        }
    }
    if (filter.since && filter.until && *filter.until < *filter.since) {
        return asking::complain(
            words().text("“%@” is before “%@”.", {options.until, options.since}),
            AskEnd::wrongRequest);
    }
    return printKept([&](HistoryReader& reader, Output& output) {
        const LineContext context{now, historyIsKept(asking)};
        bool isAny = false;
        output.collect(headOfLines(options.form));
        reader.each([&](const UsageSession& session) {
            if (filter.passes(session, context)) {
                isAny = true;
                output.collect(lineOf(session, context, options.form));
            }
            return output.isOpen();
        });
        if (!isAny && options.form == LineForm::table) {
            output.collect(words().text("No use matches these filters.") + "\n");
        }
    });
}

} // namespace velmoran
