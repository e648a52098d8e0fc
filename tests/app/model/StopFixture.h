// A model on the scripted machine whose stops, questions and mutes are written down.
#pragma once

#include "tests/app/model/ModelFixture.h"

namespace velmoran::testing {

using Titles = std::vector<std::string>;

inline AppRef surf() {
    return {.name = "Surf", .bundleID = "org.example.surf", .path = "/Applications/Surf"};
}

struct StopFixture : ModelFixture {
    std::vector<std::pair<bool, MuteOutcome>> mutes;
    std::vector<std::pair<std::string, bool>> closed;
    std::vector<BrowserQuestion> questions;
    std::function<void(BrowserAnswer)> answer; ///< to the last question
    int shown = 0;                             ///< questions on screen
    int raised = 0;                            ///< questions brought to the front

    void begin() {
        machine.script.browsers = {"org.example.surf"};
        askAboutBrowsers = [this](const BrowserQuestion& question, auto answered) {
            questions.push_back(question);
            answer = answered;
            ++shown;
            return ShownQuestion{.raise = [this] { ++raised; },
                                 .shown = Subscription([this] { --shown; })};
        };
        launch();
        subscriptions.push_back(model->onMicrophonesMuted.subscribe(
            [this](bool on, const MuteOutcome& outcome) { mutes.emplace_back(on, outcome); }));
        subscriptions.push_back(model->onAppClosed.subscribe(
            [this](const AppIdentity& app, bool gone) { closed.emplace_back(app.name, gone); }));
        receive({});
    }

    /// A question that stands goes with the model, and is counted here.
    void TearDown() override {
        subscriptions.clear();
        model.reset();
    }

    void passTime(Seconds seconds) { time.advanceBy(seconds); }
    AppIdentity seen(const AppRef& app) { return model->seenApp(app.id()).value(); }
    SessionOutcome storedOutcome() { return store->sessions().front().outcome.value(); }
};

using Closed = std::vector<std::pair<std::string, bool>>;

} // namespace velmoran::testing
