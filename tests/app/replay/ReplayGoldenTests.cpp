// Recordings in tests/app/replay with what they have to give, line by line. The expected file ends
// with remarks for what isn't in the output: "# status 3" and "# error bad.jsonl:4: what is wrong".
#include "app/replay/Replay.h"
#include "app/translations/Catalogues.h"
#include "tests/app/replay/FileContents.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace velmoran {
namespace {

namespace fs = std::filesystem;
using testing::contentsOf;

const fs::path folder = VELMORAN_REPLAY_TESTS;

/// The output as the expected files spell it.
std::string described(const std::string& output, int status, std::string errors) {
    auto text = output;
    if (status != 0) {
        text += "# status " + std::to_string(status) + "\n";
    }
    if (!errors.empty()) {
        text += "# error " + errors;
    }
    return text;
}

std::vector<std::string> recordings() {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) {
        const auto name = entry.path().filename().string();
        if (name.ends_with(".jsonl") && !name.ends_with(".expected.jsonl")) {
            names.push_back(name.substr(0, name.size() - 6));
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string expected(const std::string& name) {
    return contentsOf(folder / (name + ".expected.jsonl"));
}

class ReplayRecording : public ::testing::TestWithParam<std::string> {
protected:
    void TearDown() override { setWords(Localizer()); }
};

TEST_P(ReplayRecording, GivesWhatIsExpected) {
    const auto name = GetParam() + ".jsonl";
    std::ifstream input(folder / name, std::ios::binary);
    std::string output;
    std::ostringstream errors;
    const int status = runReplay(
        input, name, [&](const std::string& line) { output += line + "\n"; }, errors, catalogues);
    EXPECT_EQ(described(output, status, errors.str()), expected(GetParam()));
}

class ReplayProgram : public ::testing::TestWithParam<std::string> {};

TEST_P(ReplayProgram, GivesWhatIsExpected) {
    const auto errors = fs::path(::testing::TempDir()) /
                        ("replay-errors-" + GetParam() + "-" + std::to_string(getpid()));
    const auto command = "cd '" + folder.string() + "' && '" VELMORANCTL "' replay " + GetParam() +
                         ".jsonl 2>'" + errors.string() + "'";
    FILE* pipe = popen(command.c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    std::string output;
    char part[4096];
    while (const auto count = std::fread(part, 1, sizeof part, pipe)) {
        output.append(part, count);
    }
    const int status = pclose(pipe);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(described(output, WEXITSTATUS(status), contentsOf(errors)), expected(GetParam()));
    fs::remove(errors);
}

std::string caseName(const ::testing::TestParamInfo<std::string>& each) {
    std::string name = each.param;
    std::erase(name, '-');
    return name;
}

INSTANTIATE_TEST_SUITE_P(Recordings, ReplayRecording, ::testing::ValuesIn(recordings()), caseName);
INSTANTIATE_TEST_SUITE_P(Recordings, ReplayProgram, ::testing::ValuesIn(recordings()), caseName);

// MARK: - What needs no file

struct Played {
    int status = 0;
    std::vector<std::string> lines;
    std::string errors;
};

Played play(const std::string& text) {
    std::istringstream input(text);
    std::ostringstream errors;
    Played outcome;
    outcome.status = runReplay(
        input, "r", [&](const std::string& line) { outcome.lines.push_back(line); }, errors);
    outcome.errors = errors.str();
    setWords(Localizer());
    return outcome;
}

TEST(Replay, OfNothingGivesNothing) {
    for (const auto* text : {"", "\n# nothing\n", "{\"begin\": {}}\n"}) {
        const auto outcome = play(text);
        EXPECT_EQ(outcome.status, 0);
        EXPECT_TRUE(outcome.lines.empty());
    }
}

TEST(Replay, StartsTheProgramAtZeroUnlessItIsToldWhen) {
    const auto implied = play("{\"at\": 5, \"show\": \"icon\"}\n");
    ASSERT_EQ(implied.lines.size(), 2U);
    EXPECT_EQ(implied.lines[0], R"({"at":0.0,"event":"icon","state":"idle"})");
    EXPECT_EQ(implied.lines[1], R"({"at":5.0,"event":"icon","value":"idle"})");
    const auto played = play("{\"at\": 5, \"launch\": true}\n");
    ASSERT_EQ(played.lines.size(), 1U);
    EXPECT_EQ(played.lines[0], R"({"at":5.0,"event":"icon","state":"idle"})");
}

TEST(Replay, WritesLinesAsTheyHappenAndNotAtTheEnd) {
    // The second line is only made when the first one has been answered.
    class Conversation : public std::streambuf {
    public:
        explicit Conversation(std::vector<std::string>& lines) : lines_(lines) {}

    protected:
        int_type underflow() override {
            if (asked_ == 0) {
                text_ = "{\"at\": 0, \"snapshot\": {\"cameraOn\": true}}\n";
            } else if (asked_ == 1 && !lines_.empty()) {
                text_ = "{\"at\": 1, \"show\": \"icon\"}\n";
            } else {
                return traits_type::eof();
            }
            ++asked_;
            setg(text_.data(), text_.data(), text_.data() + text_.size());
            return traits_type::to_int_type(*gptr());
        }

    private:
        std::vector<std::string>& lines_;
        std::string text_;
        int asked_ = 0;
    };
    std::vector<std::string> lines;
    Conversation conversation(lines);
    std::istream input(&conversation);
    std::ostringstream errors;
    EXPECT_EQ(runReplay(
                  input, "-", [&](const std::string& line) { lines.push_back(line); }, errors),
              0);
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines.back(), R"({"at":1.0,"event":"icon","value":"inUse"})");
}

TEST(Replay, RunsTimersUpToAndIncludingTheTimeOfALine) {
    const auto outcome = play("{\"at\": 0, \"snapshot\": {}}\n"
                              "{\"at\": 2.2, \"snapshot\": {\"cameraOn\": true, \"cameraApps\": "
                              "[{\"name\": \"A\"}]}}\n"
                              "{\"at\": 10.2, \"show\": \"notices\"}\n");
    ASSERT_GE(outcome.lines.size(), 2U);
    EXPECT_EQ(outcome.lines[outcome.lines.size() - 2],
              R"({"at":10.2,"event":"dismissed","id":"n1","title":"A turned on the camera"})");
    EXPECT_EQ(outcome.lines.back(), R"({"at":10.2,"event":"notices","value":[]})");
}

TEST(Replay, RefusesDecisionsAboutAppsThatNobodySaw) {
    const auto outcome =
        play("{\"at\": 0, \"setTrusted\": {\"app\": \"a\", \"devices\": [], \"value\": true}}\n");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.errors, "r:1: no app with the id \"a\" has been seen\n");
}

TEST(Replay, KnowsAppsFromReadingsHistoryAndTrust) {
    const auto decide = [](const char* id) {
        return std::string("{\"at\": 0, \"setTrusted\": {\"app\": \"") + id +
               "\", \"devices\": [\"camera\"], \"value\": true}}\n";
    };
    const std::string beginning =
        R"({"begin": {"history": [{"id": "00000000-0000-4000-8000-000000000001",)"
        R"( "device": "camera", "app": {"id": "h", "name": "H"}, "start": 794136000,)"
        R"( "connections": [], "observedFromStart": true}], "trust": {"rules": [{"app":)"
        R"( {"id": "t", "name": "T"}, "device": "camera", "kind": "alwaysWarn"}]}}})"
        "\n";
    EXPECT_EQ(play(beginning + decide("h")).status, 0);
    EXPECT_EQ(play(beginning + decide("t")).status, 0);
    EXPECT_EQ(play(beginning + decide("x")).status, 2);
    // Seen playing sound, though nothing is told of that.
    EXPECT_EQ(play("{\"at\": 0, \"snapshot\": {\"speakerOn\": true, \"speakerApps\": "
                   "[{\"name\": \"x\"}]}}\n" +
                   decide("x"))
                  .status,
              0);
}

TEST(Replay, StartsWithNobodyTrustedWhenTheStoredTrustIsCorrupt) {
    const auto outcome = play(R"({"begin": {"settings": {"trustRulesData": "{\"rules\": [1]}"}}})"
                              "\n{\"at\": 0, \"show\": \"trust\"}\n{\"at\": 0, \"show\": "
                              "\"settings\"}\n");
    ASSERT_EQ(outcome.lines.size(), 3U);
    EXPECT_EQ(outcome.lines[1], R"({"at":0.0,"event":"trust","value":{"rules":[]}})");
    EXPECT_NE(outcome.lines[2].find(R"("trustRulesData":"{\"rules\": [1]}")"), std::string::npos);
}

TEST(Replay, SaysTimesInItsZone) {
    EXPECT_EQ(play(R"({"begin": {"timeZone": "Europe/Berlin", "locale": "de_DE"}})"
                   "\n{\"at\": 0, \"wait\": true}\n")
                  .status,
              0);
    std::istringstream input(R"({"begin": {"timeZone": "Europe/Berlin", "locale": "de_DE"}})"
                             "\n{\"at\": 0, \"wait\": true}\n");
    std::ostringstream errors;
    runReplay(
        input, "r", [](const std::string&) {}, errors,
        [](const std::string& locale, Platform platform) {
            EXPECT_EQ(locale, "de_DE");
            EXPECT_EQ(platform, Platform::macOS);
            return std::vector<Catalogue>{{{"Stop", "Halt"}}};
        });
    EXPECT_EQ(words().text("Stop"), "Halt");
    EXPECT_EQ(words().shortTime({794136600.0}), "10:30");
    setWords(Localizer());
}

TEST(Replay, TakesItsWordsBeforeItsHistoryAndAnewForAnotherPlatform) {
    const std::string beginning =
        R"({"begin": {"history": [{"id": "00000000-0000-4000-8000-000000000001",)"
        R"( "device": "camera", "app": {"id": "unknown", "name": "?"}, "start": 794136000,)"
        R"( "connections": [], "observedFromStart": true}]}})"
        "\n";
    std::istringstream input(beginning + R"({"at": 0, "machine": {"teamIDs": {}}})"
                                         "\n"
                                         R"({"at": 0, "show": "history"})"
                                         "\n"
                                         R"({"at": 1, "machine": {"platform": "Linux"}})"
                                         "\n"
                                         R"({"at": 2, "machine": {"platform": "Linux"}})"
                                         "\n"
                                         R"({"at": 3, "crash": true})"
                                         "\n"
                                         R"({"at": 4, "machine": {"platform": "macOS"}})"
                                         "\n");
    std::ostringstream errors;
    std::string output;
    std::vector<Platform> asked;
    EXPECT_EQ(runReplay(
                  input, "r", [&](const std::string& line) { output += line + "\n"; }, errors,
                  [&](const std::string&, Platform platform) {
                      asked.push_back(platform);
                      return std::vector<Catalogue>{{{"Unknown app", "Nobody"}}};
                  }),
              0)
        << errors.str();
    EXPECT_NE(output.find(R"("app":{"id":"unknown","name":"Nobody"})"), std::string::npos)
        << output;
    EXPECT_EQ(asked, (std::vector<Platform>{Platform::macOS, Platform::linux, Platform::macOS}));
    setWords(Localizer());
}

} // namespace
} // namespace velmoran
