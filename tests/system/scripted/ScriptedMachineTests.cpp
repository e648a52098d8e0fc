#include "system/scripted/ScriptedMachine.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

MachineScript scriptOf(const char* text) {
    MachineScript script;
    script.apply(Json::parse(text));
    return script;
}

TEST(MachineScript, HasItsDefaultsWithoutAnyKey) {
    const auto script = scriptOf("{}");
    EXPECT_EQ(script, MachineScript());
    EXPECT_EQ(script.platform, Platform::macOS);
    ASSERT_EQ(script.microphones.size(), 1U);
    EXPECT_EQ(script.microphones[0].name, "Built-in Microphone");
    EXPECT_TRUE(script.microphones[0].hasMute);
    EXPECT_EQ(script.microphones[0].volume, std::nullopt);
    EXPECT_EQ(script.browserAnswer, BrowserAnswer::cancel);
}

TEST(MachineScript, TakesEveryKey) {
    const auto script = scriptOf(R"({
        "platform": "Linux", "ownBundleID": "org.example.own",
        "teamIDs": {"/a": "T1"}, "signingIDs": {"/b": "com.example.b"},
        "connections": {"/a": [{"address": "192.0.2.1", "port": 443, "transport": "TCP"}]},
        "microphones": [{"name": "Desk", "mute": false, "volume": 0.5}, {"name": "Other",
                        "mute": true, "volume": null}],
        "outputs": [3, 7], "outputMuteFails": true, "closeSeconds": {"a": 2},
        "refusesToClose": ["b"], "browsers": ["c"], "browserAnswer": "keep",
        "shortcutRefused": true})");
    EXPECT_EQ(script.platform, Platform::linux);
    EXPECT_EQ(script.ownBundleID, "org.example.own");
    EXPECT_EQ(script.teamIDs.at("/a"), "T1");
    EXPECT_EQ(script.signingIDs.at("/b"), "com.example.b");
    EXPECT_EQ(script.connections.at("/a").at(0).port, 443);
    EXPECT_EQ(script.microphones.at(0).volume, 0.5);
    EXPECT_EQ(script.microphones.at(1).volume, std::nullopt);
    EXPECT_EQ(script.outputs, (std::set<std::uint32_t>{3, 7}));
    EXPECT_TRUE(script.outputMuteFails);
    EXPECT_EQ(script.closeSeconds.at("a"), 2);
    EXPECT_TRUE(script.refusesToClose.contains("b"));
    EXPECT_EQ(script.browsers.at(0), "c");
    EXPECT_EQ(script.browserAnswer, BrowserAnswer::keep);
    EXPECT_TRUE(script.shortcutRefused);
}

TEST(MachineScript, ReplacesOnlyWhatIsSaid) {
    auto script = scriptOf(R"({"outputs": [1], "teamIDs": {"/a": "T1"}})");
    script.apply(Json::parse(R"({"teamIDs": {"/b": "T2"}})"));
    EXPECT_TRUE(script.outputs.contains(1));
    EXPECT_EQ(script.teamIDs, (std::map<std::string, std::string>{{"/b", "T2"}}));
}

TEST(MachineScript, RefusesWhatItDoesNotKnowAndThenChangesNothing) {
    for (const auto* wrong :
         {R"([])",
          R"({"outputs": [1], "colour": "red"})",
          R"({"platform": "Amiga"})",
          R"({"platform": 1})",
          R"({"ownBundleID": null})",
          R"({"teamIDs": {"/a": 1}})",
          R"({"teamIDs": []})",
          R"({"outputs": 1})",
          R"({"outputs": [-1]})",
          R"({"outputs": [1.5]})",
          R"({"outputs": [4294967296]})",
          R"({"outputs": ["1"]})",
          R"({"outputMuteFails": 1})",
          R"({"closeSeconds": {"a": -1}})",
          R"({"closeSeconds": {"a": true}})",
          R"({"refusesToClose": "a"})",
          R"({"browserAnswer": "maybe"})",
          R"({"microphones": [{"mute": true}]})",
          R"({"microphones": [{"name": "a", "loud": true}]})",
          R"({"connections": {"/a": [{"address": "a", "port": 65536, "transport": "TCP"}]}})",
          R"({"connections": {"/a": [{"address": "a", "port": 1}]}})",
          R"({"shortcutRefused": "no"})"}) {
        MachineScript script;
        EXPECT_THROW(script.apply(Json::parse(wrong)), DecodingError) << wrong;
        EXPECT_EQ(script, MachineScript()) << wrong;
    }
}

TEST(MachineScript, NamesTheKeyThatIsWrong) {
    try {
        scriptOf(R"({"teamIDs": {"/a": 1}})");
        FAIL();
    } catch (const DecodingError& error) {
        EXPECT_STREQ(error.what(), "\"machine.teamIDs./a\" is not a text");
    }
}

TEST(ScriptedMachine, AnswersWhatItsScriptSays) {
    ScriptedMachine machine(scriptOf(R"({"teamIDs": {"/a": "T1"}, "signingIDs": {"/b": "b"},
                                         "outputs": [7], "ownBundleID": "own"})"));
    EXPECT_EQ(machine.signatures().teamID("/a"), "T1");
    EXPECT_EQ(machine.signatures().teamID("/b"), std::nullopt);
    EXPECT_EQ(machine.signatures().systemIdentifier("/b"), "b");
    EXPECT_EQ(machine.signatures().systemIdentifier("/a"), std::nullopt);
    EXPECT_TRUE(machine.outputs().exists(7));
    EXPECT_FALSE(machine.outputs().exists(8));
    EXPECT_EQ(machine.ownBundleID(), "own");
}

TEST(ScriptedMachine, TellsOfSoundsAndMutes) {
    ScriptedMachine machine;
    int sounds = 0;
    std::vector<std::tuple<std::uint32_t, bool, bool>> mutes;
    machine.sounds().playWarning();
    machine.onSound = [&] {
        ++sounds;
    };
    machine.onOutputMute = [&](auto id, bool muted, bool done) {
        mutes.emplace_back(id, muted, done);
    };
    machine.sounds().playWarning();
    EXPECT_EQ(sounds, 1);
    EXPECT_TRUE(machine.outputs().setMuted(true, 7));
    machine.script.outputMuteFails = true;
    EXPECT_FALSE(machine.outputs().setMuted(false, 7));
    EXPECT_EQ(mutes, (std::vector<std::tuple<std::uint32_t, bool, bool>>{{7, true, true},
                                                                         {7, false, false}}));
}

TEST(ScriptedMachine, DeliversReadingsBetweenStartAndStop) {
    ScriptedMachine machine;
    int readings = 0;
    machine.snapshots().deliver({});
    machine.snapshots().start([&](const SystemSnapshot&) { ++readings; });
    machine.snapshots().deliver({});
    EXPECT_EQ(readings, 1);
    machine.snapshots().stop();
    machine.snapshots().deliver({});
    machine.snapshots().start([&](const SystemSnapshot&) { ++readings; });
    machine.snapshots().deliver({});
    EXPECT_EQ(readings, 1);
    EXPECT_TRUE(machine.snapshots().isStopped());
    machine.restart();
    EXPECT_FALSE(machine.snapshots().isStarted());
}

} // namespace
} // namespace velmoran
