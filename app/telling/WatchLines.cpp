#include "app/telling/WatchLines.h"

#include "core/text/DurationFormat.h"
#include "core/text/Localizer.h"
#include "core/text/PlainLine.h"
#include "core/warnings/DeviceWording.h"
#include "core/warnings/HistoryWording.h"

#include <utility>

namespace velmoran {

WatchLines::WatchLines(AppModel& model, const Clock& clock, TimeOfDay timeOfDay, Sink sink)
    : clock_(clock),
      timeOfDay_(std::move(timeOfDay)),
      sink_(std::move(sink)) {
    subscriptions_.push_back(
        model.onSessionEvent.subscribe([this](const SessionEvent& event) { report(event); }));
    subscriptions_.push_back(model.snapshot.subscribe(
        [this](const SystemSnapshot& reading) { reportGap(reading.lastGap); }));
    subscriptions_.push_back(
        model.historyProblem.subscribe([this](const std::optional<HistoryProblem>& problem) {
            say(problem ? HistoryWording::sentence(*problem)
                        : words().text("The history is being saved again."));
        }));
    subscriptions_.push_back(model.sightTaken.subscribe([this](const auto& time) {
        if (time) {
            write(*time, words().text("Something took Velmoran's view of the sound system away."));
        }
    }));
}

void WatchLines::reportGap(const std::optional<WatchGap>& gap) {
    if (gap && std::exchange(gap_, gap) != gap) {
        say(words().text("Velmoran wasn't watching from %@ to %@ (%@)",
                         {timeOfDay_(gap->from), timeOfDay_(gap->to),
                          DurationFormat::text(gap->to - gap->from)}));
    }
}

void WatchLines::say(const std::string& sentence) {
    write(clock_.now(), sentence);
}

void WatchLines::report(const SessionEvent& event) {
    const auto& session = event.session;
    const auto time = event.kind == SessionEvent::Kind::started ? session.start
                      : session.end                             ? *session.end
                                                                : clock_.now();
    write(time, sentence(event));
}

std::string WatchLines::sentence(const SessionEvent& event) const {
    const auto& session = event.session;
    std::vector<std::string> holes = {session.app.name, DeviceWording::the({session.device})};
    if (event.kind == SessionEvent::Kind::ended) {
        holes.push_back(DurationFormat::text(session.duration(clock_.now())));
        return session.observedFromStart ? words().text("%@ turned off %@ (%@)", holes)
                                         : words().text("%@ turned off %@ (at least %@)", holes);
    }
    if (event.kind == SessionEvent::Kind::reattributed) {
        return words().text("It was %@ that turned on %@", holes);
    }
    if (!session.observedFromStart) {
        return words().text("%@ was already using %@", holes);
    }
    if (session.app.cannotBeNamed() && session.device != Device::speaker) {
        return words().text("%@ turned on %@. We couldn't tell which app it is.", holes);
    }
    if (session.warningLevel == WarningLevel::quiet) {
        return words().text("%@ turned on %@ (trusted)", holes);
    }
    if (session.warningLevel == WarningLevel::strong) {
        return words().text("%@ turned on %@ (always warn)", holes);
    }
    return words().text("%@ turned on %@", holes);
}

void WatchLines::write(Timestamp time, const std::string& sentence) {
    sink_(timeOfDay_(time) + "  " + plainLine(sentence));
}

} // namespace velmoran
