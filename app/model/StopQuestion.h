// The question before a stop closes browsers, from the moment it is asked until it is answered. It
// never takes itself away: who sees it go would think that nothing happens. At most one stands at a
// time. Owned by the stop flow; main thread.
#pragma once

#include "core/base/Subscription.h"
#include "core/records/AppIdentity.h"
#include "core/stopping/Browser.h"
#include "core/stopping/BrowserQuestion.h"

#include <functional>
#include <memory>
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
    using Decide = std::function<void(BrowserAnswer)>;

    explicit StopQuestion(AskAboutBrowsers ask);

    /// Asks about these browsers, at least one. `decide` is called once, in the call or later,
    /// unless this goes first. Not while another question stands.
    void ask(const std::vector<AppIdentity>& browsers, bool keepOffered, Decide decide);
    bool stands() const { return standing_ != nullptr; }
    /// Brings the question to the front, if one stands.
    void raise() const;

private:
    struct Standing {
        Decide decide;
        ShownQuestion shown;
    };
    void decide(BrowserAnswer answer);

    AskAboutBrowsers ask_;
    std::shared_ptr<Standing> standing_; ///< none but this owns it; null while nothing is asked
};

} // namespace velmoran
