#include "app/model/StopQuestion.h"

#include <utility>

namespace velmoran {

StopQuestion::StopQuestion(AskAboutBrowsers ask) : ask_(std::move(ask)) {}

void StopQuestion::ask(const std::vector<AppIdentity>& browsers, bool keepOffered, Decide decide) {
    BrowserQuestion question;
    question.keepOffered = keepOffered;
    for (const auto& browser : browsers) {
        question.browsers.push_back(browser.name);
    }
    standing_ = std::make_shared<Standing>(Standing{std::move(decide), {}});
    const std::weak_ptr standing = standing_;
    auto shown = ask_(question, [this, standing, keepOffered](BrowserAnswer answer) {
        if (!standing.expired()) {
            this->decide(answer == BrowserAnswer::keep && !keepOffered ? BrowserAnswer::cancel
                                                                       : answer);
        }
    });
    if (!standing.expired()) {
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
