// Which room of the source tree may include which: rooms.txt, held against every include.
#include "RoomWalk.h"
#include "support/TemporaryDirectory.h"

#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>

namespace velmoran {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

RoomTable ownTable() {
    std::ifstream file(VELMORAN_ROOMS);
    std::stringstream text;
    text << file.rdbuf();
    return readRooms(text.str());
}

TEST(Rooms, HoldInTheWholeTree) {
    const auto table = ownTable();
    EXPECT_THAT(table.complaints, IsEmpty());
    EXPECT_THAT(forbiddenWays(table), IsEmpty());
    const auto walk = walkRooms(table, VELMORAN_SOURCE_DIR);
    EXPECT_THAT(walk.complaints, IsEmpty());
    // So that a walk over the wrong place doesn't pass for a clean tree.
    for (const auto* file :
         {"core/records/Device.h", "core/sessions/SessionEngine.cpp", "system/Machine.h",
          "system/linux/kernel/EventLoop.cpp", "app/screens/BrowserDialog.cpp",
          "app/shell/main.cpp", "ctl/main.cpp"}) {
        EXPECT_THAT(walk.files, Contains(file));
    }
}

TEST(Rooms, AreReadWithTheirPurposes) {
    const auto table = readRooms("# a house\n"
                                 "\n"
                                 "core/base: times, and more\n"
                                 "core/text: words\n"
                                 "    libraries: fmt/\n"
                                 "               unicode/\n"
                                 "    rooms: core/base\n");
    EXPECT_THAT(table.complaints, IsEmpty());
    EXPECT_THAT(table.rooms,
                ElementsAre(Room{"core/base", "times, and more", {}, {}},
                            Room{"core/text", "words", {"core/base"}, {"fmt/", "unicode/"}}));
    EXPECT_EQ(table.find("core"), nullptr);
}

TEST(Rooms, CantUseEachOtherInACircle) {
    const auto table = readRooms("core/a: one\n"
                                 "    rooms: core/b\n"
                                 "core/b: other\n"
                                 "    rooms: core/a\n");
    EXPECT_THAT(table.complaints,
                ElementsAre("2: core/a uses core/b, which doesn't stand above it"));
}

TEST(Rooms, CantUseThemselvesAndNobodyUnknown) {
    const auto table = readRooms("core/a: one\n"
                                 "    rooms: core/a core/x\n");
    EXPECT_THAT(table.complaints,
                ElementsAre("2: core/a uses core/a, which doesn't stand above it",
                            "2: core/a uses core/x, which doesn't stand above it"));
}

TEST(Rooms, ThatCantBeReadAreComplainedOf) {
    const auto table = readRooms("    rooms: core/a\n"
                                 "core/a\n"
                                 "core/b: one\n"
                                 "    core/a\n"
                                 "core/b: two\n");
    EXPECT_THAT(table.complaints, ElementsAre("1: neither \"rooms:\" nor \"libraries:\" of a room",
                                              "2: a room has a name, a colon and a purpose",
                                              "4: neither \"rooms:\" nor \"libraries:\" of a room",
                                              "5: core/b stands here twice"));
}

struct Way {
    std::string from;
    std::string to;
};

/// What is wrong with a table in which the one room may use the other.
std::vector<std::string> complaintsOfRoom(const Way& way) {
    return forbiddenWays(
        readRooms(way.to + ": used\n" + way.from + ": using\n    rooms: " + way.to));
}

std::vector<std::string> complaintsOfLibrary(const Way& way) {
    return forbiddenWays(readRooms(way.from + ": using\n    libraries: " + way.to));
}

TEST(Rooms, NeverOpenAForbiddenWay) {
    for (const auto& way :
         {Way{"core/a", "system"}, Way{"core/a", "app/model"}, Way{"core/a", "ctl"},
          Way{"system", "app/model"}, Way{"system", "ctl"}, Way{"system", "system/linux"},
          Way{"system", "system/linux/kernel"}, Way{"system/scripted", "system/macos"},
          Way{"system/linux/apps", "app/model"}, Way{"system/linux/apps", "system/macos"},
          Way{"system/macos", "system/linux/kernel"}, Way{"app/model", "system/linux/apps"},
          Way{"app/shell", "system/linux/sounds"}, Way{"ctl", "system/linux"},
          Way{"app/model", "ctl"}, Way{"app/screens", "app/shell"},
          Way{"app/screens", "app/shell/cards"}, Way{"app/look", "app/shell/surface"}}) {
        EXPECT_THAT(complaintsOfRoom(way), ElementsAre(way.from + " may never use " + way.to));
    }
    for (const auto& way :
         {Way{"core/a", "qt"}, Way{"core/a", "posix"}, Way{"core/a", "linux"}, Way{"system", "qt"},
          Way{"system", "linux"}, Way{"system/scripted", "linux"}, Way{"system/macos", "linux"},
          Way{"system/linux/apps", "qt"}}) {
        EXPECT_THAT(complaintsOfLibrary(way), ElementsAre(way.from + " may never use " + way.to));
    }
}

TEST(Rooms, MayOpenTheOthers) {
    for (const auto& way :
         {Way{"core/a", "core/b"}, Way{"system", "core/b"}, Way{"system/linux/apps", "system"},
          Way{"system/linux/apps", "system/linux/kernel"}, Way{"app/shell", "app/shell/cards"},
          Way{"app/shell", "app/screens"}, Way{"app/shelled", "app/screens"},
          Way{"ctl", "app/model"}, Way{"ctl", "system"}}) {
        EXPECT_THAT(complaintsOfRoom(way), IsEmpty()) << way.from << " " << way.to;
    }
    for (const auto& way : {Way{"core/a", "fmt/"}, Way{"system", "posix"},
                            Way{"system/linux/apps", "linux"}, Way{"app/look", "qt"}}) {
        EXPECT_THAT(complaintsOfLibrary(way), IsEmpty()) << way.from << " " << way.to;
    }
}

/// A small house with a room for each rule.
RoomTable smallHouse() {
    return readRooms("core/base: ground\n"
                     "    libraries: fmt/\n"
                     "core/text: words\n"
                     "    rooms: core/base\n"
                     "    libraries: unicode/ sqlite3.h sys/ Q\n"
                     "system: the machine\n"
                     "    rooms: core/base\n"
                     "    libraries: posix\n"
                     "system/linux: one machine\n"
                     "    rooms: core/base system\n"
                     "    libraries: posix linux pulse/\n"
                     "system/macos: another\n"
                     "    rooms: core/base system\n"
                     "    libraries: AppKit/\n"
                     "app/model: state\n"
                     "    rooms: core/base core/text system\n"
                     "app/screens: windows\n"
                     "    rooms: app/model\n"
                     "    libraries: qt\n"
                     "app/shell/cards: cards\n"
                     "    libraries: qt\n"
                     "app/shell: the desktop\n"
                     "    rooms: app/screens app/shell/cards\n"
                     "    libraries: posix linux qt\n");
}

struct Line {
    const char* path;
    const char* text;
};

TEST(Rooms, SeeWhatTheTableSays) {
    const auto table = smallHouse();
    ASSERT_THAT(table.complaints, IsEmpty());
    for (const auto& [path, text] : {Line{"core/base/A.h", "#include <vector>"},
                                     Line{"core/base/A.h", "#  include   <cstdint>"},
                                     Line{"core/base/A.h", "#include \"core/base/Uuid.h\" // why"},
                                     Line{"core/base/A.cpp", "#include <fmt/format.h>"},
                                     Line{"core/base/A.cpp", "// #include <QString>"},
                                     Line{"core/base/A.cpp", "#if 0"},
                                     Line{"core/base/A.cpp", "includes <QString>"},
                                     Line{"core/base/A.cpp", ""},
                                     Line{"core/text/A.cpp", "#include \"core/base/Uuid.h\""},
                                     Line{"core/text/A.cpp", "#include <unicode/coll.h>"},
                                     Line{"core/text/A.cpp", "#include <sqlite3.h>"},
                                     Line{"system/A.cpp", "#include \"system/Machine.h\""},
                                     Line{"system/A.cpp", "#include <unistd.h>"},
                                     Line{"system/A.cpp", "#include <sys/stat.h>"},
                                     Line{"system/linux/A.cpp", "#include <linux/videodev2.h>"},
                                     Line{"system/linux/A.cpp", "#include <sys/inotify.h>"},
                                     Line{"system/linux/A.cpp", "#include <pulse/context.h>"},
                                     Line{"system/macos/A.mm", "#import <AppKit/AppKit.h>"},
                                     Line{"app/screens/A.cpp", "#include <QString>"},
                                     Line{"app/screens/A.cpp", "#include <QtCore/QString>"},
                                     Line{"app/shell/A.cpp", "#include \"app/shell/cards/B.h\""}}) {
        EXPECT_EQ(includeComplaint(table, path, text), std::nullopt) << path << " " << text;
    }
}

TEST(Rooms, SeeNothingElse) {
    const auto table = smallHouse();
    for (const auto& [path, text] :
         {// Back up, or to a room that isn't named.
          Line{"core/base/A.h", "#include \"core/text/Localizer.h\""},
          Line{"core/base/A.h", "#include \"system/Machine.h\""},
          Line{"core/base/A.h", "#include \"app/model/AppModel.h\""},
          Line{"system/A.cpp", "#include \"core/text/Localizer.h\""},
          Line{"system/A.cpp", "#include \"system/linux/EventLoop.h\""},
          Line{"system/linux/A.cpp", "#include \"system/macos/Audio.h\""},
          Line{"app/model/A.cpp", "#include \"app/screens/B.h\""},
          Line{"app/screens/A.cpp", "#include \"app/shell/B.h\""},
          Line{"app/screens/A.cpp", "#include \"app/shell/cards/B.h\""},
          Line{"app/shell/cards/A.cpp", "#include \"app/shell/B.h\""},
          Line{"app/shell/A.cpp", "#include \"tests/support/Waiting.h\""},
          // Ways around the name of the room.
          Line{"core/base/A.h", "#include <system/Machine.h>"},
          Line{"core/base/A.h", "#include \"../../system/Machine.h\""},
          Line{"core/base/A.h", "#include \"core/../system/Machine.h\""},
          Line{"core/base/A.h", "#include \"core/base/../text/Localizer.h\""},
          Line{"core/base/A.h", "#include \"Uuid.h\""},
          Line{"core/base/A.h", "#include \"QString\""},
          Line{"core/base/A.h", "#include PLATFORM_HEADER"}, Line{"core/base/A.h", "#include"},
          Line{"core/base/A.h", "#include <QString"},
          // Qt and the operating system, also where a library's name would cover them.
          Line{"core/base/A.h", "#include <QString>"},
          Line{"core/base/A.h", "#include <QtCore/QString>"},
          Line{"core/base/A.h", "#include<QString>"},
          Line{"core/base/A.h", " # include <unistd.h>"},
          Line{"core/base/A.h", "#include <windows.h>"},
          Line{"core/base/A.h", "#include <linux/videodev2.h>"},
          Line{"core/base/A.h", "#import <Foundation/Foundation.h>"},
          Line{"core/text/A.h", "#include <sys/stat.h>"},
          Line{"core/text/A.h", "#include <sys/inotify.h>"},
          Line{"core/text/A.h", "#include <QString>"}, Line{"system/A.cpp", "#include <QString>"},
          Line{"system/A.cpp", "#include <sys/inotify.h>"},
          Line{"system/linux/A.cpp", "#include <QtDBus/QDBusConnection>"},
          Line{"system/macos/A.cpp", "#include <linux/videodev2.h>"},
          // A library that is another room's.
          Line{"core/base/A.cpp", "#include <unicode/coll.h>"},
          Line{"system/A.cpp", "#include <pulse/context.h>"}}) {
        EXPECT_NE(includeComplaint(table, path, text), std::nullopt) << path << " " << text;
    }
}

TEST(Rooms, AreFoundBrokenWhereTheyAreBroken) {
    const auto table = readRooms("core/base: ground\n"
                                 "core/deep: below\n"
                                 "    rooms: core/base\n"
                                 "core/gone: was here once\n"
                                 "ctl: on top\n"
                                 "    rooms: core/deep\n");
    ASSERT_THAT(table.complaints, IsEmpty());
    const TemporaryDirectory top;
    top.write("core/deep/A.h", "#pragma once\n\n#include <QString>\n");
    top.write("core/base/B.cpp", "#include <vector>\n#include \"core/deep/A.h\"\n");
    top.write("core/new/C.cpp", "#include <vector>\n");
    top.write("ctl/D.cpp", "#include \"core/deep/A.h\"\n");
    top.write("ctl/notes.txt", "#include <QString>\n");
    top.write("tests/core/deep/ATests.cpp", "#include <QString>\n");
    top.write("tests/core/AllTests.cpp", "");
    top.write("tests/core/other/ETests.cpp", "");
    const auto walk = walkRooms(table, top.path());
    EXPECT_THAT(walk.complaints, ElementsAre("core/base/B.cpp:2: may not include \"core/deep/A.h\"",
                                             "core/deep/A.h:3: may not include <QString>",
                                             "core/new/C.cpp: stands in no room",
                                             "tests/core/other/ETests.cpp: tests no room",
                                             "core/gone: is no room of the tree"));
    EXPECT_THAT(walk.files,
                ElementsAre("core/base/B.cpp", "core/deep/A.h", "core/new/C.cpp", "ctl/D.cpp"));
}

} // namespace
} // namespace velmoran
