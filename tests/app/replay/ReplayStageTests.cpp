#include "app/replay/ReplayStage.h"

#include "system/scripted/ScriptedTime.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace velmoran {
namespace {

using Lines = std::vector<std::string>;

TEST(ReplayStage, TellsOfWindowsThatAreOpenedAndClosed) {
    ScriptedTime time;
    ReplayStage stage{ReplayBeginning()};
    const auto surroundings = stage.surroundings(time, time);
    AppModel model(surroundings);
    Lines lines;
    ReplayWriter writer([&](const std::string& line) { lines.push_back(line); });
    ModelRecorder recorder(
        model, [&] { return time.elapsed(); }, writer);
    stage.recordTo(&recorder);
    lines.clear();

    auto& windows = *surroundings.windows;
    windows.close("history");
    windows.show("history");
    windows.show("history"); // it only comes to the front
    windows.show("other");
    windows.close("history");
    windows.close("history");
    windows.show("history");
    EXPECT_EQ(lines, (Lines{R"({"at":0.0,"event":"window","id":"history","title":"History"})",
                            R"({"at":0.0,"event":"window","id":"other","title":"other"})",
                            R"({"at":0.0,"event":"window","id":"history","title":"History",)"
                            R"("closed":true})",
                            R"({"at":0.0,"event":"window","id":"history","title":"History"})"}));
    stage.recordTo(nullptr);
    windows.show("history"); // nobody is told
    EXPECT_EQ(lines.size(), 4U);
}

} // namespace
} // namespace velmoran
