// docs/replay.md against the program: its examples give what they say, and what it names exists.
#include "app/model/MemorySettings.h"
#include "app/replay/ReplayParser.h"
#include "app/telling/SettingFields.h"
#include "support/TemporaryDirectory.h"
#include "tests/app/replay/FileContents.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <vector>

namespace velmoran {
namespace {

namespace fs = std::filesystem;
using testing::contentsOf;

const std::string& document() {
    static const auto text = contentsOf(fs::path(VELMORAN_SOURCE_DIR) / "docs/replay.md");
    return text;
}

/// What stands under a heading, up to the next one.
std::string chapter(const std::string& heading) {
    const auto begin = document().find("\n" + heading + "\n");
    const auto end = document().find("\n#", begin + 1);
    return begin == std::string::npos ? "" : document().substr(begin, end - begin);
}

/// The names in the first column of the tables of a chapter.
std::vector<std::string> namesUnder(const std::string& heading) {
    std::vector<std::string> names;
    std::istringstream lines(chapter(heading));
    for (std::string line; std::getline(lines, line);) {
        if (!line.starts_with("| `") && !line.starts_with("| \"")) {
            continue;
        }
        const auto column = line.substr(1, line.find(" | ") - 1);
        static const std::regex name("[`\"]([A-Za-z]+)[`\"]");
        for (std::sregex_iterator at(column.begin(), column.end(), name), end; at != end; ++at) {
            names.push_back((*at)[1]);
        }
    }
    return names;
}

std::string complaintAbout(const std::string& line) {
    try {
        parseReplayLine(line);
        return {};
    } catch (const DecodingError& error) {
        return error.what();
    }
}

struct Block {
    std::string kind;
    std::string text;
};

std::vector<Block> blocks() {
    std::vector<Block> result;
    std::istringstream lines(document());
    bool isInside = false;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("```")) {
            isInside = !isInside;
            if (isInside) {
                result.push_back({line.substr(3), ""});
            }
        } else if (isInside) {
            result.back().text += line + "\n";
        }
    }
    return result;
}

struct Outcome {
    int status = -1;
    std::string output;
    std::string errors;
};

Outcome replayed(const std::string& recording) {
    const TemporaryDirectory folder;
    folder.write("recording.jsonl", recording);
    const auto command =
        "cd '" + folder.path() + "' && '" VELMORANCTL "' replay recording.jsonl 2>errors";
    Outcome outcome;
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) {
        return outcome;
    }
    char part[4096];
    while (const auto count = std::fread(part, 1, sizeof part, pipe)) {
        outcome.output.append(part, count);
    }
    const int status = pclose(pipe);
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    outcome.errors = contentsOf(folder.path("errors"));
    return outcome;
}

TEST(ReplayDocument, ItsExamplesGiveWhatItSays) {
    const auto all = blocks();
    int examples = 0;
    for (std::size_t i = 0; i + 1 < all.size(); i += 2) {
        ASSERT_EQ(all[i].kind, "jsonl recording") << all[i].text;
        const auto outcome = replayed(all[i].text);
        const auto& said = all[i + 1];
        if (said.kind == "jsonl output") {
            EXPECT_EQ(outcome.output, said.text);
            EXPECT_EQ(outcome.errors, "");
            EXPECT_EQ(outcome.status, 0);
        } else {
            EXPECT_EQ("text exit-" + std::to_string(outcome.status), said.kind);
            EXPECT_EQ(outcome.errors, said.text);
        }
        ++examples;
    }
    EXPECT_EQ(all.size() % 2, 0U);
    EXPECT_GE(examples, 5);
}

TEST(ReplayDocument, NamesKeysAndActionsThatAreRead) {
    for (const auto& key : namesUnder("## The beginning")) {
        EXPECT_EQ(complaintAbout("{\"begin\": {\"" + key + "\": []}}").find("unknown key"),
                  std::string::npos)
            << key;
    }
    for (const auto& key : namesUnder("### The machine")) {
        EXPECT_EQ(
            complaintAbout("{\"at\": 0, \"machine\": {\"" + key + "\": 1e99}}").find("unknown"),
            std::string::npos)
            << key;
    }
    for (const auto& action : namesUnder("## Actions")) {
        EXPECT_EQ(complaintAbout("{\"at\": 0, \"" + action + "\": []}").find("unknown action"),
                  std::string::npos)
            << action;
    }
    EXPECT_NE(complaintAbout("{\"at\": 0, \"dance\": []}").find("unknown action"),
              std::string::npos);
    EXPECT_NE(complaintAbout("{\"at\": 0, \"machine\": {\"dance\": 1}}").find("unknown"),
              std::string::npos);
    for (const auto& word : namesUnder("### What can be shown")) {
        EXPECT_EQ(complaintAbout("{\"at\": 0, \"show\": \"" + word + "\"}"), "");
    }
    EXPECT_EQ(namesUnder("### What can be shown").size(), 10U);
    EXPECT_GE(namesUnder("## Actions").size(), 18U);
}

TEST(ReplayDocument, NamesAllSettings) {
    MemorySettings nowhere;
    SettingsStore settings(nowhere);
    auto names = allFields(settings);
    for (const auto* absent : {"floatingStopPlace", "trustRulesData", "language"}) {
        EXPECT_FALSE(names.contains(absent));
        names[absent] = nullptr;
    }
    const auto text = chapter("## The beginning");
    for (const auto& item : names.items()) {
        EXPECT_NE(text.find("`" + item.key() + "`"), std::string::npos) << item.key();
        EXPECT_NO_THROW(checkField(item.key(), item.value()));
    }
}

TEST(ReplayDocument, NamesAllThatTheTestsRecordingsHave) {
    const auto begins = namesUnder("## The beginning");
    const auto machines = namesUnder("### The machine");
    const auto actions = namesUnder("## Actions");
    const auto has = [](const std::vector<std::string>& names, const std::string& name) {
        return std::find(names.begin(), names.end(), name) != names.end();
    };
    const auto outputs = namesUnder("## The output");
    const auto shows = chapter("### What can be shown");
    int read = 0;
    for (const auto& entry : fs::directory_iterator(VELMORAN_REPLAY_TESTS)) {
        std::istringstream lines(contentsOf(entry.path()));
        for (std::string line; std::getline(lines, line);) {
            const auto json = Json::parse(line, nullptr, false);
            if (!json.is_object()) {
                continue;
            }
            ++read;
            if (json.contains("event")) {
                const auto word = json["event"].get<std::string>();
                EXPECT_TRUE(has(outputs, word) ||
                            shows.find("\"" + word + "\"") != std::string::npos)
                    << line;
                continue;
            }
            for (const auto& item : json.items()) {
                if (item.key() == "begin") {
                    for (const auto& key : item.value().items()) {
                        EXPECT_TRUE(has(begins, key.key())) << line;
                    }
                } else if (item.key() != "at" && entry.path().stem() != "bad-line") {
                    EXPECT_TRUE(has(actions, item.key())) << line;
                }
            }
            const auto machine = json.contains("begin") ? json["begin"].value("machine", Json())
                                                        : json.value("machine", Json());
            for (const auto& item : machine.items()) {
                EXPECT_TRUE(has(machines, item.key())) << line;
            }
        }
    }
    EXPECT_GT(read, 100);
}

} // namespace
} // namespace velmoran
