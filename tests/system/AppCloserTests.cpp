#include "system/AppCloser.h"

#include "system/scripted/ScriptedTime.h"

#include <gtest/gtest.h>
#include <string>

namespace velmoran {
namespace {

/// What runs, as the test wants it: who obeys what, and a log of what was done to whom.
struct Scene final : RunningApps {
    struct One {
        std::string name;
        bool obeysPolite = true;
        bool obeysForce = true;
        bool gone = false;
    };
    std::vector<std::shared_ptr<One>> applications;
    std::vector<std::shared_ptr<One>> processes;
    std::vector<std::string> log;

    struct Application final : RunningApplication {
        Scene& scene;
        std::shared_ptr<One> one;
        Application(Scene& given, std::shared_ptr<One> each) : scene(given), one(std::move(each)) {}
        void terminate() override {
            scene.log.push_back("quit " + one->name);
            one->gone = one->gone || one->obeysPolite;
        }
        void forceTerminate() override {
            scene.log.push_back("force " + one->name);
            one->gone = one->gone || one->obeysForce;
        }
        bool isTerminated() override { return one->gone; }
    };
    struct Process final : RunningProcess {
        Scene& scene;
        std::shared_ptr<One> one;
        Process(Scene& given, std::shared_ptr<One> each) : scene(given), one(std::move(each)) {}
        void askToEnd() override {
            scene.log.push_back("15 " + one->name);
            one->gone = one->gone || one->obeysPolite;
        }
        void kill() override {
            scene.log.push_back("9 " + one->name);
            one->gone = one->gone || one->obeysForce;
        }
        bool isGone() override { return one->gone; }
    };

    RunningApp find(const AppIdentity&) override {
        RunningApp found;
        for (const auto& each : applications) {
            found.applications.push_back(std::make_unique<Application>(*this, each));
        }
        for (const auto& each : processes) {
            found.processes.push_back(std::make_unique<Process>(*this, each));
        }
        return found;
    }
};

struct AppCloserTest : ::testing::Test {
    ScriptedTime time;
    Scene scene;
    AppCloser closer{scene, time};
    std::optional<bool> answer;

    void close() {
        closer.close({}, [this](bool gone) {
            EXPECT_FALSE(answer) << "one answer only";
            answer = gone;
        });
    }
    static std::shared_ptr<Scene::One> one(const std::string& name, bool polite = true,
                                           bool force = true) {
        return std::make_shared<Scene::One>(Scene::One{name, polite, force, false});
    }
};

using Log = std::vector<std::string>;

TEST_F(AppCloserTest, SaysGoneAtOnceWhenNothingRuns) {
    close();
    EXPECT_EQ(answer, true);
    EXPECT_TRUE(scene.log.empty());
}

TEST_F(AppCloserTest, AsksAnApplicationToQuitAndSignalsNobody) {
    scene.applications = {one("app")};
    scene.processes = {one("helper")};
    scene.processes.front()->gone = true;
    close();
    EXPECT_EQ(answer, true);
    EXPECT_EQ(scene.log, Log{"quit app"});
}

TEST_F(AppCloserTest, SignalsProcessesThatHaveNoApplication) {
    scene.processes = {one("a"), one("b")};
    close();
    EXPECT_EQ(answer, true);
    EXPECT_EQ(scene.log, (Log{"15 a", "15 b"}));
}

TEST_F(AppCloserTest, ForcesAToolAfterTwoSeconds) {
    scene.processes = {one("tool", false)};
    close();
    time.advanceTo(1.95);
    EXPECT_EQ(scene.log, Log{"15 tool"});
    time.advanceTo(2.05);
    EXPECT_EQ(scene.log, (Log{"15 tool", "9 tool"}));
    EXPECT_EQ(answer, true);
}

TEST_F(AppCloserTest, ForcesApplicationAndProcessesBoth) {
    scene.applications = {one("app", false)};
    scene.processes = {one("helper", false)};
    close();
    time.advanceTo(2.05);
    EXPECT_EQ(scene.log, (Log{"quit app", "force app", "9 helper"}));
    EXPECT_EQ(answer, true);
}

TEST_F(AppCloserTest, GivesUpAfterTheLastPoll) {
    scene.applications = {one("app", false, false)};
    close();
    time.advanceTo(3.45);
    EXPECT_EQ(answer, std::nullopt);
    time.advanceTo(3.55);
    EXPECT_EQ(answer, false);
}

TEST_F(AppCloserTest, NoticesWithinOnePollThatAnAppHasGone) {
    scene.applications = {one("app", false)};
    close();
    time.advanceTo(0.75);
    scene.applications.front()->gone = true;
    time.advanceTo(0.86);
    EXPECT_EQ(answer, true);
    EXPECT_EQ(scene.log, Log{"quit app"});
}

TEST_F(AppCloserTest, AnswersNobodyOnceItIsGone) {
    scene.applications = {one("app", false)};
    {
        AppCloser other(scene, time);
        other.close({}, [](bool) { FAIL(); });
    }
    time.advanceTo(10);
    EXPECT_EQ(scene.log, Log{"quit app"});
}

} // namespace
} // namespace velmoran
