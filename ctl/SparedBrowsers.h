// Who answers in place of a user when a stop is about to close browsers and nobody can be asked, as
// in a terminal: no browser is closed. Remembers which, for whoever tells of the stop. Owned by the
// watch; main thread.
#pragma once

#include "core/stopping/Browser.h"
#include "core/stopping/BrowserQuestion.h"

#include <functional>
#include <string>
#include <vector>

namespace velmoran {

class SparedBrowsers {
public:
    void answer(const BrowserQuestion& question, const std::function<void(BrowserAnswer)>& answer);

    /// Why the browsers that the last stop was about stay open, in the language of the process-wide
    /// words; empty if there were none, or it was asked already.
    std::string popSentence();

private:
    std::vector<std::string> names_;
};

} // namespace velmoran
