#include "BusFixture.h"

#include "app/bus/BusProperties.h"
#include "app/bus/Identity.h"

#include <csignal>
#include <gmock/gmock.h>
#include <thread>
#include <unistd.h>

namespace velmoran {
namespace {

using testing::BusClient;
using testing::BusFixture;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using Words = std::vector<std::string>;

class BusServiceTest : public BusFixture {
protected:
    /// Calls from a thread of its own while the program's loop runs.
    Words call(const std::string& method, const std::optional<std::string>& argument = {}) {
        Words result;
        std::atomic<bool> isDone = false;
        std::thread thread([&] {
            result = BusClient(address()).call(method, argument);
            isDone = true;
        });
        EXPECT_TRUE(runUntil([&] { return isDone.load(); })) << method;
        thread.join();
        return result;
    }
    std::string run(const std::vector<std::string>& arguments) {
        auto client = start(arguments);
        finish(client);
        return client.output() + client.errors();
    }
};

TEST_F(BusServiceTest, StopsEverythingAndAnswersWhenItIsDone) {
    launch();
    model->receive(reading({app("Zoom")}, {app("Meet")}));
    EXPECT_THAT(call("StopEverything"),
                ElementsAre("done", "Microphone muted. Zoom and Meet were closed.",
                            HasSubstr("The microphone stays muted")));
    EXPECT_FALSE(*model->isStopping);
    EXPECT_TRUE(*model->settings.microphoneMuted);
}

TEST_F(BusServiceTest, StopsOneAppByIDPathOrName) {
    launch();
    for (const auto* name : {"org.example.Zoom", "/opt/Zoom", "Zoom", "zoom"}) {
        model->receive(reading({app("Zoom"), app("Meet")}));
        EXPECT_THAT(call("Stop", name), ElementsAre("done", "Zoom was closed.", "")) << name;
        model->receive({});
    }
}

TEST_F(BusServiceTest, SaysWhatIsOnWhenTheAppIsNot) {
    launch();
    EXPECT_THAT(call("Stop", "Zoom"), ElementsAre(bus::notInUse));
    model->receive(reading({app("Meet")}));
    const auto said = run(
        {"busctl", "--user", "call", bus::name, bus::path, bus::interface, "Stop", "s", "Zoom"});
    EXPECT_THAT(said, HasSubstr("“Zoom” isn't using the camera or microphone. These are: Meet "
                                "(org.example.Meet)."));
}

TEST_F(BusServiceTest, AsksWhichOneIsMeant) {
    launch();
    auto other = app("Zoom");
    other.bundleID = "com.other.zoom";
    model->receive(reading({app("Zoom"), other}));
    EXPECT_THAT(call("Stop", "Zoom"), ElementsAre(bus::ambiguous));
    EXPECT_THAT(call("Stop", "com.other.zoom"), ElementsAre("done", "Zoom was closed.", ""));
}

TEST_F(BusServiceTest, SaysWhatCouldNotBeStopped) {
    machine.script.refusesToClose = {"org.example.Zoom"};
    launch();
    model->receive(reading({app("Zoom")}));
    EXPECT_THAT(call("Stop", "Zoom"), ElementsAre("incomplete", "Nothing could be stopped.",
                                                  HasSubstr("Zoom didn't close")));
}

TEST_F(BusServiceTest, DropsASecondStopWhateverDoorItComesThrough) {
    machine.script.closeSeconds["org.example.Zoom"] = 100;
    launch();
    model->receive(reading({app("Zoom")}));
    const BusClient first(address());
    ASSERT_TRUE(first.send("StopEverything"));
    ASSERT_TRUE(runUntil([&] { return *model->isStopping; }));
    EXPECT_THAT(call("StopEverything"), ElementsAre("busy", "A stop is under way already.", ""));
    EXPECT_THAT(call("Stop", "Zoom"), ElementsAre("busy", "A stop is under way already.", ""));
    EXPECT_TRUE(*model->isStopping);
}

TEST_F(BusServiceTest, DropsAStopWhileTheUserIsAsked) {
    launch();
    model->receive(
        reading({{.name = "Fox", .bundleID = "org.mozilla.firefox", .path = "/opt/fox"}}));
    auto waiting = startCtl({"stop"});
    ASSERT_TRUE(runUntil([&] { return questions == 1; }));
    EXPECT_EQ(raises, 0);
    const std::string asking =
        "Velmoran is asking about a browser on the screen. Answer that first.";
    EXPECT_THAT(call("StopEverything"), ElementsAre("busy", asking, ""));
    EXPECT_EQ(raises, 1) << "whoever stops again hasn't seen it";
    EXPECT_THAT(call("Stop", "Fox"), ElementsAre("busy", asking, ""));
    EXPECT_EQ(raises, 2);
    for (int i = 0; i < 30; ++i) {
        EXPECT_THAT(call("StopEverything"), ElementsAre("busy", asking, ""));
    }
    EXPECT_GE(raises, BusRequests::atOnce);
    EXPECT_LT(raises, 20) << "a flood may not hold it in front";
    EXPECT_EQ(questions, 1);
    EXPECT_TRUE(waiting.running());

    answerQuestion(BrowserAnswer::cancel);
    EXPECT_EQ(finish(waiting), 3);
    EXPECT_THAT(waiting.output(), HasSubstr("Nothing was stopped"));
    EXPECT_FALSE(model->isBusyStopping());
}

TEST_F(BusServiceTest, UnmutesAndSaysSo) {
    launch();
    call("StopEverything");
    ASSERT_TRUE(*model->settings.microphoneMuted);
    EXPECT_THAT(call("UnmuteMicrophone"),
                ElementsAre("done", "The microphone is no longer muted.", ""));
    EXPECT_FALSE(*model->settings.microphoneMuted);
    machine.script.microphones = {{"Stubborn", false, std::nullopt}};
    EXPECT_THAT(call("UnmuteMicrophone"),
                ElementsAre("incomplete", "The microphone couldn't be unmuted.",
                            "Stubborn couldn't be unmuted."));
    machine.script.microphones = {};
    EXPECT_THAT(call("UnmuteMicrophone"),
                ElementsAre("done", "The microphone is no longer muted.", ""))
        << "there is none";
}

TEST_F(BusServiceTest, SaysThatThereWasNothingToUnmute) {
    launch();
    machine.mutedByOthersAlone = true;
    EXPECT_THAT(call("UnmuteMicrophone"),
                ElementsAre("done",
                            "No microphone was muted by Velmoran, so there was nothing to unmute.",
                            ""));
    EXPECT_TRUE(model->notices.items().empty());
}

TEST_F(BusServiceTest, SaysThatNoSoundServerHasTakenTheUnmute) {
    launch();
    call("StopEverything");
    machine.setSoundServerHangs(true);
    const auto notYet =
        ElementsAre("incomplete", "The microphone couldn't be unmuted yet.",
                    "The sound server didn't answer. As soon as it does, the microphone is "
                    "unmuted.");
    EXPECT_THAT(call("UnmuteMicrophone"), notYet);
    EXPECT_FALSE(*model->settings.microphoneMuted);
    // A server that is away has no microphones to name.
    machine.script.microphones = {};
    EXPECT_THAT(call("UnmuteMicrophone"), notYet);
}

TEST_F(BusServiceTest, TellsTheStatusAsJsonAndAsProperties) {
    launch();
    model->receive(reading({app("Zoom")}));
    const auto status = decode<ProgramStatus>(call("Status").at(0));
    EXPECT_EQ(status, statusOf(*model));
    ASSERT_EQ(status.uses.size(), 1U);
    EXPECT_EQ(status.uses[0].app.name, "Zoom");
    EXPECT_TRUE(status.uses[0].seenFromStart);

    const auto all = run(
        {"dbus-send", "--session", "--print-reply", std::string("--dest=") + bus::name, bus::path,
         "org.freedesktop.DBus.Properties.GetAll", std::string("string:") + bus::interface});
    for (const auto& property : bus::properties()) {
        EXPECT_THAT(all, HasSubstr("\"" + property + "\""));
    }
    EXPECT_THAT(all, HasSubstr("string \"org.example.Zoom\""));
    EXPECT_EQ(run({"busctl", "--user", "get-property", bus::name, bus::path, bus::interface,
                   "CameraOn", "MicrophoneOn"}),
              "b true\nb false\n");
}

TEST_F(BusServiceTest, TellsOfChangesOnce) {
    launch();
    auto monitor = start({"gdbus", "monitor", "--session", "-d", bus::name});
    // It says that it listens before it does.
    bool isOn = false;
    ASSERT_TRUE(runUntil([&] {
        isOn = !isOn;
        model->receive(isOn ? reading({app("Before")}) : SystemSnapshot());
        return monitor.output().find("'AppName': <'Before'>") != std::string::npos;
    }));
    model->receive({});
    model->receive(reading({app("Zoom")}));
    std::size_t from = 0;
    const auto signalled = [&](const std::string& text) {
        return runUntil([&] {
            const auto at = monitor.output().find(text, from);
            from = at == std::string::npos ? from : at;
            return at != std::string::npos;
        });
    };
    EXPECT_TRUE(signalled("'AppName': <'Zoom'>")) << monitor.output();
    EXPECT_NE(monitor.output().rfind("'CameraOn': <true>"), std::string::npos);
    model->receive({});
    EXPECT_TRUE(signalled("'CameraOn': <false>")) << monitor.output();
    EXPECT_EQ(monitor.output().find("MicrophoneOn"), std::string::npos) << monitor.output();
    monitor.stop();
}

TEST_F(BusServiceTest, DescribesItselfToAnyClient) {
    launch();
    const auto tree = run({"gdbus", "introspect", "--session", "-r", "-d", bus::name, "-o", "/"});
    for (const auto* part : {"node /org/velmoran/Velmoran", "StopEverything(out s outcome",
                             "Stop(in  s app", "UnmuteMicrophone(", "Status(out s json)",
                             "readonly b CameraOn = false", "readonly aa{sv} Uses = []"}) {
        EXPECT_THAT(tree, HasSubstr(part));
    }
    EXPECT_THAT(run({"busctl", "--user", "tree", bus::name}), HasSubstr("/org/velmoran/Velmoran"));
}

TEST_F(BusServiceTest, RefusesWhatItDoesNotKnow) {
    launch();
    const auto error = [&](std::vector<std::string> rest) {
        std::vector<std::string> all = {"gdbus", "call", "--session", "-d", bus::name};
        all.insert(all.end(), rest.begin(), rest.end());
        return run(all);
    };
    const std::string own = bus::interface;
    EXPECT_THAT(error({"-o", bus::path, "-m", own + ".Dance"}), HasSubstr("UnknownMethod"));
    EXPECT_THAT(error({"-o", "/elsewhere", "-m", own + ".Status"}), HasSubstr("UnknownObject"));
    EXPECT_THAT(error({"-o", "/org", "-m", own + ".Status"}), HasSubstr("UnknownMethod"));
    EXPECT_THAT(error({"-o", bus::path, "-m", "org.example.Other.Status"}),
                HasSubstr("UnknownInterface"));
    EXPECT_THAT(run({"busctl", "--user", "call", bus::name, bus::path, bus::interface, "Stop"}),
                HasSubstr("One text is wanted."));
    EXPECT_THAT(run({"busctl", "--user", "call", bus::name, bus::path, bus::interface, "Status",
                     "s", "more"}),
                HasSubstr("No argument is wanted."));
    EXPECT_THAT(run({"busctl", "--user", "set-property", bus::name, bus::path, bus::interface,
                     "CameraOn", "b", "true"}),
                HasSubstr("Properties can only be read."));
    EXPECT_THAT(
        run({"busctl", "--user", "get-property", bus::name, bus::path, bus::interface, "Colour"}),
        HasSubstr("There is no such property."));
    EXPECT_FALSE(model->isBusyStopping());
}

TEST_F(BusServiceTest, ShowsWhichProcessServes) {
    launch();
    const IdentityQuestion question;
    EXPECT_FALSE(question.isAnsweredBy(::getpid()));
    EXPECT_THAT(call("Identify", question.place()), ElementsAre());
    EXPECT_TRUE(question.isAnsweredBy(::getpid()));
    EXPECT_FALSE(question.isAnsweredBy(::getpid())) << "it came once";
    EXPECT_THAT(call("Identify", question.place()), ElementsAre());
    EXPECT_FALSE(question.isAnsweredBy(::getppid())) << "somebody else has come";
    for (const auto& place : {std::string("/tmp/.X11-unix/X0"), std::string(),
                              question.place() + std::string(100, 'x')}) {
        EXPECT_THAT(call("Identify", place), ElementsAre(SD_BUS_ERROR_INVALID_ARGS)) << place;
    }
}

TEST_F(BusServiceTest, TakesNoNameThatIsLongerThanAnyApps) {
    launch();
    EXPECT_THAT(call("Stop", std::string(BusRequests::longestName + 1, 'x')),
                ElementsAre(SD_BUS_ERROR_INVALID_ARGS));
    EXPECT_THAT(call("Stop", std::string(BusRequests::longestName, 'x')),
                ElementsAre(bus::notInUse));
}

using BusServiceAsRoot = BusServiceTest;

TEST_F(BusServiceAsRoot, AnswersNobodyOfAnotherUser) {
    launch();
    model->receive(reading({app("Zoom")}));
    const auto asNobody = [&](const std::vector<std::string>& rest) {
        std::vector<std::string> all = {"setpriv",        "--reuid=65534", "--regid=65534",
                                        "--clear-groups", "busctl",        "--address=" + address(),
                                        "--auto-start=no"};
        all.insert(all.end(), rest.begin(), rest.end());
        return run(all);
    };
    // The bus itself lets the caller in.
    EXPECT_THAT(asNobody({"call", "org.freedesktop.DBus", "/org/freedesktop/DBus",
                          "org.freedesktop.DBus", "NameHasOwner", "s", bus::name}),
                HasSubstr("b true"));
    for (const auto* method : {"StopEverything", "UnmuteMicrophone", "Status"}) {
        const auto said = asNobody({"call", bus::name, bus::path, bus::interface, method});
        EXPECT_THAT(said, HasSubstr("Access denied")) << method;
    }
    EXPECT_THAT(asNobody({"get-property", bus::name, bus::path, bus::interface, "CameraOn"}),
                HasSubstr("Access denied"));
    EXPECT_FALSE(model->isBusyStopping());
    EXPECT_FALSE(*model->settings.microphoneMuted);
    // And its own user is still answered.
    EXPECT_EQ(call("Status").size(), 1U);
}

TEST_F(BusServiceTest, LeavesTheNameToWhoeverHasIt) {
    const auto other = std::make_unique<BusClient>(address());
    ASSERT_GE(sd_bus_request_name(other->bus(), bus::name, 0), 0);
    launch();
    // In the queue: it gets the name once the other one has gone.
    sd_bus_release_name(other->bus(), bus::name);
    EXPECT_TRUE(runUntil([&] { return isOwned(); }));
    EXPECT_EQ(call("Status").size(), 1U);
}

TEST_F(BusServiceTest, DoesNothingWhereThereIsNoBus) {
    bus_->stop();
    model = std::make_unique<AppModel>(ModelSurroundings{machine, loop, loop, settings, [] {
                                                             return std::make_shared<HistoryStore>(
                                                                 std::nullopt);
                                                         }});
    model->start();
    for (const auto* address : {"", "unix:path=/nowhere", "nonsense", "autolaunch:"}) {
        auto options = serviceOptions();
        options.address = address;
        offer(options);
        model->receive(reading({app("Zoom")}));
        model->receive({});
        QCoreApplication::processEvents();
    }
}

TEST_F(BusServiceTest, IsBackWhenTheBusIs) {
    machine.script.closeSeconds["org.example.Zoom"] = 100;
    launch();
    model->receive(reading({app("Zoom")}));
    // In the middle of a call.
    auto caller = startCtl({"stop"});
    ASSERT_TRUE(runUntil([&] { return *model->isStopping; }));
    bus_->signal(SIGKILL);
    EXPECT_EQ(finish(caller), 1);
    startBus();
    ASSERT_TRUE(isOffered());
    EXPECT_THAT(call("StopEverything"), ElementsAre("busy", "A stop is under way already.", ""));
    EXPECT_EQ(decode<ProgramStatus>(call("Status").at(0)).uses.size(), 1U);
}

TEST_F(BusServiceTest, FindsABusThatComesLater) {
    bus_->stop();
    startModel();
    offer(serviceOptions());
    QCoreApplication::processEvents();
    startBus();
    EXPECT_TRUE(isOffered());
    EXPECT_EQ(call("Status").size(), 1U);
}

TEST_F(BusServiceTest, FindsABusThatComesWithItsFolder) {
    bus_->stop();
    const auto folder = std::filesystem::path(folder_.path("later"));
    const auto later = "unix:path=" + (folder / "bus").string();
    startModel();
    auto options = serviceOptions();
    options.address = later;
    options.searchInterval = 0.02;
    offer(options);
    QCoreApplication::processEvents();
    std::filesystem::create_directory(folder);
    const support::ChildProcess second(
        {"dbus-daemon", "--session", "--nofork", "--address=" + later, "--print-address"},
        this->options("second"));
    ASSERT_TRUE(support::waitUntil([&] { return !second.output().empty(); })) << second.errors();
    const BusClient client(later);
    EXPECT_TRUE(runUntil([&] { return isOwned(client); }));
}

TEST_F(BusServiceTest, IsBackOnEachNewBus) {
    launch();
    for (int i = 0; i < 3; ++i) {
        bus_->signal(i % 2 == 0 ? SIGKILL : SIGTERM);
        ASSERT_TRUE(runUntil([&] { return !bus_->running(); }));
        startBus();
        ASSERT_TRUE(isOffered()) << i;
        EXPECT_EQ(call("Status").size(), 1U);
    }
}

/// Counts the timers that run.
class CountingScheduler final : public Scheduler {
public:
    explicit CountingScheduler(Scheduler& real) : real_(real) {}

    void post(std::function<void()> action) override { real_.post(std::move(action)); }
    Subscription after(Seconds delay, std::function<void()> action) override {
        return counted(real_.after(delay, std::move(action)));
    }
    Subscription every(Seconds interval, std::function<void()> action) override {
        return counted(real_.every(interval, std::move(action)));
    }
    int running = 0;

private:
    Subscription counted(Subscription subscription) {
        ++running;
        return Subscription(
            [this, kept = std::make_shared<Subscription>(std::move(subscription))] { --running; });
    }

    Scheduler& real_;
};

TEST_F(BusServiceTest, LooksNoFurtherOnceItIsConnected) {
    startModel();
    CountingScheduler scheduler(loop);
    BusService counted(*model, scheduler, serviceOptions());
    EXPECT_GT(scheduler.running, 0);
    EXPECT_TRUE(runUntil([&] { return scheduler.running == 0; }));
    EXPECT_TRUE(isOwned());
    bus_->signal(SIGKILL);
    EXPECT_TRUE(runUntil([&] { return scheduler.running > 0; }));
    startBus();
    EXPECT_TRUE(runUntil([&] { return scheduler.running == 0; }));
}

TEST_F(BusServiceTest, GivesWayForAsLongAsAnotherProgramWantsTheName) {
    startModel();
    auto options = serviceOptions();
    options.givesWay = true;
    offer(options);
    ASSERT_TRUE(isOffered());
    AppModel other({machine, loop, loop, settings, [] {
                        return std::make_shared<HistoryStore>(std::nullopt);
                    }});
    other.start();
    other.receive(reading({app("Zoom")}));
    const auto uses = [&] {
        return decode<ProgramStatus>(call("Status").at(0)).uses.size();
    };
    EXPECT_EQ(uses(), 0U);
    {
        const BusService desktop(other, loop, serviceOptions());
        EXPECT_TRUE(runUntil([&] { return uses() == 1; }));
        // And who doesn't give way keeps it.
        const BusService third(*model, loop, serviceOptions());
        EXPECT_EQ(uses(), 1U);
    }
    EXPECT_TRUE(runUntil([&] { return isOwned() && uses() == 0; }));
}

TEST_F(BusServiceTest, SaysWhatElseThereIsToSayOfAStop) {
    startModel();
    auto options = serviceOptions();
    std::string remark = "Fox stays open.";
    options.remark = [&] {
        return remark;
    };
    offer(options);
    ASSERT_TRUE(isOffered());
    model->receive(reading({app("Zoom")}));
    EXPECT_THAT(call("Stop", "Zoom"), ElementsAre("incomplete", "Zoom was closed.", remark));
    model->receive(
        reading({{.name = "Fox", .bundleID = "org.mozilla.firefox", .path = "/opt/fox"}}));
    auto waiting = startCtl({"stop", "Fox"});
    ASSERT_TRUE(runUntil([&] { return questions == 1; }));
    answerQuestion(BrowserAnswer::cancel);
    EXPECT_EQ(finish(waiting), 3);
    EXPECT_EQ(waiting.output(), "Nothing was stopped.\nFox stays open.\n");
}

TEST_F(BusServiceTest, EndsInTheMiddleOfACall) {
    machine.script.closeSeconds["org.example.Zoom"] = 100;
    launch();
    model->receive(reading({app("Zoom")}));
    auto waiting = startCtl({"stop"});
    ASSERT_TRUE(runUntil([&] { return *model->isStopping; }));
    service.reset();
    EXPECT_EQ(finish(waiting), 1);
    EXPECT_THAT(waiting.errors(), HasSubstr("Velmoran didn't answer"));
}

} // namespace
} // namespace velmoran
