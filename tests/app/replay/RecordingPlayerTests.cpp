#include "app/replay/RecordingPlayer.h"

#include "core/text/Localizer.h"
#include "system/scripted/ScriptedTime.h"

#include <gtest/gtest.h>
#include <sstream>

namespace velmoran {
namespace {

/// A recording that plays while the test advances the time.
struct Stage {
    explicit Stage(std::unique_ptr<std::istream> recording)
        : player(std::move(recording)),
          stage(player.beginning()),
          model(stage.surroundings(time, time)) {
        subscription = model.onSessionEvent.subscribe([this](const SessionEvent&) { ++events; });
        model.start();
        player.play(stage, model, time, time, [this](const auto& error) {
            ++ends;
            message = error.value_or("");
        });
    }

    ScriptedTime time;
    RecordingPlayer player;
    ReplayStage stage;
    AppModel model;
    Subscription subscription;
    int events = 0;
    int ends = 0;
    std::string message;
};

std::unique_ptr<std::istream> recording(const char* text) {
    return std::make_unique<std::istringstream>(text);
}

TEST(RecordingPlayer, PlaysLinesAtTheirTimesUntilTheEnd) {
    Stage stage(recording("{\"begin\": {}}\n{\"at\": 0, \"snapshot\": {}}\n"
                          "{\"at\": 2, \"snapshot\": {\"cameraOn\": true, \"cameraApps\": "
                          "[{\"name\": \"A\"}]}}\n{\"at\": 3, \"show\": \"icon\"}\n"));
    stage.time.advanceTo(1.9);
    EXPECT_EQ(stage.events, 0);
    stage.time.advanceTo(2);
    EXPECT_EQ(stage.events, 1);
    EXPECT_EQ(stage.ends, 0);
    stage.time.advanceTo(3);
    EXPECT_EQ(stage.ends, 1);
    EXPECT_EQ(stage.message, "");
}

TEST(RecordingPlayer, EndsAtWhatItCannotDo) {
    Stage bad(recording("{\"at\": 0, \"snapshot\": {}}\n{\"at\": 1}\n"));
    bad.time.advanceTo(5);
    EXPECT_EQ(bad.ends, 1);
    EXPECT_EQ(bad.message, "2: no action");
    Stage absent(recording("{\"at\": 1, \"press\": {\"notice\": \"a\", \"button\": \"b\"}}\n"));
    absent.time.advanceTo(5);
    EXPECT_EQ(absent.message, "1: no card \"a\" is on screen");
    Stage quit(recording("{\"at\": 1, \"quit\": true}\n{\"at\": 2, \"launch\": true}\n"));
    quit.time.advanceTo(5);
    EXPECT_EQ(quit.ends, 1);
    EXPECT_EQ(quit.message, "");
    Stage empty(recording(""));
    EXPECT_EQ(empty.ends, 1);
}

TEST(RecordingPlayer, PlaysTheRecordingThatTheProgramBrings) {
    Stage stage(builtInRecording());
    bool strong = false;
    const auto shown = stage.model.notices.onShown.subscribe(
        [&](const NoticeItem& item) { strong = strong || item.isStrong; });
    stage.time.advanceTo(60);
    EXPECT_EQ(stage.ends, 1);
    EXPECT_EQ(stage.message, "");
    EXPECT_EQ(stage.events, 8);
    EXPECT_TRUE(strong);
}

TEST(ReplayStage, SetsTheWordsBeforeItStoresTheHistory) {
    ReplayBeginning beginning;
    beginning.settings["language"] = "de";
    beginning.machine.platform = Platform::linux;
    UsageSession session;
    session.id = Uuid::random();
    session.app = {.id = "unknown", .name = "?", .bundleID = {}, .path = {}, .teamID = {}};
    beginning.history = {session};
    int calls = 0;
    ReplayStage stage(beginning, [&](KeyValueStore& settings, Platform platform) {
        ++calls;
        EXPECT_EQ(*SettingsStore(settings).language, "de");
        EXPECT_EQ(platform, Platform::linux);
        setWords(Localizer("de_DE", "UTC", {{{"Unknown app", "Unbekannte App"}}}));
    });
    EXPECT_EQ(calls, 1);
    ScriptedTime time;
    const auto history = stage.surroundings(time, time).openHistory()->history();
    setWords(Localizer());
    ASSERT_EQ(history.size(), 1U);
    EXPECT_EQ(history[0].app.name, "Unbekannte App");
}

TEST(ReplayStage, RefusesTheShortcutWhenItIsChosenOrTheProgramStarts) {
    ScriptedTime time;
    ReplayBeginning beginning;
    beginning.machine.shortcutRefused = true;
    ReplayStage stage(beginning);
    AppModel model(stage.surroundings(time, time));
    auto refusing = stage.refuseShortcut(model);
    EXPECT_FALSE(*model.stopShortcutUnavailable) << "nobody wants it";
    const auto perform = [&](const char* line) {
        stage.perform(std::get<ReplayAction>(parseReplayLine(line)).doing, model);
    };
    const auto* on = R"({"at": 0, "setting": {"name": "stopShortcutOn", "value": true}})";
    const auto* off = R"({"at": 0, "setting": {"name": "stopShortcutOn", "value": false}})";
    perform(on);
    EXPECT_TRUE(*model.stopShortcutUnavailable);
    perform(R"({"at": 0, "machine": {"shortcutRefused": false}})");
    EXPECT_TRUE(*model.stopShortcutUnavailable) << "nobody asks again by himself";
    perform(off);
    EXPECT_FALSE(*model.stopShortcutUnavailable);
    perform(on);
    EXPECT_FALSE(*model.stopShortcutUnavailable);
    perform(R"({"at": 0, "machine": {"shortcutRefused": true}})");
    EXPECT_FALSE(*model.stopShortcutUnavailable) << "it has it already";

    AppModel next(stage.surroundings(time, time));
    refusing = stage.refuseShortcut(next);
    EXPECT_TRUE(*next.stopShortcutUnavailable);
}

} // namespace
} // namespace velmoran
