// velmoranctl as a client of the running program.
#include "BusFixture.h"

#include <csignal>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/file.h>
#include <unistd.h>

namespace velmoran {
namespace {

using testing::BusFixture;
using ::testing::HasSubstr;

using Command = BusFixture;

TEST_F(Command, StatusSaysWhatIsOn) {
    launch();
    EXPECT_EQ(ctl({"status"}, 0).output(), "Camera and microphone are off\n");
    model->receive(reading({app("Zoom")}));
    EXPECT_THAT(ctl({"status"}, 0).output(), HasSubstr("Zoom is using the camera (since "));
    EXPECT_EQ(ctl({"status", "--json"}, 0).output(), encode(statusOf(*model)) + "\n");
}

TEST_F(Command, ReportsShowTheOneThatIsBeingWrittenWhileAWatchIsOn) {
    launch();
    const auto file = folder_.path(".local/share/Velmoran/History.store");
    HistoryStore store{std::filesystem::path(file)};
    AwayReport report;
    report.id = Uuid::random();
    report.events.emplace_back();
    store.saveAwayReport(report.id, report.start, report.end, report);
    EXPECT_EQ(ctl({"reports"}, 0).output(), "No Away watch reports yet\n");
    model->awayWatchOn.set(true);
    EXPECT_EQ(ctl({"reports"}, 0).output(), "No Away watch reports yet\n")
        << "a watch of somebody who keeps another history";
    const int held = ::open((file + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_EQ(::flock(held, LOCK_EX | LOCK_NB), 0);
    EXPECT_EQ(ctl({"reports"}, 0).output(), "Away watch was on from 2001-01-01 00:00:00 to now.\n"
                                            "  2001-01-01 00:00:00  Keyboard used\n"
                                            "  The camera and microphone were not used.\n");
    model->awayWatchOn.set(false);
    EXPECT_EQ(ctl({"reports"}, 0).output(), "No Away watch reports yet\n")
        << "what a killed program has left";
    ::close(held);
}

TEST_F(Command, StatusSaysWhatAnAwayWatchWouldMiss) {
    launch();
    model->awayOutlook.gaps.set({.noLock = true, .noInput = true});
    EXPECT_EQ(ctl({"status"}, 0).output(), "Camera and microphone are off\n")
        << "nobody wants a watch";
    model->settings.awayWatchOnLock.set(true);
    model->awayOutlook.gaps.set({.noLock = true, .noInput = true});
    EXPECT_THAT(ctl({"status"}, 0).output(), HasSubstr("\nAway watch can't begin until "));
    EXPECT_THAT(ctl({"status"}, 0).output(), HasSubstr("\nAway watch doesn't notice keyboard"));
    EXPECT_THAT(ctl({"status", "--json"}, 0).output(),
                HasSubstr(R"("awayWatchCantBegin":true,"awayWatchMissesInput":true)"));
}

TEST_F(Command, StopStopsAndSaysWhatHappened) {
    launch();
    model->receive(reading({app("Zoom"), app("Meet")}));
    EXPECT_EQ(ctl({"stop", "zoom"}, 0).output(), "Zoom was closed.\n");
    model->receive(reading({app("Zoom"), app("Meet")}));
    EXPECT_EQ(ctl({"stop"}, 0).output(),
              "Microphone muted. Meet and Zoom were closed.\nThe microphone stays muted until you "
              "unmute it with “velmoranctl unmute”.\n");
    EXPECT_EQ(ctl({"unmute"}, 0).output(), "The microphone is no longer muted.\n");
}

TEST_F(Command, EndsWith2ForAnAppThatIsNotOn) {
    launch();
    const auto said = ctl({"stop", "Zoom"}, 2);
    EXPECT_EQ(said.output(), "");
    EXPECT_EQ(said.errors(), "velmoranctl: “Zoom” isn't using the camera or microphone. "
                             "Nothing is.\n");
    EXPECT_EQ(ctl({"stop", std::string(5000, 'x')}, 2).output(), "");
    ctl({"stop", ""}, 2);
    ctl({"stop", "Zoom", "Meet"}, 2);
    ctl({"unmute", "now"}, 2);
    ctl({"status", "--xml"}, 2);
}

TEST_F(Command, EndsWith3WhenSomethingGoesOn) {
    machine.script.refusesToClose = {"org.example.Zoom"};
    launch();
    model->receive(reading({app("Zoom")}));
    EXPECT_THAT(ctl({"stop"}, 3).output(), HasSubstr("Zoom didn't close"));
    machine.script.microphones = {{"Stubborn", false, std::nullopt}};
    EXPECT_EQ(ctl({"unmute"}, 3).output(),
              "The microphone couldn't be unmuted.\nStubborn couldn't be unmuted.\n");
    machine.setSoundServerHangs(true);
    EXPECT_EQ(ctl({"unmute"}, 3).output(),
              "The microphone couldn't be unmuted yet.\nThe sound server didn't answer. As soon as "
              "it does, the microphone is unmuted.\n");
}

TEST_F(Command, SaysInOneLineThatVelmoranIsNotRunning) {
    for (const std::vector<std::string>& command : {std::vector<std::string>{"status"},
                                                    {"status", "--json"},
                                                    {"stop"},
                                                    {"stop", "Zoom"},
                                                    {"unmute"}}) {
        const auto said = ctl(command, 1);
        EXPECT_EQ(said.output(), "");
        EXPECT_EQ(said.errors(), "velmoranctl: Velmoran isn't running.\n");
    }
    bus_->stop();
    EXPECT_EQ(ctl({"status"}, 1).errors(),
              "velmoranctl: There is no session bus to reach Velmoran by.\n");
}

TEST_F(Command, SaysThatItsOutputCannotBeWritten) {
    launch();
    const auto into = [&](const std::vector<std::string>& command, const std::string& where) {
        const auto self = std::filesystem::read_symlink("/proc/self/exe").string();
        auto shell = "exec \"$0\" --velmoran '" + self + "' \"$@\" " + where;
        std::vector<std::string> all = {"bash", "-c", std::move(shell), VELMORANCTL};
        all.insert(all.end(), command.begin(), command.end());
        auto client = start(all);
        const auto status = finish(client);
        EXPECT_THAT(client.errors(), HasSubstr("the output can't be written"))
            << client.title() << client.output();
        return status;
    };
    for (const std::string where : {"> /dev/full", ">&-"}) {
        for (const std::vector<std::string>& command :
             {std::vector<std::string>{"status"}, {"status", "--json"}, {"unmute"}, {"stop"}}) {
            EXPECT_EQ(into(command, where), 4) << command[0] << where;
        }
    }
    // Worse than that it can't be said.
    machine.script.refusesToClose = {"org.example.Zoom"};
    model->receive(reading({app("Zoom")}));
    EXPECT_EQ(into({"stop"}, "> /dev/full"), 3);
    EXPECT_EQ(into({"--help"}, "> /dev/full"), 4);
}

TEST_F(Command, SaysThatItsReaderHasGone) {
    launch();
    const auto self = std::filesystem::read_symlink("/proc/self/exe").string();
    auto unread =
        start({"bash", "-c", "exec 3> >(exit); wait $!; exec \"$0\" --velmoran \"$1\" status >&3",
               VELMORANCTL, self});
    EXPECT_EQ(finish(unread), 4);
    EXPECT_THAT(unread.errors(), HasSubstr("the output can't be written"));
}

TEST_F(Command, BelievesNobodyWhoHasTakenTheName) {
    launch();
    model->receive(reading({app("Zoom")}));
    // Without the word that this test's own program is Velmoran.
    for (const std::vector<std::string>& command :
         {std::vector<std::string>{"status"}, {"stop"}, {"stop", "Zoom"}, {"unmute"}}) {
        std::vector<std::string> all = {VELMORANCTL};
        all.insert(all.end(), command.begin(), command.end());
        auto client = start(all);
        EXPECT_EQ(finish(client), 1);
        EXPECT_EQ(client.output(), "");
        const auto self = std::filesystem::read_symlink("/proc/self/exe").string();
        EXPECT_EQ(client.errors(), "velmoranctl: " + self + " (process " +
                                       std::to_string(::getpid()) +
                                       ") answers in Velmoran's name and isn't Velmoran.\n"
                                       "velmoranctl: Velmoran isn't running.\n");
    }
    EXPECT_FALSE(model->isBusyStopping());
    EXPECT_FALSE(*model->settings.microphoneMuted);
}

TEST_F(Command, GoesPastAStrangerToTheVelmoranThatRuns) {
    auto stranger = start({"python3", "-c", R"(
import ctypes, os, signal
sd = ctypes.CDLL("libsystemd.so.0")
bus = ctypes.c_void_p()
assert sd.sd_bus_open_user(ctypes.byref(bus)) >= 0
assert sd.sd_bus_request_name(bus, b"org.velmoran.Velmoran", ctypes.c_uint64(0)) >= 0
print("it has the name", flush=True)
signal.pause()
)"});
    ASSERT_TRUE(runUntil([&] { return !stranger.output().empty(); })) << stranger.errors();
    launch();
    model->receive(reading({app("Zoom")}));
    ASSERT_TRUE(runUntil([&] {
        auto status = startCtl({"status"});
        return finish(status) == 0;
    }));
    const auto stopped = ctl({"stop", "Zoom"}, 0);
    EXPECT_EQ(stopped.output(), "Zoom was closed.\n");
    EXPECT_THAT(stopped.errors(), HasSubstr("answers in Velmoran's name and isn't Velmoran."));
    EXPECT_THAT(stopped.errors(), HasSubstr(std::to_string(stranger.pid())));
}

TEST_F(Command, EndsInTimeWhenTheBusHangs) {
    launch();
    bus_->signal(SIGSTOP);
    for (const std::vector<std::string>& command :
         {std::vector<std::string>{"status"}, {"stop"}, {"unmute"}}) {
        const auto begun = Steady::now();
        EXPECT_EQ(ctl(command, 1).errors(), "velmoranctl: The session bus doesn't answer.\n");
        EXPECT_LT(Steady::now() - begun, std::chrono::seconds(10)) << command[0];
    }
    bus_->signal(SIGCONT);
}

TEST_F(Command, ShowsNoControlCharacterToATerminal) {
    launch();
    auto evil = app("Zoom");
    evil.name = "Zo\x1B[2Jom\n\xC2\x9B!";
    model->receive(reading({evil}));
    for (const std::vector<std::string>& command :
         {std::vector<std::string>{"status"}, {"status", "--json"}, {"stop", "Meet"}, {"stop"}}) {
        const auto said = ctl(command, command.back() == "Meet" ? 2 : 0);
        const auto text = said.output() + said.errors();
        EXPECT_THAT(text, HasSubstr("Zo")) << said.title();
        EXPECT_EQ(text.find('\x1B'), std::string::npos) << said.title() << text;
        if (command.back() != "--json") {
            EXPECT_EQ(text.find("\xC2\x9B"), std::string::npos) << said.title() << text;
        }
    }
}

} // namespace
} // namespace velmoran
