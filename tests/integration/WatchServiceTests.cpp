// `velmoranctl watch` as the running program that the other commands reach, on a machine without a
// desktop. The apps are copies of a client of the tests': a stop closes whatever runs that file.
#include "core/history/HistoryStore.h"
#include "support/PrivateSession.h"

#include <filesystem>
#include <gmock/gmock.h>

namespace velmoran {
namespace {

using support::Finished;
using support::waitUntil;
using ::testing::HasSubstr;

class WatchService : public ::testing::Test {
protected:
    WatchService() {
        session_.startSound();
        session_.addMicrophone();
        std::filesystem::create_directories(session_.file("dev"));
        session_.environment()["LC_ALL"] = "C.UTF-8";
    }

    void startWatch() {
        session_.start("watch",
                       {VELMORANCTL, "watch", "--device-folder", session_.file("dev").string()});
        ASSERT_TRUE(waitUntil([&] { return ctl({"status"}).succeeded(); })) << session_.logs();
    }

    Finished ctl(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), VELMORANCTL);
        return session_.run(arguments);
    }

    /// A client that uses the microphone, seen by the watch.
    support::ChildProcess& use(const std::string& name, const std::string& shown) {
        auto& child = session_.start(name, {program(name)});
        EXPECT_TRUE(waitUntil([&] { return saysWatch(shown + " turned on the microphone"); }))
            << session_.logs();
        return child;
    }

    std::string program(const std::string& name) const {
        const auto copy = session_.home() / name;
        if (!std::filesystem::exists(copy)) {
            std::filesystem::copy_file(CLIENT_PROGRAMS "/graph-client", copy);
        }
        return copy;
    }

    bool saysWatch(const std::string& text) {
        return session_.child("watch")->output().find(text) != std::string::npos;
    }

    support::PrivateSession session_;
};

TEST_F(WatchService, StopsUnmutesAndTellsTheStatus) {
    startWatch();
    EXPECT_EQ(ctl({"status"}).output, "Camera and microphone are off\n");
    auto& spy = use("spy", "spy (~)");
    EXPECT_THAT(ctl({"status"}).output, HasSubstr("spy (~) is using the microphone (since "));

    const auto stopped = ctl({"stop"});
    EXPECT_EQ(stopped.status, 0) << stopped.errors;
    EXPECT_THAT(stopped.output, HasSubstr("Microphone muted. spy (~) was closed.\n"));
    EXPECT_FALSE(spy.running());
    EXPECT_TRUE(waitUntil([&] { return saysWatch("Microphone muted. spy (~) was closed."); }));
    EXPECT_THAT(ctl({"status"}).output, HasSubstr("The microphone is muted\n"));
    EXPECT_EQ(ctl({"unmute"}).output, "The microphone is no longer muted.\n");
    EXPECT_EQ(session_.child("watch")->stop(), 0);
    EXPECT_EQ(ctl({"status"}).errors, "velmoranctl: Velmoran isn't running.\n");
}

TEST_F(WatchService, SaysThatNoSoundServerHasTakenTheUnmuteAndMakesUpForIt) {
    const auto muteIs = [&](const std::string& answer) {
        return waitUntil([&] {
            return session_.run({"pactl", "get-source-mute", "virtual-microphone"}).output ==
                   "Mute: " + answer + "\n";
        });
    };
    startWatch();
    EXPECT_EQ(ctl({"stop"}).status, 0);
    EXPECT_TRUE(muteIs("yes"));
    session_.stop("pulse");
    const auto unmuted = ctl({"unmute"});
    EXPECT_EQ(unmuted.status, 3);
    EXPECT_EQ(unmuted.output,
              "The microphone couldn't be unmuted yet.\nThe sound server didn't answer. As soon as "
              "it does, the microphone is unmuted.\n");
    session_.startPulse();
    EXPECT_TRUE(muteIs("no")) << session_.logs();
    EXPECT_EQ(ctl({"unmute"}).status, 0);
}

TEST_F(WatchService, AnUnmuteHoldsAlsoWhereASecondWatchKeepsTheMuteUp) {
    startWatch();
    EXPECT_EQ(ctl({"stop"}).status, 0);
    auto& second = session_.start("second", {VELMORANCTL, "watch", "--json", "--device-folder",
                                             session_.file("dev").string()});
    const auto hasWritten = [&](const std::string& of) {
        return waitUntil([&] { return second.output().find(of) != std::string::npos; });
    };
    ASSERT_TRUE(hasWritten(R"("event":"mute","on":true)")) << session_.logs();
    EXPECT_EQ(ctl({"unmute"}).status, 0);
    EXPECT_TRUE(hasWritten(R"("event":"mute","on":false)")) << "it went on muting";
    const auto isMuted = [&] {
        return session_.run({"pactl", "get-source-mute", "virtual-microphone"}).output !=
               "Mute: no\n";
    };
    EXPECT_TRUE(waitUntil([&] { return !isMuted(); }));
    EXPECT_THAT(ctl({"status"}).output, ::testing::Not(HasSubstr("muted")));
}

TEST_F(WatchService, KeepsUpTheMuteOfAProgramThatEnds) {
    startWatch();
    auto& second = session_.start("second", {VELMORANCTL, "watch", "--json", "--device-folder",
                                             session_.file("dev").string()});
    ASSERT_TRUE(waitUntil([&] { return !second.output().empty(); })) << session_.logs();
    EXPECT_EQ(ctl({"stop"}).status, 0);
    session_.stop("watch");
    EXPECT_TRUE(waitUntil([&] {
        return ctl({"status"}).output.find("The microphone is muted\n") != std::string::npos;
    })) << session_.logs();
    EXPECT_TRUE(session_.run({"pactl", "set-source-mute", "virtual-microphone", "0"}).succeeded());
    EXPECT_TRUE(waitUntil([&] {
        return session_.run({"pactl", "get-source-mute", "virtual-microphone"}).output ==
               "Mute: yes\n";
    })) << "nobody keeps it up";
    EXPECT_EQ(ctl({"unmute"}).output, "The microphone is no longer muted.\n");
}

TEST_F(WatchService, ClosesNoBrowserSinceNobodyCanBeAsked) {
    support::writeFile(session_.home() / ".local/share/applications/org.example.surf.desktop",
                       "[Desktop Entry]\nType=Application\nName=Surf\nExec=" + program("surf") +
                           " %u\nMimeType=x-scheme-handler/http;x-scheme-handler/https;\n");
    startWatch();
    auto& browser = use("surf", "Surf (~)");
    auto& spy = use("spy", "spy (~)");
    const std::string why =
        "Surf (~) stays open: it is a browser, and nobody can be asked here whether to close it.";

    const auto all = ctl({"stop"});
    EXPECT_EQ(all.status, 3);
    EXPECT_THAT(all.output, HasSubstr("Microphone muted. spy (~) was closed.\n"));
    EXPECT_THAT(all.output, HasSubstr(why));
    EXPECT_FALSE(spy.running());
    EXPECT_TRUE(waitUntil([&] { return saysWatch(why); }));

    const auto one = ctl({"stop", "Surf"});
    EXPECT_EQ(one.status, 3);
    EXPECT_EQ(one.output, "Nothing was stopped.\n" + why + "\n");
    EXPECT_TRUE(browser.running());
}

TEST_F(WatchService, GoesOnInANewHistoryWhenItsFilesAreDeleted) {
    const auto folder = session_.home() / ".local/share/Velmoran";
    startWatch();
    use("spy", "spy (~)");
    std::filesystem::remove_all(folder);
    use("mule", "mule (~)");
    EXPECT_TRUE(waitUntil([&] {
        return saysWatch("The history file was deleted or replaced. The history goes on in the "
                         "file that is there now.");
    })) << session_.logs();
    EXPECT_TRUE(waitUntil([&] {
        return std::filesystem::exists(folder / "History.store") &&
               HistoryStore(folder / "History.store").sessionCount() == 2;
    }));
}

TEST_F(WatchService, ComesWithTheBus) {
    session_.stop("bus");
    session_.start("watch",
                   {VELMORANCTL, "watch", "--device-folder", session_.file("dev").string()});
    ASSERT_TRUE(
        waitUntil([&] { return std::filesystem::exists(session_.file("watch.out").string()); }));
    EXPECT_EQ(ctl({"status"}).status, 1);
    session_.startBus();
    EXPECT_TRUE(waitUntil([&] { return ctl({"status"}).succeeded(); })) << session_.logs();
}

} // namespace
} // namespace velmoran
