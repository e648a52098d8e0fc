// One press, from the model to the end of a real recorder. Whatever is closed here is a copy in a
// folder of the test's own: a stop reaches every process of an app on the machine, and other tests
// run beside this one.
#include "app/model/AppModel.h"
#include "app/model/MemorySettings.h"
#include "app/qtbase/QtEventLoop.h"
#include "core/stopping/Browser.h"
#include "support/PrivateSession.h"
#include "support/RunningProgram.h"
#include "system/MakeMachine.h"
#include "system/linux/LinuxAppNames.h"

#include <QCoreApplication>
#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace velmoran {
namespace {

using support::PrivateSession;

class StopRoad : public ::testing::Test {
protected:
    StopRoad() {
        session_.startSound();
        session_.addMicrophone("mic", "Mic");
        session_.enter();
        std::filesystem::create_directories(session_.file("dev"));
        machine_ = makeMachine({.sounds = nullptr, .deviceFolder = session_.file("dev")});
        model_ = std::make_unique<AppModel>(ModelSurroundings{
            .machine = *machine_,
            .clock = loop_,
            .scheduler = loop_,
            .settings = settings_,
            .openHistory =
                [this] {
                    return std::make_shared<HistoryStore>(session_.home() / "History.store");
                },
        });
        model_->start();
    }
    ~StopRoad() override {
        model_->stopMonitor();
        model_.reset();
        machine_.reset();
    }

    bool becomes(const std::function<bool()>& condition, support::Bound bound = support::patience) {
        return support::waitUntil(
            [&] {
                QCoreApplication::processEvents();
                return condition();
            },
            bound);
    }
    /// A recorder under a path that nobody else runs.
    std::string recorder(const std::string& name) const {
        const std::filesystem::path file = session_.home() / name;
        std::filesystem::copy_file(std::filesystem::canonical("/usr/bin/pw-cat"), file);
        return std::filesystem::canonical(file);
    }
    support::ChildProcess& record(const std::string& program) {
        return session_.start(program, {program, "--record", session_.file("sound.wav")});
    }
    bool isOn(const std::string& id) const {
        const auto& open = *model_->openSessions;
        return std::any_of(open.begin(), open.end(),
                           [&](const UsageSession& use) { return use.app.id == id; });
    }

    PrivateSession session_;
    MemorySettings settings_;
    std::unique_ptr<Machine> machine_;
    std::unique_ptr<AppModel> model_;

private:
    int count_ = 1;
    char name_[16] = "stop-road";
    char* arguments_[2] = {name_, nullptr};
    QCoreApplication application_{count_, arguments_};
    QtEventLoop loop_;
};

TEST_F(StopRoad, MutesClosesAndKeepsInTheHistoryWhoWasStopped) {
    const auto program = recorder("my-recorder");
    auto& child = record(program);
    ASSERT_TRUE(becomes([&] { return isOn(program); })) << session_.logs();
    std::optional<StopResult> result;
    const auto ended = model_->onStopEnded.subscribe(
        [&](const std::optional<StopResult>& what) { result = what; });
    model_->stopEverything();
    ASSERT_TRUE(becomes([&] { return result.has_value(); })) << session_.logs();
    EXPECT_EQ(result->microphoneMuted, true);
    ASSERT_EQ(result->closed.size(), 1U);
    EXPECT_EQ(result->closed.front().id, program);
    EXPECT_TRUE(result->everythingStopped());
    EXPECT_EQ(result->headline(), "Microphone muted. my-recorder was closed.");
    EXPECT_FALSE(child.running());
    EXPECT_TRUE(becomes([&] {
        const auto& stored = *model_->historySessions;
        return stored.size() == 1 && stored[0].outcome == SessionOutcome::stoppedByUser &&
               stored[0].end.has_value();
    }));
}

TEST_F(StopRoad, StopsOneAppAndLetsTheOtherRecordOn) {
    const auto program = recorder("my-recorder");
    const auto other = recorder("other-recorder");
    auto& child = record(program);
    auto& spared = record(other);
    ASSERT_TRUE(becomes([&] { return isOn(program) && isOn(other); })) << session_.logs();
    std::optional<StopResult> result;
    const auto ended = model_->onStopEnded.subscribe(
        [&](const std::optional<StopResult>& what) { result = what; });
    const auto open = *model_->openSessions;
    model_->stop(std::find_if(open.begin(), open.end(), [&](const UsageSession& use) {
                     return use.app.id == program;
                 })->app);
    ASSERT_TRUE(becomes([&] { return result.has_value(); }));
    EXPECT_EQ(result->closed.size(), 1U);
    EXPECT_FALSE(child.running());
    EXPECT_TRUE(spared.running());
    EXPECT_TRUE(becomes([&] { return !isOn(program) && isOn(other); }));
}

TEST_F(StopRoad, NeverClosesWhatTheSessionStandsOn) {
    LinuxAppNames names(LinuxPlaces::ofThisUser());
    const auto identity = [&](const AppRef& app) {
        return AppIdentity{.id = app.id(),
                           .name = app.name,
                           .bundleID = app.bundleID,
                           .path = app.path,
                           .teamID = {}};
    };
    const auto file = [&](const std::string& path) {
        return identity({.name = "x", .bundleID = {}, .path = path});
    };
    // This very process, and the one that started it, if it can be named.
    EXPECT_TRUE(machine_->isProtected(identity(names.identify(getpid()))));
    const auto parent = identity(names.identify(getppid()));
    EXPECT_TRUE(machine_->isProtected(parent) || parent.cannotBeNamed()) << parent.id;
    for (const std::string path :
         {"/usr/bin/pipewire", "/usr/bin/openbox", "/usr/bin/dbus-daemon"}) {
        ASSERT_TRUE(std::filesystem::exists(path)) << path;
        EXPECT_TRUE(machine_->isProtected(file(std::filesystem::canonical(path)))) << path;
    }
    // Not what only bears such a name, says that it is root's, or is a script of root's.
    auto thief = file(recorder("pipewire"));
    EXPECT_FALSE(machine_->isProtected(thief));
    thief.teamID = "system";
    EXPECT_FALSE(machine_->isProtected(thief));
    EXPECT_FALSE(machine_->isProtected(file("/usr/bin/pw-cat")));
    for (const std::string script :
         {"/usr/bin/startx", "/usr/bin/gnome-session", "/usr/bin/Xorg"}) {
        if (support::readFile(script).starts_with("#!")) {
            EXPECT_FALSE(machine_->isProtected(file(script))) << script;
        }
    }
    EXPECT_TRUE(Browser::isBrowser(identity({.name = "x", .bundleID = "firefox-esr", .path = {}}),
                                   machine_->browsers()));
}

} // namespace
} // namespace velmoran
