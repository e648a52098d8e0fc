// The private session itself: real recorders hear its microphone and see its camera, so that a test
// that stands on it can't pass on silence.
#include "support/PrivateSession.h"
#include "support/XServer.h"

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace velmoran::support {
namespace {

// Sound is a sample further from the middle than noise of the least bit would be.
bool hasSound(const std::string& raw16) {
    for (std::size_t i = 1; i < raw16.size(); i += 2) {
        const auto high = static_cast<signed char>(raw16[i]);
        if (high > 4 || high < -5) {
            return true;
        }
    }
    return false;
}

TEST(PrivateSession, ANativeRecorderHearsTheMicrophone) {
    PrivateSession session;
    session.startSound();
    session.addMicrophone();
    const auto recording = session.file("native.wav");
    session.start("recorder", {"pw-record", "--format", "s16", recording});
    EXPECT_TRUE(waitUntil([&] {
        const auto text = readFile(recording);
        return text.size() > 44 && hasSound(text.substr(44));
    })) << session.logs();
}

TEST(PrivateSession, APulseRecorderHearsTheMicrophoneUntilItIsMuted) {
    PrivateSession session;
    session.startSound();
    session.addMicrophone();
    auto& recorder = session.start(
        "recorder", {"parecord", "--raw", "--format=s16le", "--latency-msec=20", "/dev/stdout"});
    ASSERT_TRUE(waitUntil([&] { return hasSound(recorder.output()); })) << session.logs();

    ASSERT_TRUE(session.run({"pactl", "set-source-mute", "virtual-microphone", "1"}).succeeded());
    EXPECT_TRUE(waitUntil([&] {
        const auto heard = recorder.output();
        return heard.size() > 8000 && !hasSound(heard.substr((heard.size() - 8000) & ~1UL));
    }));
}

TEST(PrivateSession, ACameraClientGetsPictures) {
    PrivateSession session;
    session.needGStreamer();
    session.startSound();
    session.addCamera();
    // One after the other, as users come and go.
    for (int reader = 0; reader < 2; ++reader) {
        const auto client =
            session.run({"gst-launch-1.0", "-q", "pipewiresrc", "target-object=virtual-camera",
                         "num-buffers=3", "!", "video/x-raw", "!", "fakesink"});
        EXPECT_TRUE(client.succeeded()) << client.errors << session.logs();
    }
}

TEST(PrivateSession, HasADisplayWithAWindowManagerAndATray) {
    PrivateSession session;
    session.startDisplay();
    session.startTray();
    XServer server(session.environment()["DISPLAY"]);
    EXPECT_TRUE(server.hasWindowManager());
    EXPECT_TRUE(server.hasTray());
    EXPECT_TRUE(server.dockedIcons().empty());
}

TEST(PrivateSession, LeavesNoProcessAndNoFolderBehind) {
    std::vector<pid_t> children;
    std::filesystem::path folder;
    {
        PrivateSession session;
        session.startSound();
        folder = session.folder();
        for (const char* name : {"bus", "pipewire", "wireplumber", "pulse"}) {
            ASSERT_NE(session.child(name), nullptr);
            children.push_back(session.child(name)->pid());
        }
    }
    for (const pid_t child : children) {
        EXPECT_EQ(kill(child, 0), -1) << child;
    }
    EXPECT_FALSE(std::filesystem::exists(folder));
}

// The first is skipped for, the second isn't.
TEST(PrivateSession, TellsAProgramThatIsntInstalledFromOneThatWasntBuilt) {
    PrivateSession session;
    const auto thrown = [](const std::function<void()>& use) -> std::string {
        try {
            use();
        } catch (const NotInstalled& missing) {
            return std::string("not installed: ") + missing.what();
        } catch (const std::exception& failure) {
            return failure.what();
        }
        return "nothing";
    };
    const std::string noProgram = "not installed: no-such-program isn't installed";
    EXPECT_EQ(thrown([&] { session.start("x", {"no-such-program"}); }), noProgram);
    EXPECT_EQ(thrown([&] { session.run({"no-such-program", "and", "more"}); }), noProgram);
    EXPECT_EQ(thrown([&] { session.need({"sh", "no-such-program"}); }), noProgram);
    EXPECT_EQ(thrown([&] { session.need({"sh"}); }), "nothing");
    const std::string noFile = "/no/such/file: No such file or directory";
    EXPECT_EQ(thrown([&] { session.start("x", {"/no/such/file"}); }), noFile);
    EXPECT_EQ(thrown([&] { session.run({"/no/such/file"}); }), noFile);
    EXPECT_EQ(session.child("x"), nullptr);
}

TEST(PrivateSession, SaysAsAProgramWhatItCanDo) {
    PrivateSession session;
    const auto finished = session.run({PRIVATE_SESSION, "--help"});
    EXPECT_EQ(finished.status, 0);
    EXPECT_TRUE(finished.output.starts_with("usage: private-session ")) << finished.output;
    EXPECT_EQ(finished.errors, "");
}

TEST(PrivateSession, SaysAsAProgramWhatItCannotRun) {
    PrivateSession session;
    auto finished = session.run({PRIVATE_SESSION, "--", "/nonexistent"});
    EXPECT_EQ(finished.status, 127);
    EXPECT_EQ(finished.errors, "private-session: /nonexistent: No such file or directory\n");
    finished = session.run({PRIVATE_SESSION, "--", "no-such-program", "and", "more"});
    EXPECT_EQ(finished.status, 127);
    EXPECT_EQ(finished.errors, "private-session: no-such-program: No such file or directory\n");
    finished = session.run({PRIVATE_SESSION, "--", "/"});
    EXPECT_EQ(finished.status, 127);
    EXPECT_EQ(finished.errors, "private-session: /: Permission denied\n");
    finished = session.run({PRIVATE_SESSION, "--", "sh", "-c", "exit 127"});
    EXPECT_EQ(finished.status, 127);
    EXPECT_EQ(finished.errors, "");
}

TEST(ChildProcess, EndsWhenTheTestThatStartedItIsKilled) {
    int pipeEnds[2];
    ASSERT_EQ(pipe2(pipeEnds, O_CLOEXEC), 0);
    const pid_t test = fork();
    if (test == 0) {
        const ChildProcess server({"sleep", "1000"}, {});
        const pid_t pid = server.pid();
        if (write(pipeEnds[1], &pid, sizeof pid) == sizeof pid) {
            pause();
        }
        _exit(1);
    }
    pid_t server = 0;
    ASSERT_EQ(read(pipeEnds[0], &server, sizeof server), sizeof server);
    const int ended = static_cast<int>(syscall(SYS_pidfd_open, server, 0));
    ASSERT_GE(ended, 0);
    pollfd wait{.fd = ended, .events = POLLIN, .revents = 0};
    EXPECT_EQ(poll(&wait, 1, 0), 0) << "the server ended before its time";
    ASSERT_EQ(kill(test, SIGKILL), 0);
    ASSERT_EQ(waitpid(test, nullptr, 0), test);
    EXPECT_EQ(poll(&wait, 1, 20000), 1);
    close(ended);
    close(pipeEnds[0]);
    close(pipeEnds[1]);
}

TEST(ChildProcess, TellsItsExitStatusAndWhatItWrote) {
    PrivateSession session;
    const auto finished = session.run({"sh", "-c", "echo out; echo err >&2; exit 3"});
    EXPECT_EQ(finished.status, 3);
    EXPECT_EQ(finished.output, "out\n");
    EXPECT_EQ(finished.errors, "err\n");
}

TEST(ChildProcess, IsKilledAtTheEndOfItsTime) {
    PrivateSession session;
    const auto finished = session.run({"sh", "-c", "trap '' TERM; echo on; sleep 1000"}, Bound{50});
    EXPECT_FALSE(finished.status.has_value());
}

} // namespace
} // namespace velmoran::support
