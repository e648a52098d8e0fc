#include "app/model/StopQuestion.h"

#include <utility>

namespace velmoran {

StopQuestion::StopQuestion(AskAboutBrowsers ask) : ask_(std::move(ask)) {}

void StopQuestion::ask(const std::vector<AppIdentity>& browsers, bool keepOffered, Decide decide) {
    BrowserQuestion question;
    question.keepOffered = keepOffered;
    // Named, since Clang takes a nested class with initial values for one that can't be made.
    auto& standing = standing_.emplace(Standing());
    const int number = ++asked_;
    standing.number = number;
    for (const auto& browser : browsers) {
        question.browsers.push_back(browser.name);
    }
    standing.decide = std::move(decide);
    const auto stillStands = [this, number] {
        return standing_ && standing_->number == number;
    };
    auto shown = ask_(question, [this, alive = std::weak_ptr(alive_), stillStands,
                                 keepOffered](BrowserAnswer answer) {
        if (!alive.expired() && stillStands()) {
            this->decide(answer == BrowserAnswer::keep && !keepOffered ? BrowserAnswer::cancel
                                                                       : answer);
        }
    });
    if (stillStands()) {
        standing_->shown = std::move(shown);
    }
}

void StopQuestion::raise() const {
    if (standing_ && standing_->shown.raise) {
        // A copy, since a window that comes to the front may be answered meanwhile.
        const auto raise = standing_->shown.raise;
        raise();
    }
}

void StopQuestion::decide(BrowserAnswer answer) {
    // Off the screen first: what is decided may be the next question.
    auto decided = std::move(standing_->decide);
    standing_.reset();
    decided(answer);
}

} // namespace velmoran
