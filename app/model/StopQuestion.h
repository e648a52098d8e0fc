// The question before a stop closes browsers, from the moment it is asked until it is answered or
// has become pointless. At most one stands at a time. Owned by the model; main thread.
#pragma once

#include "core/base/Scheduler.h"
#include "core/records/UsageSession.h"
#include "core/stopping/Browser.h"
#include "core/stopping/BrowserQuestion.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmoran {

/// A question that the user sees.
struct ShownQuestion {
    std::function<void()> raise; ///< brings it to the front; may be empty
    Subscription shown;          ///< dropping it takes the question away, unanswered
};

/// Asks the user before a stop closes browsers. The answer comes once, in the call or later, on the
/// main thread, and not at all after the question was taken away.
using AskAboutBrowsers =
    std::function<ShownQuestion(const BrowserQuestion&, std::function<void(BrowserAnswer)>)>;

class StopQuestion {
public:
    /// With nothing when there is nothing to ask any more.
    using Decide = std::function<void(std::optional<BrowserAnswer>)>;

    /// The scheduler outlives this.
    StopQuestion(Scheduler& scheduler, AskAboutBrowsers ask);

    /// Asks about these browsers, at least one, while `open` is going on. `decide` is called once,
    /// in the call or later, unless this goes first. Not while another question stands.
    void ask(const std::vector<AppIdentity>& browsers, bool keepOffered,
             const std::vector<UsageSession>& open, Decide decide);
    bool stands() const { return standing_.has_value(); }
    /// Brings the question to the front, if one stands.
    void raise() const;
    /// What goes on has changed. A question about browsers that have all ended their use takes
    /// itself back, but not at once: one that changes its device is off for a moment.
    void look(const std::vector<UsageSession>& open);

    static constexpr Seconds patience = 1.0;

private:
    struct Standing {
        int number = 0;
        std::vector<std::string> apps; ///< ids
        bool hasSeenUse = false;       ///< otherwise no use has ended
        Decide decide;
        ShownQuestion shown;
        Subscription takingBack;
    };
    void decide(std::optional<BrowserAnswer> answer);

    Scheduler& scheduler_;
    AskAboutBrowsers ask_;
    int asked_ = 0;
    std::optional<Standing> standing_;
    std::shared_ptr<const bool> alive_ = std::make_shared<const bool>(true);
};

} // namespace velmoran
