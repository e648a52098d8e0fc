// The running program, without its screens, on a Linux machine with real servers: the ground of the
// tests that follow a use from a client to its card and its row. Belongs to one test.
#pragma once

#include "app/model/AppModel.h"
#include "app/model/MemorySettings.h"
#include "app/qtbase/QtEventLoop.h"
#include "support/PrivateSession.h"
#include "system/MakeMachine.h"

#include <QCoreApplication>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace velmoran {

class RunningModel : public ::testing::Test {
protected:
    RunningModel() {
        session_.startSound();
        session_.enter();
        std::filesystem::create_directories(deviceFolder());
    }
    ~RunningModel() override {
        if (model_) {
            quit();
        }
    }

    std::filesystem::path deviceFolder() const { return session_.file("dev"); }

    /// A stand-in for a camera's node; before `start`.
    std::filesystem::path addNode() {
        support::writeFile(deviceFolder() / "video0", std::string(4096, 'x'));
        return deviceFolder() / "video0";
    }

    void start() { start(loop_); }
    void start(Scheduler& scheduler) {
        machine_ = makeMachine({.sounds = nullptr, .deviceFolder = deviceFolder()});
        ModelSurroundings surroundings{*machine_, loop_, scheduler, settings_, [this] {
                                           return std::make_shared<HistoryStore>(session_.home() /
                                                                                 "History.store");
                                       }};
        if (askAboutBrowsers_) {
            surroundings.askAboutBrowsers = askAboutBrowsers_;
        }
        model_ = std::make_unique<AppModel>(surroundings);
        model_->start();
        // What is on at the first reading counts as on before the program, and isn't told.
        ASSERT_TRUE(becomes([&] { return model_->snapshot->output.has_value(); })) << report();
    }

    /// Until the sound server has told of its microphones. None is muted here yet.
    void awaitMicrophones() {
        bool answered = false;
        const auto answers = model_->onMicrophonesMuted.subscribe(
            [&](bool, const MuteAnswer& answer) { answered = answer.serverAnswered; });
        ASSERT_TRUE(becomes([&] {
            model_->unmuteMicrophone();
            return answered;
        })) << report();
    }

    void quit() {
        model_->stopMonitor();
        model_.reset();
        machine_.reset();
    }

    /// Lets the program work until that is true.
    bool becomes(const std::function<bool()>& condition, support::Bound bound = support::patience) {
        return support::waitUntil(
            [&] {
                QCoreApplication::processEvents();
                return condition();
            },
            bound);
    }

    const NoticeItem* card(const std::string& title) {
        for (const auto& item : model_->notices.items()) {
            if (item.title == title) {
                return &item;
            }
        }
        return nullptr;
    }

    bool press(const std::string& title, const std::string& button) {
        if (const auto* item = card(title)) {
            for (const auto& candidate : item->buttons) {
                if (candidate.title == button) {
                    const auto action = candidate.action;
                    action();
                    return true;
                }
            }
        }
        return false;
    }

    std::string report() {
        std::string all = session_.logs() + "\ncards:";
        for (const auto& item : model_->notices.items()) {
            all += "\n  " + item.title + " / " + item.message.value_or("");
        }
        all += "\nopen:";
        for (const auto& session : model_->openSessions.get()) {
            all += "\n  " + session.app.name;
        }
        const auto& output = model_->snapshot->output;
        return all + "\noutput: " + (output ? output->name : "none");
    }

    /// What another reader finds in the file.
    std::vector<UsageSession> stored() {
        HistoryStore reader(session_.home() / "History.store");
        return reader.sessions();
    }

    int count_ = 1;
    char name_[16] = "model";
    char* arguments_[2] = {name_, nullptr};
    support::PrivateSession session_;
    QCoreApplication application_{count_, arguments_};
    QtEventLoop loop_;
    MemorySettings settings_;
    /// Takes the place of a person who cancels; before `start`.
    decltype(ModelSurroundings::askAboutBrowsers) askAboutBrowsers_;
    std::unique_ptr<Machine> machine_;
    std::unique_ptr<AppModel> model_;
};

} // namespace velmoran
