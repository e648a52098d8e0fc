// velmoranctl as a person or another program meets it: its arguments, its output, its ends.
#include "CtlFixture.h"

#include "core/base/Json.h"

#include <csignal>
#include <regex>

namespace velmoran {
namespace {

using support::ChildProcess;
using support::waitUntil;
using testing::Ctl;
using testing::lines;

TEST_F(Ctl, HelpsAndSaysItsVersion) {
    for (const auto& arguments : std::vector<std::vector<std::string>>{
             {"--help"}, {"-h"}, {"--version"}, {"replay", "--help"}, {"watch", "--help"}}) {
        auto child = ctl(arguments);
        EXPECT_EQ(child.wait(), 0) << child.title();
        EXPECT_NE(child.output(), "") << child.title();
        EXPECT_EQ(child.errors(), "") << child.title();
    }
    auto version = ctl({"--version"});
    EXPECT_EQ(version.wait(), 0);
    EXPECT_TRUE(std::regex_match(version.output(), std::regex("velmoranctl \\d+\\.\\d+\\.\\d+\n")));
}

TEST_F(Ctl, EndsWith2ForArgumentsThatItDoesNotKnow) {
    for (const auto& arguments : std::vector<std::vector<std::string>>{{},
                                                                       {"dance"},
                                                                       {"--dance"},
                                                                       {"replay"},
                                                                       {"replay", "a", "b"},
                                                                       {"replay", "--dance", "a"},
                                                                       {"watch", "dance"},
                                                                       {"watch", "--dance"},
                                                                       {"replay", "/nowhere"}}) {
        auto child = ctl(arguments);
        EXPECT_EQ(child.wait(), 2) << child.title();
        EXPECT_NE(child.errors(), "") << child.title();
        EXPECT_EQ(child.output(), "") << child.title();
    }
    auto dance = ctl({"dance"});
    EXPECT_EQ(dance.wait(), 2);
    EXPECT_TRUE(dance.errors().starts_with("velmoranctl: ")) << dance.errors();
    EXPECT_NE(dance.errors().find("dance"), std::string::npos);
}

TEST_F(Ctl, SaysThatARecordingOnStandardInputCannotBeRead) {
    for (const auto* from : {" < /", " <&-"}) {
        auto child = start({"/bin/sh", "-c", VELMORANCTL " replay -" + std::string(from)});
        EXPECT_EQ(child.wait(), 2) << from;
        EXPECT_EQ(child.errors(), "-: it can't be read\n") << from;
    }
}

TEST_F(Ctl, SaysThatLinesWereLost) {
    for (const auto* command : {" replay ", " watch --demo "}) {
        auto child =
            start({"/bin/sh", "-c", VELMORANCTL + (command + recording()) + " > /dev/full"});
        EXPECT_EQ(child.wait(), 1) << command;
        EXPECT_EQ(child.errors(),
                  "velmoranctl: the output can't be written: No space left on device\n")
            << command;
    }
}

TEST_F(Ctl, GivesTheNumberOfAClosedStreamToNothingElse) {
    auto child = start({"/bin/sh", "-c", "exec " VELMORANCTL " watch <&- 2>&-"});
    ASSERT_TRUE(says(child, "No sound server")) << child.output();
    const auto descriptors = "/proc/" + std::to_string(child.pid()) + "/fd/";
    for (const auto* stream : {"0", "2"}) {
        EXPECT_EQ(std::filesystem::read_symlink(descriptors + stream), "/dev/null");
    }
    EXPECT_EQ(child.stop(), 0);
}

TEST_F(Ctl, WatchesARecordingInWords) {
    auto child = ctl({"watch", "--demo", recording()});
    ASSERT_EQ(child.wait(), 0) << child.errors();
    const auto printed = lines(child.output());
    ASSERT_EQ(printed.size(), 6U);
    const std::regex on(R"(\d\d:\d\d:\d\d  Meet turned on the microphone)");
    const std::regex off(R"(\d\d:\d\d:\d\d  Meet turned off the microphone \(0 s\))");
    for (std::size_t i = 0; i < printed.size(); ++i) {
        EXPECT_TRUE(std::regex_match(printed[i], i % 2 == 0 ? on : off)) << printed[i];
    }
}

TEST_F(Ctl, WatchesARecordingInJson) {
    auto child = ctl({"watch", "--json", "--demo", recording()});
    ASSERT_EQ(child.wait(), 0) << child.errors();
    std::string events;
    double last = 0;
    for (const auto& line : lines(child.output())) {
        const auto json = Json::parse(line);
        EXPECT_GE(json.at("at").get<double>(), last);
        last = json.at("at").get<double>();
        events += json.at("event").get<std::string>() + " ";
    }
    EXPECT_EQ(events, "icon notice icon started ended icon notice icon started ended icon notice "
                      "icon started ended icon ");
    EXPECT_GE(last, 0.6);
}

TEST_F(Ctl, WatchTellsInJsonWhatAReplayTells) {
    // Questions, mutes of outputs and the words of another platform among it.
    const auto path = folder_.write(
        "recording.jsonl",
        R"({"begin": {"settings": {"speakerAutoMute": true, "standardNoticesStay": true},)"
        R"( "machine": {"browsers": ["org.example.surf"], "outputs": [1]}}})"
        "\n"
        R"({"at": 0, "snapshot": {"cameraOn": true, "cameraApps": [{"name": "Surf",)"
        R"( "bundleID": "org.example.surf"}], "output": {"objectID": 1, "name": "Headphones",)"
        R"( "kind": "headphones"}}})"
        "\n"
        R"({"at": 0.1, "stopEverything": true})"
        "\n"
        R"({"at": 0.2, "snapshot": {"output": {"objectID": 1, "name": "Speakers",)"
        R"( "kind": "builtInSpeakers", "isMuted": false}}})"
        "\n"
        R"({"at": 0.3, "machine": {"platform": "Linux"}})"
        "\n"
        R"({"at": 0.4, "stopEverything": true})"
        "\n"
        R"({"at": 0.6, "wait": true})"
        "\n");
    const auto withoutTimes = [](const std::string& text) {
        std::vector<std::string> result;
        for (const auto& line : lines(text)) {
            auto json = Json::parse(line);
            json.erase("at");
            if (json.contains("session")) {
                json["session"].erase("start");
                json["session"].erase("end");
            }
            result.push_back(json.dump());
        }
        return result;
    };
    auto replay = ctl({"replay", path});
    ASSERT_EQ(replay.wait(), 0) << replay.errors();
    auto watch = ctl({"watch", "--json", "--demo", path});
    ASSERT_EQ(watch.wait(), 0) << watch.errors();
    EXPECT_EQ(withoutTimes(watch.output()), withoutTimes(replay.output()));
    for (const auto* printed :
         {"\"asked\"", "\"outputMute\"", "in the Microphone row of the panel"}) {
        EXPECT_NE(watch.output().find(printed), std::string::npos) << printed;
    }
}

TEST_F(Ctl, WatchSaysInWordsHowAStopOfARecordingEnded) {
    const auto path = folder_.write(
        "recording.jsonl",
        R"({"begin": {"settings": {"language": "de"}, "history": [{"id":)"
        R"( "00000000-0000-4000-8000-000000000001", "device": "camera", "app": {"id":)"
        R"( "unknown", "name": "Unknown app"}, "start": 1, "connections": [],)"
        R"( "observedFromStart": true}]}})"
        "\n"
        R"({"at": 0, "snapshot": {"cameraOn": true}})"
        "\n"
        R"({"at": 2, "machine": {"platform": "Linux"}})"
        "\n"
        R"({"at": 2, "snapshot": {}})"
        "\n"
        R"({"at": 2.1, "stopEverything": true})"
        "\n"
        R"({"at": 2.2, "wait": true})"
        "\n");
    auto child = ctl({"watch", "--demo", path});
    ASSERT_EQ(child.wait(), 0) << child.errors();
    const auto printed = lines(child.output());
    ASSERT_EQ(printed.size(), 4U) << child.output();
    EXPECT_NE(printed[0].find("Unbekannte App"), std::string::npos) << printed[0];
    EXPECT_NE(printed[2].find("Mikrofon stummgeschaltet."), std::string::npos) << printed[2];
    EXPECT_NE(printed[3].find("im Fenster am Symbol in der Zeile „Mikrofon“"), std::string::npos)
        << printed[3];
}

TEST_F(Ctl, SaysWhatIsWrongWithARecording) {
    const auto path = folder_.write("bad.jsonl", "{\"at\": 0, \"wait\": true}\n{\"at\": 0}\n");
    auto watch = ctl({"watch", "--demo", path});
    EXPECT_EQ(watch.wait(), 2);
    EXPECT_EQ(watch.errors(), path + ":2: no action\n");
    auto replay = ctl({"replay", path});
    EXPECT_EQ(replay.wait(), 2);
    EXPECT_EQ(replay.errors(), path + ":2: no action\n");
}

TEST_F(Ctl, EndsCleanlyWhenItsReaderGoes) {
    auto child =
        start({"bash", "-o", "pipefail", "-c",
               std::string("'") + VELMORANCTL "' watch --demo '" + recording() + "' | head -n 1"});
    EXPECT_EQ(child.wait(), 0) << child.errors();
    EXPECT_EQ(lines(child.output()).size(), 1U);
    EXPECT_EQ(child.errors(), "");
}

TEST_F(Ctl, WatchEndsWhenNotEvenItsFirstLineCanBeWritten) {
    auto full = start({"sh", "-c", R"(exec "$0" watch --json > /dev/full)", VELMORANCTL});
    EXPECT_EQ(full.wait(), 1);
    EXPECT_NE(full.errors().find("the output can't be written"), std::string::npos);
    auto unread = start(
        {"bash", "-c", R"(exec 3> >(exit); wait $!; exec "$0" watch --json >&3)", VELMORANCTL});
    EXPECT_EQ(unread.wait(), 0) << unread.errors();
}

TEST_F(Ctl, WatchSaysThatNoSoundServerAnswersAndEndsBySignals) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        auto child = ctl({"watch"});
        EXPECT_TRUE(says(child, "No sound server can be reached."));
        child.signal(signal);
        EXPECT_EQ(child.wait(), 0) << signal;
        EXPECT_EQ(child.errors(), "");
    }
}

TEST_F(Ctl, WatchSaysThatThereIsNoHistoryAndLeavesTheFileAlone) {
    folder_.write(".local/share/Velmoran/History.store", "something else altogether");
    auto words = ctl({"watch"});
    EXPECT_TRUE(says(words, "History can't be saved right now. Velmoran couldn't open its file on "
                            "this computer. ("));
    EXPECT_TRUE(says(words, "History.store: not a database)"));
    EXPECT_EQ(words.stop(), 0);
    auto json = ctl({"watch", "--json"});
    EXPECT_TRUE(says(json, "\"event\":\"historyUnavailable\""));
    EXPECT_EQ(json.stop(), 0);
    EXPECT_EQ(support::readFile(history()), "something else altogether");
}

TEST_F(Ctl, WatchGivesWayToTheOneThatKeepsTheHistory) {
    auto first = ctl({"watch"});
    ASSERT_TRUE(says(first, "No sound server"));
    auto second = ctl({"watch"});
    EXPECT_TRUE(says(second, "The history is being kept already."));
    EXPECT_EQ(first.stop(), 0);
    EXPECT_EQ(second.stop(), 0);
    auto third = ctl({"watch"});
    EXPECT_TRUE(says(third, "No sound server"));
    EXPECT_EQ(third.output().find("being kept"), std::string::npos);
}

} // namespace
} // namespace velmoran
