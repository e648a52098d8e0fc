#include "system/SnapshotBuilder.h"

#include "tests/support/FakeReadings.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

using testing::FakeNames;

AudioProcess process(std::uint32_t id, std::int32_t pid, bool input, bool output) {
    return {.objectID = id,
            .pid = pid,
            .bundleID = {},
            .isRunningInput = input,
            .isRunningOutput = output};
}

AppRef app(std::string name, std::string bundleID) {
    return {.name = std::move(name), .bundleID = std::move(bundleID), .path = {}};
}

TEST(SnapshotBuilder, IgnoresCameraAttributionWhileNoCameraRuns) {
    FakeNames names;
    const auto snapshot = buildSnapshot({}, {{1, "Cam", false}}, {{"cam", {"org.example.meet"}}},
                                        std::nullopt, names);
    EXPECT_EQ(snapshot, SystemSnapshot::empty());
    EXPECT_TRUE(names.asked.empty());
}

TEST(SnapshotBuilder, IgnoresMicrophoneAttributionWhileNobodyRunsInput) {
    FakeNames names;
    names.byPid[10] = app("Player", "org.example.player");
    const auto snapshot = buildSnapshot({process(5, 10, false, true)}, {},
                                        {{"mic", {"org.example.meet"}}}, std::nullopt, names);
    EXPECT_FALSE(snapshot.microphoneOn);
    EXPECT_TRUE(snapshot.microphoneAttributed.empty());
    EXPECT_TRUE(snapshot.speakerOn);
    EXPECT_TRUE(names.asked.empty());
}

TEST(SnapshotBuilder, ShowsARunningCameraWithNobodyAttributed) {
    FakeNames names;
    const auto snapshot =
        buildSnapshot({}, {{1, "Cam", true}, {2, "Other", false}, {3, "Cam", true}},
                      {{"mic", {"x"}}}, std::nullopt, names);
    EXPECT_TRUE(snapshot.cameraOn);
    EXPECT_EQ(snapshot.cameraDevices, (std::vector<std::string>{"Cam", "Cam"}));
    EXPECT_TRUE(snapshot.cameraApps.empty());
}

TEST(SnapshotBuilder, CountsTwoProcessesOfOneAppOnceInThePlaceOfTheFirst) {
    FakeNames names;
    names.byPid[10] = app("Meet", "org.example.meet");
    names.byPid[11] = app("Note", "org.example.note");
    names.byPid[12] = app("Meet Helper", "org.example.meet");
    const auto snapshot = buildSnapshot(
        {process(1, 10, true, false), process(2, 11, true, true), process(3, 12, true, true)}, {},
        {}, std::nullopt, names);
    EXPECT_EQ(snapshot.microphoneApps, (std::vector<AppRef>{names.byPid[10], names.byPid[11]}));
    EXPECT_EQ(snapshot.speakerApps, (std::vector<AppRef>{names.byPid[11], names.byPid[12]}));
}

TEST(SnapshotBuilder, KeepsAttributedAppsInOrderWithoutRepeats) {
    FakeNames names;
    names.byPid[10] = app("Meet", "org.example.meet");
    names.byBundleID["b"] = app("B", "b");
    const auto snapshot = buildSnapshot(
        {process(1, 10, true, false)}, {{1, "Cam", true}},
        {{"cam", {"b", "a", "b"}}, {"mic", {"a", "a"}}, {"other", {"z"}}},
        OutputDeviceInfo{.objectID = 9, .name = "Out", .kind = {}, .volume = {}, .isMuted = false},
        names);
    EXPECT_EQ(snapshot.cameraApps, (std::vector<AppRef>{app("B", "b"), app("a", "a")}));
    EXPECT_EQ(snapshot.microphoneAttributed, (std::vector<AppRef>{app("a", "a")}));
    ASSERT_TRUE(snapshot.output);
    EXPECT_EQ(snapshot.output->objectID, 9U);
}

TEST(SnapshotBuilder, KeepsAnAppApartFromWhoCannotBeNamedUnderItsId) {
    FakeNames names;
    const AttributedApp hidden(AppRef::unidentifiedAs("unidentified:7"));
    const auto snapshot = buildSnapshot(
        {}, {{1, "Cam", true}}, {{"cam", {"unidentified:7", hidden, hidden}}}, std::nullopt, names);
    EXPECT_EQ(snapshot.cameraApps, (std::vector<AppRef>{app("unidentified:7", "unidentified:7"),
                                                        AppRef::unidentifiedAs("unidentified:7")}));
}

TEST(SnapshotBuilder, AttributesNobodyWithoutAReport) {
    FakeNames names;
    names.byPid[10] = app("Recorder", "org.example.rec");
    const auto snapshot =
        buildSnapshot({process(50, 10, true, false)}, {{70, "Cam", true}}, {}, std::nullopt, names);
    EXPECT_TRUE(snapshot.cameraOn);
    EXPECT_TRUE(snapshot.cameraApps.empty());
    EXPECT_EQ(snapshot.microphoneApps.size(), 1U);
    EXPECT_TRUE(snapshot.microphoneAttributed.empty());
}

} // namespace
} // namespace velmoran
