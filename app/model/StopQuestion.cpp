#include "app/model/StopQuestion.h"

#include <algorithm>
#include <utility>

namespace velmoran {

namespace {

bool anyUse(const std::vector<UsageSession>& open, const std::vector<std::string>& apps) {
    return std::any_of(open.begin(), open.end(), [&](const UsageSession& session) {
        return session.device != Device::speaker &&
               std::find(apps.begin(), apps.end(), session.app.id) != apps.end();
    });
}

} // namespace

StopQuestion::StopQuestion(Scheduler& scheduler, AskAboutBrowsers ask)
    : scheduler_(scheduler),
      ask_(std::move(ask)) {}

void StopQuestion::ask(const std::vector<AppIdentity>& browsers, bool keepOffered,
                       const std::vector<UsageSession>& open, Decide decide) {
    BrowserQuestion question;
    question.keepOffered = keepOffered;
    // Named, since Clang takes a nested class with initial values for one that can't be made.
    auto& standing = standing_.emplace(Standing());
    const int number = ++asked_;
    standing.number = number;
    for (const auto& browser : browsers) {
        question.browsers.push_back(browser.name);
        standing.apps.push_back(browser.id);
    }
    standing.hasSeenUse = anyUse(open, standing.apps);
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

void StopQuestion::look(const std::vector<UsageSession>& open) {
    if (!standing_) {
        return;
    }
    if (anyUse(open, standing_->apps)) {
        standing_->hasSeenUse = true;
        standing_->takingBack.reset();
    } else if (standing_->hasSeenUse && !standing_->takingBack) {
        standing_->takingBack = scheduler_.after(patience, [this] { decide(std::nullopt); });
    }
}

void StopQuestion::decide(std::optional<BrowserAnswer> answer) {
    // Off the screen first: what is decided may be the next question.
    auto decided = std::move(standing_->decide);
    const auto timer = std::move(standing_->takingBack); // maybe the caller
    standing_.reset();
    decided(answer);
}

} // namespace velmoran
