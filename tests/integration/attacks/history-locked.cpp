// A program locks the history's file while ten short uses a second begin and end. Each is told as
// soon as ever, and all stand in the history when the lock has gone.
#include "integration/attacks/HistoryFile.h"

#include <algorithm>

namespace velmoran::attacks {

namespace {

using Clock = std::chrono::steady_clock;

struct Use {
    std::string app;
    Clock::time_point begun = Clock::now();
    std::optional<Bound> told = std::nullopt;
};

/// Until `bound` has passed, or all is told if that is enough.
void noteWhatIsTold(Scene& scene, std::vector<Use>& uses, Bound bound, bool untilAll) {
    static_cast<void>(waitUntil(
        [&] {
            bool isAll = true;
            for (auto& use : uses) {
                if (!use.told && scene.tellsStart(use.app, 0ms)) {
                    use.told = std::chrono::duration_cast<Bound>(Clock::now() - use.begun);
                }
                isAll &= use.told.has_value();
            }
            return isAll && untilAll;
        },
        bound));
}

} // namespace

Verdict historyLocked(Scene& scene) {
    const std::size_t count = scene.isSlow() ? 600 : 50;
    constexpr auto pace = 100ms;
    constexpr std::size_t atOnce = 5;
    scene.startSound();
    scene.startWatch();
    if (!scene.recordUntilTold("first", within(5s))) {
        throw std::runtime_error("nothing is told");
    }
    std::optional<SQLite::Database> holder;
    holder.emplace(historyFile(scene).string(), SQLite::OPEN_READWRITE, 5000);
    holder->exec("BEGIN EXCLUSIVE");
    std::vector<Use> uses;
    for (std::size_t number = 0; number < count + atOnce; ++number) {
        if (number < count) {
            uses.push_back({.app = "spy-" + std::to_string(number) + "-"});
            scene.record(uses.back().app);
        }
        if (number >= atOnce) {
            scene.session().stop(uses[number - atOnce].app);
        }
        noteWhatIsTold(scene, uses, pace, false);
    }
    noteWhatIsTold(scene, uses, within(1s), true);
    const auto isLate = [](const Use& use) {
        return !use.told || *use.told > within(1s);
    };
    if (const auto late = std::ranges::count_if(uses, isLate); late > 0) {
        return fell(std::to_string(late) + " of " + std::to_string(count) +
                    " uses under a lock weren't told within a second");
    }
    const bool isSaid = isSaidEverywhere(scene, std::string(notWritten) + "database is locked)");
    holder.reset();
    const auto all = static_cast<std::int64_t>(count);
    if (!waitUntil([&] { return endedUses(scene, "spy-") == all; }, within(5s))) {
        return fell("of " + std::to_string(count) + " uses under a lock " +
                    std::to_string(endedUses(scene, "spy-")) + " are in the history");
    }
    if (!isSaid) {
        return fell("nobody said that the history isn't saved");
    }
    std::ranges::sort(uses, {}, &Use::told);
    return held(std::to_string(count) + " uses told after " + text(*uses[count / 2].told) +
                ", the latest after " + text(*uses.back().told) + ", and all kept");
}

} // namespace velmoran::attacks
