// The arrows between the rooms of the source tree: app and ctl see system and core, system sees
// core, and core sees nothing of the platform.
#include "IncludeRules.h"
#include "support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velmoran {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(Layering, HoldsInTheWholeTree) {
    const auto walk = walkIncludes(VELMORAN_SOURCE_DIR);
    EXPECT_THAT(walk.complaints, IsEmpty());
    // So that a walk over the wrong place doesn't pass for a clean tree.
    for (const auto* file : {"core/records/Device.h", "core/sessions/SessionEngine.cpp",
                             "system/Machine.h", "system/linux/kernel/EventLoop.cpp"}) {
        EXPECT_THAT(walk.files, Contains(file));
    }
}

struct Line {
    const char* path;
    const char* text;
};

TEST(Layering, LetsEachRoomSeeWhatLiesBelowIt) {
    for (const auto& [path, text] :
         {Line{"core/a/A.h", "#include <vector>"},
          Line{"core/a/A.h", "#  include   <cstdint>"},
          Line{"core/a/A.h", "#include \"core/records/Device.h\" // why"},
          Line{"core/a/A.cpp", "#include <nlohmann/json.hpp>"},
          Line{"core/a/A.cpp", "#include <boost/uuid/uuid.hpp>"},
          Line{"core/a/A.cpp", "#include <fmt/format.h>"},
          Line{"core/text/A.cpp", "#include <unicode/coll.h>"},
          Line{"core/history/A.cpp", "#include <SQLiteCpp/Database.h>"},
          Line{"core/a/A.cpp", "// #include <QString>"},
          Line{"core/a/A.cpp", "#if 0"},
          Line{"core/a/A.cpp", "includes <QString>"},
          Line{"core/a/A.cpp", ""},
          Line{"system/A.cpp", "#include \"core/records/Device.h\""},
          Line{"system/A.cpp", "#include \"system/Machine.h\""},
          Line{"system/A.cpp", "#include <unistd.h>"},
          Line{"system/scripted/A.cpp", "#include \"system/scripted/B.h\""},
          Line{"system/linux/A.cpp", "#include <QDBusConnection>"},
          Line{"system/linux/A.cpp", "#include <linux/videodev2.h>"},
          Line{"system/linux/A.cpp", "#include \"system/linux/B.h\""},
          Line{"system/macos/A.mm", "#import <AppKit/AppKit.h>"},
          Line{"app/shell/A.cpp", "#include <QString>"},
          Line{"ctl/A.cpp", "#include \"app/model/AppModel.h\""}}) {
        EXPECT_EQ(includeComplaint(path, text), std::nullopt) << path << " " << text;
    }
}

TEST(Layering, LetsNoRoomSeeAPlatformOrARoomAboveIt) {
    for (const auto& [path, text] :
         {Line{"core/a/A.h", "#include <QString>"},
          Line{"core/a/A.h", "#include <QtCore/QString>"},
          Line{"core/a/A.h", "#include<QString>"},
          Line{"core/a/A.h", " # include <unistd.h>"},
          Line{"core/a/A.h", "#include <sys/stat.h>"},
          Line{"core/a/A.h", "#include <windows.h>"},
          Line{"core/a/A.h", "#include <linux/videodev2.h>"},
          Line{"core/a/A.h", "#include <pipewire/pipewire.h>"},
          Line{"core/a/A.h", "#include <CoreAudio/CoreAudio.h>"},
          Line{"core/a/A.h", "#include \"system/Machine.h\""},
          Line{"core/a/A.h", "#include <system/Machine.h>"},
          Line{"core/a/A.h", "#include \"../../system/Machine.h\""},
          Line{"core/a/A.h", "#include \"core/../system/Machine.h\""},
          Line{"core/a/A.h", "#include \"app/model/AppModel.h\""},
          Line{"core/a/A.h", "#include \"ctl/Main.h\""},
          Line{"core/a/A.h", "#include \"QString\""},
          Line{"core/a/A.h", "#include PLATFORM_HEADER"},
          Line{"core/a/A.h", "#include"},
          Line{"core/a/A.h", "#include <QString"},
          Line{"core/a/A.h", "#import <Foundation/Foundation.h>"},
          Line{"core/sessions/A.cpp", "#include <unicode/coll.h>"},
          Line{"core/text/A.cpp", "#include <SQLiteCpp/Database.h>"},
          Line{"system/A.cpp", "#include <QString>"},
          Line{"system/A.cpp", "#include <QtDBus/QDBusConnection>"},
          Line{"system/A.cpp", "#include \"app/model/AppModel.h\""},
          Line{"system/A.cpp", "#include \"ctl/Main.h\""},
          Line{"system/A.cpp", "#include \"system/linux/EventLoop.h\""},
          Line{"system/scripted/A.cpp", "#include <QTimer>"},
          Line{"system/scripted/A.cpp", "#include \"system/macos/Audio.h\""},
          Line{"system/linux/A.cpp", "#include \"app/model/AppModel.h\""},
          Line{"system/linux/A.cpp", "#include <app/model/AppModel.h>"},
          Line{"system/linux/A.cpp", "#include \"system/macos/Audio.h\""},
          Line{"system/macos/A.cpp", "#include \"ctl/Main.h\""},
          Line{"system/macos/A.cpp", "#include \"system/linux/EventLoop.h\""}}) {
        EXPECT_NE(includeComplaint(path, text), std::nullopt) << path << " " << text;
    }
}

TEST(Layering, IsFoundBrokenWhereItIsBroken) {
    const TemporaryDirectory top;
    top.write("core/deep/A.h", "#pragma once\n\n#include <QString>\n");
    top.write("core/B.cpp", "#include <vector>\n#include \"core/deep/A.h\"\n");
    top.write("system/notes.txt", "#include <QString>\n");
    const auto walk = walkIncludes(top.path());
    EXPECT_THAT(walk.complaints, ElementsAre("core/deep/A.h:3: may not include <QString>"));
    EXPECT_THAT(walk.files, ElementsAre("core/B.cpp", "core/deep/A.h"));
}

} // namespace
} // namespace velmoran
