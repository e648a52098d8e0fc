// The two programs as a person starts them, with a real recorder beside them.
#include "core/history/HistoryStore.h"
#include "support/PrivateSession.h"
#include "support/XServer.h"

#include <csignal>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

namespace velmoran {
namespace {

using support::ChildProcess;
using support::PrivateSession;
using support::waitUntil;

class Program : public ::testing::Test {
protected:
    Program() {
        session_.startSound();
        session_.addMicrophone();
        std::filesystem::create_directories(session_.file("dev"));
    }

    std::vector<UsageSession> stored() {
        const auto file = session_.home() / ".local/share/Velmoran/History.store";
        return std::filesystem::exists(file) ? HistoryStore(file).sessions()
                                             : std::vector<UsageSession>();
    }

    /// A recorder runs whose start the program has seen. One that is faster than the program's
    /// first look is told of as something that was going on before; then another one is started.
    void record() { record({"pw-record", session_.file("recording.wav")}); }
    void record(const std::vector<std::string>& recorder) {
        for (const bool mayBeEarly : {true, false}) {
            const auto before = stored().size();
            session_.start("recorder", recorder);
            ASSERT_TRUE(waitUntil([&] { return stored().size() == before + 1; }))
                << session_.logs();
            if (stored()[0].observedFromStart) {
                return;
            }
            ASSERT_TRUE(mayBeEarly) << session_.logs();
            stopRecording();
        }
    }

    void stopRecording() {
        session_.stop("recorder");
        ASSERT_TRUE(waitUntil([&] { return stored()[0].end.has_value(); })) << session_.logs();
    }

    PrivateSession session_;
};

class DesktopProgram : public Program {
protected:
    DesktopProgram() {
        session_.startDisplay();
        session_.startTray();
        display_ = std::make_unique<support::XServer>(session_.environment()["DISPLAY"]);
    }

    /// With its icon in the tray, and nothing else on the screen.
    void startVelmoran() {
        auto& velmoran = session_.start("velmoran", {VELMORAN, "--login-start", "--device-folder",
                                                     session_.file("dev").string()});
        ASSERT_TRUE(waitUntil([&] {
            return display_->dockedIcons().size() == 1 || !velmoran.running();
        })) << session_.logs();
        ASSERT_TRUE(velmoran.running()) << session_.logs();
    }

    /// Windows of the program beside its icon.
    std::vector<std::uint32_t> cards() {
        auto windows = display_->visibleWindows("velmoran");
        std::erase_if(windows, [&](std::uint32_t window) { return display_->isEmbedded(window); });
        return windows;
    }

    /// Its pixels; empty while nothing is drawn into it.
    std::string icon() {
        const auto icons = display_->dockedIcons();
        const auto pixels = icons.empty() ? std::string() : display_->picture(icons.front());
        const bool isBlank =
            pixels.size() < 8 || pixels.substr(4) == pixels.substr(0, pixels.size() - 4);
        return isBlank ? std::string() : pixels;
    }

    /// Once it stays the same: a tray gives an icon that has just come its place and size by and
    /// by.
    std::string steadyIcon() {
        std::string last;
        int times = 0;
        EXPECT_TRUE(waitUntil([&] {
            const auto now = icon();
            times = !now.empty() && now == last ? times + 1 : 0;
            last = now;
            return times == 20;
        })) << session_.logs();
        return last;
    }

    int heightOf(std::uint32_t window) {
        const auto shape =
            session_.run({"xdotool", "getwindowgeometry", "--shell", std::to_string(window)})
                .output;
        const auto at = shape.find("HEIGHT=");
        return at == std::string::npos ? 0 : std::stoi(shape.substr(at + 7));
    }

    std::unique_ptr<support::XServer> display_;
};

TEST_F(DesktopProgram, ShowsACardAndAnotherIconWhileARecorderRuns) {
    startVelmoran();
    const std::string idle = steadyIcon();
    EXPECT_TRUE(cards().empty());

    record();
    ASSERT_TRUE(waitUntil([&] { return cards().size() == 1; })) << session_.logs();
    EXPECT_TRUE(waitUntil([&] { return !icon().empty() && icon() != idle; }));
    EXPECT_EQ(stored()[0].app.name, "pw-record");

    stopRecording();
    EXPECT_TRUE(waitUntil([&] { return icon() == idle; }))
        << idle.size() << " bytes before, now " << icon().size();
    // The card goes by itself after eight seconds.
    EXPECT_TRUE(waitUntil([&] { return cards().empty(); }));
    EXPECT_EQ(session_.child("velmoran")->stop(), 0) << session_.logs();
}

TEST_F(DesktopProgram, ShowsTheAppsOwnPictureOnItsCard) {
    const auto spy = session_.home() / "spy";
    std::filesystem::copy_file(CLIENT_PROGRAMS "/graph-client", spy);
    // In a colour that nothing else has, as red, green and blue.
    const std::string color = "\x09\xd7\x41";
    const auto picture = session_.home() / "spy.ppm";
    std::string pixels;
    for (int count = 0; count < 32 * 32; ++count) {
        pixels += color;
    }
    support::writeFile(picture, "P6 32 32 255\n" + pixels);
    support::writeFile(session_.home() / ".local/share/applications/spy.desktop",
                       "[Desktop Entry]\nType=Application\nName=The Spy\nExec=" + spy.string() +
                           "\nIcon=" + picture.string() + '\n');
    // However long this test takes to look at it.
    support::writeFile(session_.home() / ".config/Velmoran/Velmoran.conf",
                       "[General]\nonboardingDone=true\nstandardNoticesStay=true\n");
    startVelmoran();
    record({spy});
    EXPECT_EQ(stored()[0].app.name, "The Spy (~)");
    ASSERT_TRUE(waitUntil([&] { return cards().size() == 1; })) << session_.logs();
    // The server keeps a pixel as blue, green, red and a byte of no meaning.
    const std::string kept(color.rbegin(), color.rend());
    EXPECT_TRUE(waitUntil([&] {
        const auto windows = cards();
        const auto shown = windows.empty() ? std::string() : display_->picture(windows.front());
        int count = 0;
        for (std::size_t at = 0; at + 4 <= shown.size(); at += 4) {
            count += shown.compare(at, 3, kept) == 0 ? 1 : 0;
        }
        return count == 32 * 32;
    })) << session_.logs();
    EXPECT_EQ(session_.child("velmoran")->stop(), 0) << session_.logs();
}

TEST_F(DesktopProgram, ASecondStartLeavesTheFirstAloneAndEnds) {
    startVelmoran();
    const auto second = session_.run({VELMORAN});
    EXPECT_EQ(second.status, 0) << second.errors;
    EXPECT_EQ(display_->dockedIcons().size(), 1U);
    EXPECT_TRUE(session_.child("velmoran")->running());
}

TEST_F(DesktopProgram, StopsARecorderFromTheTerminal) {
    startVelmoran();
    // A copy, since a stop closes whatever runs that file.
    const auto spy = session_.home() / "spy";
    std::filesystem::copy_file(CLIENT_PROGRAMS "/graph-client", spy);
    auto& recorder = session_.start("recorder", {spy});
    ASSERT_TRUE(waitUntil([&] {
        return session_.run({VELMORANCTL, "status", "--json"})
                   .output.find(R"j("name":"spy (~)")j") != std::string::npos;
    })) << session_.logs();
    const auto stop = session_.run({VELMORANCTL, "stop", "spy"});
    EXPECT_EQ(stop.status, 0) << stop.errors;
    EXPECT_NE(stop.output.find("Microphone muted. spy (~) was closed."), std::string::npos)
        << stop.output;
    EXPECT_FALSE(recorder.running());
    ASSERT_EQ(stored().size(), 1U);
    EXPECT_TRUE(waitUntil([&] { return stored()[0].end.has_value(); }));
    EXPECT_EQ(stored()[0].outcome, SessionOutcome::stoppedByUser);

    const auto isMuted = [&] {
        return session_.run({"pactl", "get-source-mute", "virtual-microphone"}).output ==
               "Mute: yes\n";
    };
    EXPECT_TRUE(isMuted());
    EXPECT_EQ(session_.run({VELMORANCTL, "unmute"}).status, 0);
    EXPECT_TRUE(waitUntil([&] { return !isMuted(); }));
    EXPECT_EQ(session_.child("velmoran")->stop(), 0) << session_.logs();
}

TEST_F(DesktopProgram, LeavesTheMadeUpMicrophoneWhenARecorderIsStoppedByWhateverDoor) {
    // PipeWire's own player and recorder are one program. Of this session's own, since a stop
    // closes whatever runs that file.
    const auto programs = session_.home() / "bin";
    std::filesystem::create_directory(programs);
    std::filesystem::copy_file("/usr/bin/pw-cat", programs / "pw-cat");
    std::filesystem::create_symlink("pw-cat", programs / "pw-record");
    session_.environment()["PATH"] = programs.string() + ":" + session_.environment()["PATH"];
    session_.stop("virtual-microphone");
    session_.addMicrophone();
    session_.addCamera();
    startVelmoran();

    const auto press = [&](std::uint32_t window, int x, int y, const std::string& button) {
        return session_
            .run({"xdotool", "mousemove", "--window", std::to_string(window), std::to_string(x),
                  std::to_string(y), "click", button})
            .succeeded();
    };
    const std::vector<std::pair<std::string, std::function<bool()>>> doors = {
        {"the card",
         [&] {
             // The first button, inside the lower left of the only card there is.
             const auto card = cards().front();
             return press(card, 12 + 54 + 20, heightOf(card) - 12 - 12 - 10, "1");
         }},
        {"the menu",
         [&] {
             return press(display_->dockedIcons().front(), 8, 8, "3") &&
                    waitUntil([&] { return cards().size() == 2; }) &&
                    session_.run({"xdotool", "key", "Down", "Down", "Down", "Return"}).succeeded();
         }},
        {"the terminal",
         [&] {
             return session_.run({VELMORANCTL, "stop"}).succeeded();
         }},
    };
    for (const auto& [name, stop] : doors) {
        // The card of the last stop goes by itself.
        ASSERT_TRUE(waitUntil([&] { return cards().empty(); })) << name << session_.logs();
        record({"pw-record", "/dev/null"});
        ASSERT_TRUE(waitUntil([&] { return cards().size() == 1; })) << name << session_.logs();
        ASSERT_TRUE(stop()) << name << session_.logs();
        EXPECT_TRUE(waitUntil([&] { return !session_.child("recorder")->running(); }))
            << name << session_.logs();
        // Until the stop is done with, it would close the next recorder too.
        EXPECT_TRUE(waitUntil([&] {
            return stored()[0].outcome == SessionOutcome::stoppedByUser && cards().size() == 1;
        })) << name
            << session_.logs();
        EXPECT_TRUE(session_.child("virtual-microphone")->running()) << name;
        EXPECT_TRUE(session_.child("virtual-camera")->running()) << name;
    }
    EXPECT_EQ(session_.child("velmoran")->stop(), 0) << session_.logs();
}

TEST_F(DesktopProgram, EndsADemoWithoutALine) {
    support::writeFile(session_.file("empty.jsonl"), "");
    const auto demo = session_.run({VELMORAN, "--demo", session_.file("empty.jsonl").string()});
    EXPECT_EQ(demo.status, 0) << demo.errors;
}

TEST_F(DesktopProgram, EndsWith2ForArgumentsThatItDoesNotKnow) {
    for (const auto* argument : {"--dance", "-x", "dance", "--device-folder"}) {
        const auto velmoran = session_.run({VELMORAN, argument});
        EXPECT_EQ(velmoran.status, 2) << argument;
        EXPECT_TRUE(velmoran.errors.starts_with("velmoran: ")) << velmoran.errors;
        EXPECT_EQ(velmoran.output, "");
    }
}

TEST_F(Program, HelpsWithoutADisplay) {
    for (const auto* argument : {"--help", "--version"}) {
        const auto velmoran = session_.run({VELMORAN, argument});
        EXPECT_EQ(velmoran.status, 0) << argument;
        EXPECT_NE(velmoran.output, "") << argument;
        EXPECT_EQ(velmoran.errors, "") << argument;
    }
}

TEST_F(Program, SaysThatADisplayCannotBeReached) {
    for (const auto* display : {":9999", "nonsense"}) {
        session_.environment()["DISPLAY"] = display;
        const auto velmoran = session_.run({VELMORAN});
        EXPECT_EQ(velmoran.status, 1) << display;
        EXPECT_EQ(velmoran.errors, "velmoran: the display \"" + std::string(display) +
                                       "\" can't be reached; velmoranctl watch runs in a "
                                       "terminal\n");
    }
}

TEST_F(Program, SaysThatNoneOfTwoDisplaysCanBeReached) {
    session_.environment()["DISPLAY"] = ":9999";
    session_.environment()["WAYLAND_DISPLAY"] = "wayland-77";
    for (const auto* wanted : {"", "wayland;xcb"}) {
        session_.environment()["QT_QPA_PLATFORM"] = wanted;
        const auto velmoran = session_.run({VELMORAN});
        EXPECT_EQ(velmoran.status, 1);
        EXPECT_EQ(velmoran.errors,
                  "velmoran: neither the display \":9999\" nor the Wayland display \"wayland-77\" "
                  "can be reached; velmoranctl watch runs in a terminal\n");
    }
}

TEST_F(DesktopProgram, RunsOnALivingXServerBesideADeadWaylandDisplay) {
    session_.environment()["WAYLAND_DISPLAY"] = "wayland-77";
    session_.environment()["QT_QPA_PLATFORM"] = "wayland";
    startVelmoran();
    EXPECT_EQ(session_.child("velmoran")->stop(), 0) << session_.logs();
}

TEST_F(Program, WatchesInATerminal) {
    auto& watch = session_.start("watch", {VELMORANCTL, "watch"});
    record();
    EXPECT_TRUE(waitUntil([&] {
        return watch.output().find("  pw-record turned on the microphone\n") != std::string::npos;
    })) << watch.output()
        << watch.errors();
    stopRecording();
    watch.signal(SIGINT);
    EXPECT_EQ(watch.wait(), 0) << watch.errors();
}

TEST_F(Program, WatchWritesJsonForOtherPrograms) {
    auto& watch = session_.start("watch", {VELMORANCTL, "watch", "--json"});
    record();
    for (const char* part : {"\"event\":\"notice\"", "\"pw-record turned on the microphone\"",
                             "\"event\":\"started\"", "\"state\":\"inUse\""}) {
        EXPECT_TRUE(waitUntil([&] { return watch.output().find(part) != std::string::npos; }))
            << part << "\n"
            << watch.output();
    }
    stopRecording();
    EXPECT_TRUE(waitUntil([&] {
        return watch.output().find("\"event\":\"ended\"") != std::string::npos;
    })) << watch.output();
}

} // namespace
} // namespace velmoran
