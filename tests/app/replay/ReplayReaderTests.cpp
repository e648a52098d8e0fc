#include "app/replay/ReplayReader.h"

#include <gtest/gtest.h>
#include <sstream>

namespace velmoran {
namespace {

std::string errorOf(const std::string& line) {
    try {
        parseReplayLine(line);
        return "";
    } catch (const DecodingError& error) {
        return error.what();
    }
}

template <class Action>
Action actionOf(const std::string& line) {
    return std::get<Action>(std::get<ReplayAction>(parseReplayLine(line)).doing);
}

TEST(ReplayParser, ReadsABeginningWithItsDefaults) {
    const auto empty = std::get<ReplayBeginning>(parseReplayLine(R"({"begin": {}})"));
    EXPECT_EQ(empty.time, Timestamp{794136600.0});
    EXPECT_EQ(empty.timeZone, "UTC");
    EXPECT_EQ(empty.locale, "en_US");
    EXPECT_TRUE(empty.settings.empty());
    EXPECT_FALSE(empty.trust);
    EXPECT_TRUE(empty.history.empty());
    EXPECT_FALSE(empty.historyFails);
    EXPECT_EQ(empty.machine, MachineScript());
}

TEST(ReplayParser, ReadsABeginningWithEveryKey) {
    const auto full = std::get<ReplayBeginning>(parseReplayLine(
        R"({"begin": {"time": 5, "timeZone": "Europe/Berlin", "locale": "de_DE",)"
        R"( "settings": {"retentionDays": 30, "floatingStopPlace": [1, 2.5], "language": "de",)"
        R"( "trustRulesData": null, "awayWatchOnLock": true},)"
        R"( "trust": {"rules": [{"app": {"id": "a", "name": "A"}, "device": "camera",)"
        R"( "kind": "trusted"}]},)"
        R"( "history": [{"id": "0F8FAD5B-D9CB-469F-A165-70867728950E", "device": "camera",)"
        R"( "app": {"id": "a", "name": "A"}, "start": 1, "connections": [],)"
        R"( "observedFromStart": true}],)"
        R"( "reports": [{"id": "0F8FAD5B-D9CB-469F-A165-70867728950E", "start": 1,)"
        R"( "events": [{"id": "0F8FAD5B-D9CB-469F-A165-70867728950E", "kind": "lidOpened",)"
        R"( "time": 2}], "slept": false, "ownReturn": []}],)"
        R"( "historyFails": true, "machine": {"platform": "Linux"}}})"));
    EXPECT_EQ(full.time, Timestamp{5});
    EXPECT_EQ(full.settings.size(), 5U);
    EXPECT_EQ(full.trust->rules().size(), 1U);
    EXPECT_EQ(full.history.at(0).app.name, "A");
    EXPECT_EQ(full.reports.size(), 1U);
    EXPECT_TRUE(full.historyFails);
    EXPECT_EQ(full.machine.platform, Platform::linux);
}

TEST(ReplayParser, ReadsEveryActionThatCanBeDone) {
    EXPECT_FALSE(actionOf<replay::Leave>(R"({"at": 0, "quit": true})").crash);
    EXPECT_TRUE(actionOf<replay::Leave>(R"({"at": 0, "crash": true})").crash);
    EXPECT_NO_THROW(actionOf<replay::Launch>(R"({"launch": true, "at": 3})"));
    EXPECT_NO_THROW(actionOf<replay::Wait>(R"({"at": 0, "wait": true})"));
    EXPECT_NO_THROW(actionOf<replay::DeleteHistory>(R"({"at": 0, "deleteHistory": true})"));
    EXPECT_TRUE(actionOf<replay::Snapshot>(R"({"at": 0, "snapshot": {"cameraOn": true}})")
                    .reading.cameraOn);
    const auto setting = actionOf<replay::Setting>(
        R"({"at": 0, "setting": {"name": "retentionDays", "value": 365}})");
    EXPECT_EQ(setting.name, "retentionDays");
    EXPECT_EQ(setting.value, 365);
    EXPECT_NO_THROW(actionOf<replay::ChangeMachine>(R"({"at": 0, "machine": {"outputs": [1]}})"));
    const auto press =
        actionOf<replay::Press>(R"({"at": 0, "press": {"notice": "n", "button": "b"}})");
    EXPECT_EQ(press.notice, "n");
    EXPECT_EQ(press.button, "b");
    const auto decide = actionOf<replay::Decide>(
        R"({"at": 0, "setAlwaysWarn": {"app": "a", "devices": ["microphone"], "value": true}})");
    EXPECT_TRUE(decide.alwaysWarn);
    EXPECT_TRUE(decide.value);
    EXPECT_EQ(decide.devices, (std::vector<Device>{Device::microphone}));
    for (const auto* word : {"openSessions", "history", "recent", "rows", "reports", "trust",
                             "notices", "icon", "panel", "settings"}) {
        EXPECT_EQ(actionOf<replay::Show>(R"({"at": 0, "show": ")" + std::string(word) + "\"}").word,
                  word);
    }
    const auto days = actionOf<replay::Show>(R"({"at": 0, "show": {"days": 7}})");
    EXPECT_EQ(days.word, "days");
    EXPECT_EQ(days.argument, 7);
    const auto times = actionOf<replay::Show>(R"({"at": 0, "show": {"appTimes": "week"}})");
    EXPECT_EQ(times.word, "appTimes");
    EXPECT_EQ(times.argument, "week");
}

TEST(ReplayParser, ReadsStopsAndTheEndOfTheMute) {
    EXPECT_NO_THROW(actionOf<replay::StopEverything>(R"({"at": 0, "stopEverything": true})"));
    EXPECT_EQ(actionOf<replay::Stop>(R"({"at": 0, "stop": "a"})").app, "a");
    EXPECT_NO_THROW(actionOf<replay::UnmuteMicrophone>(R"({"at": 0, "unmuteMicrophone": true})"));
}

TEST(ReplayParser, ReadsTheScreensLock) {
    EXPECT_TRUE(actionOf<replay::Lock>(R"({"at": 0, "lock": true})").locked);
    EXPECT_FALSE(actionOf<replay::Lock>(R"({"at": 0, "unlock": true})").locked);
}

TEST(ReplayParser, ReadsSignals) {
    const auto read = [](const std::string& signal) {
        return actionOf<replay::Signal>(R"({"at": 0, "signal": )" + signal + "}").signal;
    };
    using Kind = AwaySignal::Kind;
    for (const auto name : caseNames(Kind())) {
        if (name != "lidMoved") {
            AwaySignal expected;
            expected.kind = *caseNamed<Kind>(name);
            EXPECT_EQ(read(R"({"kind": ")" + std::string(name) + "\"}"), expected) << name;
        }
    }
    EXPECT_EQ(read(R"({"kind": "lidMoved", "from": 12, "to": 47})"),
              (AwaySignal{.kind = Kind::lidMoved, .from = 12, .to = 47, .name = {}}));
    EXPECT_EQ(read(R"({"kind": "devicePluggedIn", "name": "Stick"})"),
              (AwaySignal{.kind = Kind::devicePluggedIn, .from = 0, .to = 0, .name = "Stick"}));
    EXPECT_EQ(read(R"({"kind": "devicePluggedIn", "name": null})").name, std::nullopt);
}

TEST(ReplayParser, RefusesSignalsThatMeanNothing) {
    for (const auto* signal :
         {R"("lidOpened")", R"({})", R"({"kind": 5})", R"({"kind": "cameraUsed"})",
          R"({"kind": "lidMoved"})", R"({"kind": "lidMoved", "from": 12})",
          R"({"kind": "lidMoved", "from": 12.5, "to": 47})",
          R"({"kind": "lidMoved", "from": 12, "to": 4294967296})",
          R"({"kind": "lidMoved", "from": 12, "to": 47, "name": "x"})",
          R"({"kind": "devicePluggedIn", "name": 5})",
          R"({"kind": "keyboardUsed", "name": "x"})"}) {
        EXPECT_THROW(parseReplayLine(R"({"at": 0, "signal": )" + std::string(signal) + "}"),
                     DecodingError)
            << signal;
    }
}

TEST(ReplayParser, RefusesReportsThatCannotBeOne) {
    const std::string id = R"("id": "0F8FAD5B-D9CB-469F-A165-70867728950E")";
    const auto read = [](const std::string& report) {
        return parseReplayLine(R"({"begin": {"reports": [{)" + report + "}]}}");
    };
    EXPECT_NO_THROW(read(id + R"(, "start": 1, "events": [])"));
    EXPECT_NO_THROW(read(id + R"(, "start": 1, "end": null, "events": [{)" + id +
                         R"(, "kind": "wentToSleep", "time": 2}])"));
    for (const auto* rest :
         {R"(, "start": 1)", R"(, "events": [])", R"(, "start": "now", "events": [])",
          R"(, "start": 1, "events": [{"id": "x", "kind": "lidOpened", "time": 1}])",
          R"(, "start": 1, "events": [], "slept": null)",
          R"(, "start": 1, "events": [], "awake": true)",
          R"(, "start": 1, "events": [], "ownReturn": null)"}) {
        EXPECT_THROW(read(id + rest), DecodingError) << rest;
    }
    EXPECT_THROW(read(id + R"(, "start": 1, "events": [{)" + id +
                      R"(, "kind": "windowOpened", "time": 2}])"),
                 DecodingError);
    EXPECT_THROW(read(id + R"(, "start": 1, "events": [{)" + id +
                      R"(, "kind": "lidOpened", "time": 2, "detail": 5}])"),
                 DecodingError);
}

TEST(ReplayParser, RefusesWhatItCannotRead) {
    for (const auto* line : {
             "",
             "x",
             "{",
             "[]",
             "1",
             "{}",
             "null",
             R"({"at": 1})",
             R"({"wait": true})",
             R"({"at": NaN, "wait": true})",
             R"({"at": Infinity, "wait": true})",
             R"({"at": 1e999, "wait": true})",
             R"({"at": 1e10, "wait": true})",
             R"({"at": -1, "wait": true})",
             R"({"at": "1", "wait": true})",
             R"({"at": true, "wait": true})",
             R"({"at": null, "wait": true})",
             R"({"at": 1, "wait": true} {})",
             R"({"at": 1, "wait": true,})",
             R"({"at": 1, "wait": false})",
             R"({"at": 1, "wait": 1})",
             R"({"at": 1, "wait": true, "quit": true})",
             R"({"at": 1, "wait": true, "wait": true})",
             R"({"at": 1, "at": 1, "wait": true})",
             R"({"at": 1, "dance": true})",
             R"({"at": 1, "wait": true, "why": "because"})",
             R"({"at": 1, "Wait": true})",
             R"({"at": 1, "snapshot": true})",
             R"({"at": 1, "snapshot": {"cameraOn": 1}})",
             R"({"at": 1, "snapshot": {"cameraOn": null}})",
             R"({"at": 1, "snapshot": {"camera": true}})",
             R"({"at": 1, "snapshot": {"cameraApps": [{"bundleID": "x"}]}})",
             R"({"at": 1, "snapshot": {"cameraApps": [{"name": "x", "team": "y"}]}})",
             R"({"at": 1, "snapshot": {"cameraApps": [{"name": "x", "unidentified": 1}]}})",
             R"({"at": 1, "snapshot": {"cameraApps": {"name": "x"}}})",
             R"({"at": 1, "snapshot": {"output": {"kind": "loud"}}})",
             R"({"at": 1, "snapshot": {"output": {"objectID": -1}}})",
             R"({"at": 1, "snapshot": {"output": {"volume": "half"}}})",
             R"({"at": 1, "setting": {"name": "retentionDays"}})",
             R"({"at": 1, "setting": {"value": 1}})",
             R"({"at": 1, "setting": {"name": "retentionDays", "value": "90"}})",
             R"({"at": 1, "setting": {"name": "retentionDays", "value": 1.5}})",
             R"({"at": 1, "setting": {"name": "retentionDays", "value": -1}})",
             R"({"at": 1, "setting": {"name": "retentionDays", "value": 99999999999}})",
             R"({"at": 1, "setting": {"name": "warningSoundOn", "value": 1}})",
             R"({"at": 1, "setting": {"name": "floatingStopPlace", "value": [1, 2, 3]}})",
             R"({"at": 1, "setting": {"name": "floatingStopPlace", "value": [1, "2"]}})",
             R"({"at": 1, "setting": {"name": "language", "value": "fr"}})",
             R"({"at": 1, "setting": {"name": "colour", "value": 1}})",
             R"({"at": 1, "setting": {"name": "microphoneMuted", "value": true, "x": 1}})",
             R"({"at": 1, "machine": {"colour": 1}})",
             R"({"at": 1, "press": {"notice": "n"}})",
             R"({"at": 1, "press": {"notice": "n", "button": 1}})",
             R"({"at": 1, "stop": true})",
             R"({"at": 1, "setTrusted": {"app": "a", "devices": ["keyboard"], "value": true}})",
             R"({"at": 1, "setTrusted": {"app": "a", "devices": "camera", "value": true}})",
             R"({"at": 1, "setTrusted": {"app": "a", "devices": []}})",
             R"({"at": 1, "setTrusted": {"app": "a", "devices": [], "value": 1}})",
             R"({"at": 1, "signal": {"kind": "dance"}})",
             R"({"at": 1, "signal": {"kind": "lidMoved", "from": 1}})",
             R"({"at": 1, "signal": {"kind": "lidMoved", "from": 1, "to": 1.5}})",
             R"({"at": 1, "signal": {"kind": "keyboardUsed", "name": "x"}})",
             R"({"at": 1, "signal": "keyboardUsed"})",
             R"({"at": 1, "show": "everything"})",
             R"({"at": 1, "show": true})",
             R"({"at": 1, "show": {}})",
             R"({"at": 1, "show": {"days": "7"}})",
             R"({"at": 1, "show": {"days": 7, "appTimes": "week"}})",
             R"({"at": 1, "show": {"appTimes": "year"}})",
             R"({"begin": true})",
             R"({"begin": {}, "at": 0})",
             R"({"begin": {}, "begin": {}})",
             R"({"begin": {"colour": 1}})",
             R"({"begin": {"time": "now"}})",
             R"({"begin": {"time": 1e300}})",
             R"({"begin": {"locale": 1}})",
             R"({"begin": {"timeZone": null}})",
             R"({"begin": {"timeZone": ""}})",
             R"({"begin": {"timeZone": "Europe/Berlim"}})",
             R"({"begin": {"timeZone": "Etc/Unknown"}})",
             R"({"begin": {"settings": {"colour": 1}}})",
             R"({"begin": {"settings": {"monitorSpeakerUse": "yes"}}})",
             R"({"begin": {"trust": {}}})",
             R"({"begin": {"trust": {"rules": [], "x": 1}}})",
             R"({"begin": {"trust": {"rules": [{"app": {"id": "a", "name": "A", "x": 1},)"
             R"( "device": "camera", "kind": "trusted"}]}}})",
             R"({"begin": {"history": {}}})",
             R"({"begin": {"history": [{"id": "x"}]}})",
             R"({"begin": {"reports": [1]}})",
             R"({"begin": {"reports": [{"id": "0F8FAD5B-D9CB-469F-A165-70867728950E"}]}})",
             R"({"begin": {"historyFails": 0}})",
             R"({"begin": {"machine": []}})",
         }) {
        EXPECT_NE(errorOf(line), "") << line;
    }
}

/// A beginning with a use and a rule in which everything stands that can.
Json beginningWithRecords() {
    return Json::parse(
        R"({"begin": {"trust": {"rules": [{"app": {"id": "a", "name": "A", "bundleID": "a",)"
        R"( "path": "/a", "teamID": "T", "unidentified": true}, "device": "camera",)"
        R"( "kind": "trusted"}]},)"
        R"( "history": [{"id": "0F8FAD5B-D9CB-469F-A165-70867728950E", "device": "camera",)"
        R"( "app": {"id": "a", "name": "A", "bundleID": "a", "path": "/a", "teamID": "T",)"
        R"( "unidentified": true}, "start": 1, "end": 2, "outcome": "endedNormally", "warningLevel": "quiet",)"
        R"( "connections": [{"address": "192.0.2.1", "port": 443, "transport": "TCP",)"
        R"( "firstSeen": 1.5}], "observedFromStart": true}]}})");
}

TEST(ReplayParser, ReadsRecordsWithEveryKey) {
    const auto read = std::get<ReplayBeginning>(parseReplayLine(beginningWithRecords().dump()));
    EXPECT_EQ(Json(*read.trust), beginningWithRecords()["begin"]["trust"]);
    EXPECT_EQ(Json(read.history), beginningWithRecords()["begin"]["history"]);
}

TEST(ReplayParser, TakesNullForAbsentOnlyWhereARecordMayLackTheKey) {
    using Pointer = Json::json_pointer;
    for (const auto* known :
         {"/begin/trust/rules/0/app/bundleID", "/begin/trust/rules/0/app/path",
          "/begin/trust/rules/0/app/teamID", "/begin/history/0/app/bundleID",
          "/begin/history/0/app/path", "/begin/history/0/app/teamID", "/begin/history/0/end",
          "/begin/history/0/outcome", "/begin/history/0/warningLevel",
          "/begin/history/0/connections/0/firstSeen"}) {
        auto line = beginningWithRecords();
        line[Pointer(known)] = nullptr;
        EXPECT_EQ(errorOf(line.dump()), "") << known;
    }
    for (const std::string place :
         {"/begin", "/begin/trust", "/begin/trust/rules/0", "/begin/trust/rules/0/app",
          "/begin/history/0", "/begin/history/0/app", "/begin/history/0/connections/0"}) {
        for (const auto& value : {Json(), Json(1)}) {
            auto line = beginningWithRecords();
            line[Pointer(place + "/x")] = value;
            EXPECT_TRUE(errorOf(line.dump()).starts_with("unknown key \"x\" in \"begin"))
                << place << ": " << errorOf(line.dump());
        }
    }
    // Known elsewhere is not known here.
    auto line = beginningWithRecords();
    line[Pointer("/begin/history/0/teamID")] = nullptr;
    EXPECT_EQ(errorOf(line.dump()), "unknown key \"teamID\" in \"begin.history\"");
    for (const auto* other :
         {R"({"at": 1, "wait": true, "x": null})", R"({"at": 1, "machine": {"x": null}})",
          R"({"at": 1, "machine": {"microphones": [{"name": "a", "x": null}]}})",
          R"({"at": 1, "snapshot": {"x": null}})",
          R"({"at": 1, "snapshot": {"cameraApps": [{"name": "a", "x": null}]}})",
          R"({"at": 1, "snapshot": {"output": {"x": null}}})",
          R"({"at": 1, "press": {"notice": "n", "button": "b", "x": null}})",
          R"({"at": 1, "setting": {"name": "x", "value": null}})",
          R"({"at": 1, "signal": {"kind": "keyboardUsed", "x": null}})",
          R"({"begin": {"settings": {"x": null}}})"}) {
        EXPECT_NE(errorOf(other), "") << other;
    }
}

TEST(ReplayParser, SaysWhatIsWrong) {
    EXPECT_EQ(errorOf(R"({"begin": {"timeZone": "Europe/Berlim"}})"),
              "\"begin.timeZone\" is not the name of a time zone: \"Europe/Berlim\"");
    EXPECT_EQ(errorOf(R"({"begin": {"trust": {"rules": [{"app": {"id": "a", "name": "A",)"
                      R"( "x": 1}, "device": "camera", "kind": "trusted"}]}}})"),
              "unknown key \"x\" in \"begin.trust.rules.app\"");
    EXPECT_EQ(errorOf(R"({"at": 1, "dance": true})"), "unknown action \"dance\"");
    EXPECT_EQ(errorOf(R"({"at": 1, "wait": true, "quit": true})"),
              "two actions in one line, \"wait\" and \"quit\"");
    EXPECT_EQ(errorOf(R"({"at": 1, "wait": true, "wait": true})"), "the key \"wait\" stands twice");
    EXPECT_EQ(errorOf(R"({"wait": true})"), "no \"at\"");
    EXPECT_EQ(errorOf(R"({"at": 1})"), "no action");
    EXPECT_EQ(errorOf(R"({"at": 1, "snapshot": {"camera": true}})"),
              "\"snapshot\": unknown key \"camera\"");
    EXPECT_EQ(errorOf(R"({"at": 1, "snapshot": {"cameraOn": 1}})"),
              "\"snapshot\": type must be boolean, but is number");
    EXPECT_EQ(errorOf(R"({"at": 1, "setting": {"name": "retentionDays", "value": "9"}})"),
              "\"retentionDays\" is not a number");
    EXPECT_TRUE(errorOf("{\"at\": }").starts_with("not JSON, column 8: ")) << errorOf("{\"at\": }");
}

TEST(ReplayParser, WritesItsMessagesInOneLineOfUtf8) {
    const std::vector<std::string> lines = {std::string("{\"at\": 0, \"\xFF\": 1}"),
                                            "\xFF\xFE",
                                            "{\n\n\x01",
                                            R"({"at": 0, ")" + std::string(100000, 'x') +
                                                R"(": 1})",
                                            R"({"at": 0, "a\nb\u0000c": 1})",
                                            std::string("{\"at\": 0, \"wa\0it\": 1}", 21)};
    for (const auto& line : lines) {
        const auto error = errorOf(line);
        EXPECT_NE(error, "");
        EXPECT_LT(error.size(), 500U);
        EXPECT_NO_THROW((void)Json(error).dump()) << "not UTF-8";
        for (const char c : error) {
            EXPECT_FALSE(static_cast<unsigned char>(c) < 0x20) << error;
        }
    }
}

TEST(ReplayReader, SkipsBlankLinesAndRemarks) {
    std::istringstream input("\xEF\xBB\xBF# a remark\n\n  \t\r\n{\"begin\": {}}\r\n"
                             "#{\n{\"at\": 1, \"wait\": true}");
    ReplayReader reader(input);
    EXPECT_TRUE(std::holds_alternative<ReplayBeginning>(*reader.next()));
    EXPECT_EQ(reader.lineNumber(), 4U);
    EXPECT_EQ(std::get<ReplayAction>(*reader.next()).at, 1);
    EXPECT_EQ(reader.lineNumber(), 6U);
    EXPECT_FALSE(reader.next());
}

TEST(ReplayReader, RefusesATimeThatGoesBackAndNamesTheLine) {
    std::istringstream input("{\"at\": 1, \"wait\": true}\n{\"at\": 1, \"wait\": true}\n"
                             "{\"at\": 0.5, \"wait\": true}\n");
    ReplayReader reader(input);
    EXPECT_TRUE(reader.next());
    EXPECT_TRUE(reader.next());
    try {
        reader.next();
        FAIL();
    } catch (const ReplayError& error) {
        EXPECT_EQ(error.line(), 3U);
        EXPECT_STREQ(error.what(), "the time goes back, from 1.0 to 0.5");
    }
}

TEST(ReplayReader, RefusesABeginningThatIsNotTheFirst) {
    for (const auto* text :
         {"{\"begin\": {}}\n{\"begin\": {}}\n", "{\"at\": 0, \"wait\": true}\n{\"begin\": {}}\n"}) {
        std::istringstream input(text);
        ReplayReader reader(input);
        EXPECT_TRUE(reader.next());
        EXPECT_THROW(reader.next(), ReplayError) << text;
    }
}

TEST(ReplayReader, RefusesAnIndentedRemarkAndAMarkInTheMiddle) {
    for (const auto* text : {" # remark\n", "\n\xEF\xBB\xBF{\"at\": 0, \"wait\": true}\n"}) {
        std::istringstream input(text);
        EXPECT_THROW(ReplayReader(input).next(), ReplayError) << text;
    }
}

} // namespace
} // namespace velmoran
