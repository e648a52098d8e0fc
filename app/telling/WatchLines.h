// What a model tells, in people's words: one line for each thing. Owned by whoever owns the model,
// and gone before it; main thread.
#pragma once

#include "app/model/AppModel.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace velmoran {

class WatchLines {
public:
    using Sink = std::function<void(const std::string& line)>;
    /// A time of day as it stands at the beginning of a line: "12:00:01".
    using TimeOfDay = std::function<std::string(Timestamp)>;

    /// `model` and `clock` outlive this.
    WatchLines(AppModel& model, const Clock& clock, TimeOfDay timeOfDay, Sink sink);

    /// A line that isn't about a session.
    void say(const std::string& sentence);

private:
    void report(const SessionEvent& event);
    void reportGap(const std::optional<WatchGap>& gap);
    std::string sentence(const SessionEvent& event) const;
    void write(Timestamp time, const std::string& sentence);

    const Clock& clock_;
    TimeOfDay timeOfDay_;
    Sink sink_;
    std::optional<WatchGap> gap_; ///< told already
    std::vector<Subscription> subscriptions_;
};

} // namespace velmoran
