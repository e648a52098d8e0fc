// A model on a scripted machine and a virtual clock, with its settings and its history in memory.
#pragma once

#include "app/model/AppModel.h"
#include "app/model/MemorySettings.h"
#include "system/scripted/ScriptedMachine.h"
#include "system/scripted/ScriptedTime.h"

#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace velmoran::testing {

inline AppRef appRef(const std::string& name) {
    return {.name = name, .bundleID = "org.example." + name, .path = "/Applications/" + name};
}

struct ModelFixture : ::testing::Test {
    ScriptedTime time;
    ScriptedMachine machine;
    MemorySettings settings;
    std::shared_ptr<HistoryStore> store = std::make_shared<HistoryStore>(std::nullopt);
    bool historyFails = false;
    int sounds = 0;
    int changes = 0;
    std::vector<SessionEvent> events;
    /// Takes the place of a person who cancels.
    decltype(ModelSurroundings::askAboutBrowsers) askAboutBrowsers;
    Windows* windows = nullptr;
    std::unique_ptr<AppModel> model;
    std::vector<Subscription> subscriptions;

    void launch() {
        subscriptions.clear();
        model.reset();
        machine.restart();
        machine.onSound = [this] {
            ++sounds;
        };
        ModelSurroundings surroundings{machine, time, time, settings,
                                       [this]() -> std::shared_ptr<HistoryStore> {
                                           if (historyFails) {
                                               throw std::runtime_error("no history");
                                           }
                                           return store;
                                       }};
        if (askAboutBrowsers) {
            surroundings.askAboutBrowsers = askAboutBrowsers;
        }
        surroundings.windows = windows;
        model = std::make_unique<AppModel>(surroundings);
        subscriptions.push_back(model->onChange.subscribe([this] { ++changes; }));
        subscriptions.push_back(model->onSessionEvent.subscribe(
            [this](const SessionEvent& event) { events.push_back(event); }));
        model->start();
        time.runPosted();
    }

    /// A launch and a first reading with everything off, so that what comes now is observed.
    void launchWatching() {
        launch();
        receive({});
    }

    void receive(const SystemSnapshot& snapshot) {
        model->receive(snapshot);
        time.runPosted();
    }

    static SystemSnapshot camera(const std::vector<AppRef>& apps) {
        SystemSnapshot snapshot;
        snapshot.cameraOn = true;
        snapshot.cameraDevices = {"Cam"};
        snapshot.cameraApps = apps;
        return snapshot;
    }

    static SystemSnapshot microphone(const std::vector<AppRef>& apps,
                                     const std::vector<AppRef>& attributed = {}) {
        SystemSnapshot snapshot;
        snapshot.microphoneOn = !apps.empty();
        snapshot.microphoneApps = apps;
        snapshot.microphoneAttributed = attributed;
        return snapshot;
    }

    std::vector<std::string> titles() const {
        std::vector<std::string> result;
        for (const auto& item : model->notices.items()) {
            result.push_back(item.title);
        }
        return result;
    }

    void press(const std::string& title) {
        ASSERT_FALSE(model->notices.items().empty());
        const auto item = model->notices.items().back();
        for (const auto& button : item.buttons) {
            if (button.title == title) {
                EXPECT_TRUE(model->notices.press(item.id, button.id));
                return;
            }
        }
        FAIL() << "no button " << title;
    }
};

} // namespace velmoran::testing
