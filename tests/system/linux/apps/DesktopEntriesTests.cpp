#include "system/linux/apps/DesktopEntries.h"

#include "support/LinuxWorld.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

namespace velmoran {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(DesktopEntry, TakesTheProgramBehindEnvironmentAndFields) {
    EXPECT_THAT(parseExec("env A=b -u C firefox"), ElementsAre("-u", "C", "firefox"));
    EXPECT_THAT(parseExec("/usr/bin/env -u C -i A=b firefox %u"), ElementsAre("firefox"));
    EXPECT_THAT(parseExec("LANG=C \"/opt/My App/run\" --open=%f '100%%' %U"),
                ElementsAre("/opt/My App/run", "--open=", "100%"));
    EXPECT_THAT(parseExec("\"unended"), IsEmpty());
    EXPECT_THAT(parseExec(""), IsEmpty());
    EXPECT_THAT(parseExec("%U"), IsEmpty());
    EXPECT_THAT(parseExec("env"), IsEmpty());
    EXPECT_THAT(parseExec("\"\" x"), IsEmpty());
    EXPECT_THAT(parseExec("1A=b"), ElementsAre("1A=b"));
}

TEST(DesktopEntry, ReadsTheNameInTheUsersLanguage) {
    const char* before = std::getenv("LANGUAGE");
    const std::string kept = before ? before : "";
    const std::string text = "[Desktop Entry]\nType=Application\nName=Camera\nName[de]=Kamera\n"
                             "Icon=cam\nExec=cheese\nMimeType=x-scheme-handler/http;text/html;\n";
    setenv("LANGUAGE", "de", 1);
    const auto german = parseDesktopEntry(text);
    setenv("LANGUAGE", "fr", 1);
    const auto french = parseDesktopEntry(text);
    if (before) {
        setenv("LANGUAGE", kept.c_str(), 1);
    } else {
        unsetenv("LANGUAGE");
    }
    ASSERT_TRUE(german && french);
    EXPECT_EQ(german->name, "Kamera");
    EXPECT_EQ(german->plainName, "Camera");
    EXPECT_EQ(french->name, "Camera");
    EXPECT_EQ(german->icon, "cam");
    EXPECT_THAT(german->schemes, ElementsAre("http"));
}

TEST(DesktopEntry, IsNothingForAnotherForm) {
    EXPECT_TRUE(parseDesktopEntry("[Desktop Entry]\nType=Application\nName=A\n"));
    for (const char* text :
         {"", "rubbish", "[Desktop Entry]\n", "[Desktop Entry]\nType=Link\nName=A\nURL=x\n",
          "[Desktop Entry]\nType=Application\n", "[Desktop Entry]\nType=Application\nName=\n",
          "[Other]\nType=Application\nName=A\n", "[Desktop Entry\nType=Application\nName=A\n",
          "[Desktop Entry]\nType=Application\nName=\xff\xfe\n"}) {
        EXPECT_FALSE(parseDesktopEntry(text)) << text;
    }
}

TEST(DesktopEntries, OwnFolderIsNeverOneThatIsShared) {
    EXPECT_EQ(ownFolder("/usr/lib/firefox/firefox"), "/usr/lib/firefox");
    EXPECT_EQ(ownFolder("/usr/share/code/bin/code"), "/usr/share/code");
    EXPECT_EQ(ownFolder("/opt/google/chrome/chrome"), "/opt/google/chrome");
    for (const char* program :
         {"/usr/bin/x", "/usr/libexec/x", "/usr/lib/x", "/opt/x", "/opt/bin/x",
          "/usr/lib/x86_64-linux-gnu/x", "/usr/lib/x86_64-linux-gnu/libexec/x", "/tmp/x", "/x",
          "/own/x", "/usr/local/bin/x"}) {
        EXPECT_FALSE(ownFolder(program)) << program;
    }
}

class DesktopEntriesTest : public ::testing::Test {
protected:
    DesktopEntries read() const {
        DesktopEntries entries(world.places());
        entries.refresh();
        return entries;
    }
    static std::vector<std::string> ids(const std::vector<const DesktopEntries::Found*>& found) {
        std::vector<std::string> all;
        for (const auto* one : found) {
            all.push_back(one->entry.id);
        }
        return all;
    }
    LinuxWorld world;
};

TEST_F(DesktopEntriesTest, FindsAnEntryByIdAndByItsRealProgram) {
    const auto real = world.program("usr/lib/cam/cam");
    world.link("usr/bin/cam", real);
    world.entry("org.example.Cam", "Name=Cam\nExec=cam %U\nIcon=cam-icon");
    const auto entries = read();
    const auto* found = entries.byID("org.example.Cam");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->program, real);
    EXPECT_TRUE(found->isTrusted);
    EXPECT_THAT(ids(entries.byProgram(real)), ElementsAre("org.example.Cam"));
    EXPECT_FALSE(entries.byID("org.example.Other"));
    EXPECT_THAT(ids(entries.byProgram("/usr/bin/other")), IsEmpty());
}

TEST_F(DesktopEntriesTest, MakesIdsOfFoldersBelowAndSkipsMalformedFiles) {
    world.program("usr/bin/cam");
    std::filesystem::create_directories(world.path("usr/share/applications/kde"));
    world.entry("kde/cam", "Name=Cam\nExec=cam\nNoDisplay=true");
    world.entry("broken", "Name=Broken\n[");
    world.entry("no-name", "Exec=cam");
    const auto entries = read();
    ASSERT_TRUE(entries.byID("kde-cam"));
    EXPECT_TRUE(entries.byID("kde-cam")->entry.isHidden);
    EXPECT_EQ(entries.all().size(), 1U);
}

TEST_F(DesktopEntriesTest, FindsTheProgramOfTryExec) {
    const auto cam = world.program("usr/bin/cam");
    world.entry("a", "Name=A\nTryExec=cam\nExec=sh -c \"cam | cat\"");
    EXPECT_THAT(ids(read().byProgram(cam)), ElementsAre("a"));
}

TEST_F(DesktopEntriesTest, NeverNamesAnInterpreterOrALauncher) {
    const auto python = world.program("usr/bin/python3");
    const auto flatpak = world.program("usr/bin/flatpak");
    const auto open = world.program("usr/bin/xdg-open");
    const auto script = world.program("usr/share/music/main.py", "#!/usr/bin/python3\n");
    world.entry("python", "Name=Python\nTryExec=python3\nExec=python3 -i");
    world.entry("music", "Name=Music\nExec=python3 -u " + script);
    world.entry("org.f.App", "Name=F\nExec=flatpak run org.f.App\nX-Flatpak=org.f.App");
    world.entry("help", "Name=Help\nExec=xdg-open help:x");
    const auto entries = read();
    EXPECT_THAT(ids(entries.byProgram(python)), IsEmpty());
    EXPECT_THAT(ids(entries.byProgram(flatpak)), IsEmpty());
    EXPECT_THAT(ids(entries.byProgram(open)), IsEmpty());
    EXPECT_THAT(ids(entries.byProgram(script)), ElementsAre("music"));
    EXPECT_TRUE(entries.byFlatpak("org.f.App"));
    EXPECT_FALSE(entries.byFlatpak("help"));
}

TEST_F(DesktopEntriesTest, PrefersRootsEntriesOverTheUsers) {
    const auto cam = world.program("usr/bin/cam");
    const auto evil = world.program("home/u/evil");
    world.entry("org.example.Cam", "Name=Cam\nExec=cam");
    world.userEntry("org.example.Cam", "Name=Mine\nExec=" + evil);
    world.userEntry("other", "Name=Other\nExec=cam");
    const auto entries = read();
    EXPECT_EQ(entries.byID("org.example.Cam")->entry.name, "Cam");
    EXPECT_THAT(ids(entries.byProgram(cam)), ElementsAre("org.example.Cam", "other"));
    EXPECT_FALSE(entries.byProgram(cam)[1]->isTrusted);
    EXPECT_FALSE(entries.byProgram(evil)[0]->isTrusted);
}

TEST_F(DesktopEntriesTest, RootsEntryNeverMeansAProgramInTheUsersPath) {
    const auto evil = world.program("home/u/bin/cam");
    world.entry("org.example.Cam", "Name=Cam\nExec=cam");
    world.userEntry("mine", "Name=Mine\nExec=cam");
    const auto entries = read();
    EXPECT_EQ(entries.byID("org.example.Cam")->program, "");
    EXPECT_THAT(ids(entries.byProgram(evil)), ElementsAre("mine"));
}

TEST_F(DesktopEntriesTest, DoesNotTrustAProgramOfTheUsersInRootsEntry) {
    const auto tool = world.program("home/u/tool");
    world.entry("tool", "Name=Tool\nExec=" + tool);
    const auto entries = read();
    const auto* found = entries.byProgram(tool).front();
    EXPECT_TRUE(found->isProtected);
    EXPECT_FALSE(found->isTrusted);
}

TEST_F(DesktopEntriesTest, OrdersTheEntriesOfOneProgramByHowTheyFit) {
    const auto office = world.program("usr/lib/office/program/soffice");
    world.link("usr/bin/office", office);
    world.entry("a-writer", "Name=Writer\nExec=office --writer %U");
    world.entry("b-hidden", "Name=Hidden\nExec=office\nNoDisplay=true");
    world.entry("c-start", "Name=Office\nExec=office %U");
    EXPECT_THAT(ids(read().byProgram(office)), ElementsAre("c-start", "a-writer", "b-hidden"));
}

TEST_F(DesktopEntriesTest, FindsTheOneProgramOfAFolder) {
    world.program("opt/vendor/browser/browser-wrapper", "#!/bin/bash\n");
    world.link("usr/bin/browser", world.path("opt/vendor/browser/browser-wrapper"));
    world.entry("browser", "Name=Browser\nExec=browser %U");
    world.program("usr/lib/suite/writer");
    world.program("usr/lib/suite/calc");
    world.entry("writer", "Name=Writer\nExec=" + world.path("usr/lib/suite/writer"));
    world.entry("calc", "Name=Calc\nExec=" + world.path("usr/lib/suite/calc"));
    const auto entries = read();
    EXPECT_THAT(ids(entries.byFolderOf(world.path("opt/vendor/browser/browser"))),
                ElementsAre("browser"));
    EXPECT_THAT(ids(entries.byFolderOf(world.path("opt/vendor/browser/deep/er"))),
                ElementsAre("browser"));
    EXPECT_THAT(ids(entries.byFolderOf(world.path("opt/vendor/other"))), IsEmpty());
    EXPECT_THAT(ids(entries.byFolderOf(world.path("usr/lib/suite/helper"))), IsEmpty());
}

TEST_F(DesktopEntriesTest, FindsTheFolderThatAWrapperNames) {
    world.program("usr/lib/browser/browser-bin");
    world.program("usr/lib/stranger/tool");
    world.program("usr/bin/browser", "#!/bin/sh\nLIB=" + world.path("usr/lib/browser") +
                                         "\nOTHER=" + world.path("usr/lib/stranger/tool") +
                                         "\nexec $LIB/browser-bin\n");
    world.entry("browser", "Name=Browser\nExec=browser");
    const auto entries = read();
    EXPECT_THAT(ids(entries.byFolderOf(world.path("usr/lib/browser/browser-bin"))),
                ElementsAre("browser"));
    EXPECT_THAT(ids(entries.byFolderOf(world.path("usr/lib/stranger/tool"))), IsEmpty());
}

TEST_F(DesktopEntriesTest, FindsWhatAWrapperRunsUnderItsOwnName) {
    const auto browser = world.program("usr/lib/browser/browser");
    const auto tool = world.program("usr/libexec/tool");
    world.program("usr/libexec/viewer");
    world.program("usr/bin/browser", "#!/bin/sh\nAPP=browser\nFOLDER=" + world.path("usr/lib") +
                                         "/$APP\nexec $FOLDER/$APP \"$@\"\n");
    world.program("usr/bin/tool",
                  "#!/bin/sh\nX=" + world.path("usr/libexec") + "\n$X/viewer\nexec ${X}/tool\n");
    world.entry("browser", "Name=Browser\nExec=browser %U\nIcon=browser");
    world.entry("tool", "Name=Tool\nExec=tool");
    const auto entries = read();
    EXPECT_THAT(ids(entries.byFolderOf(browser)), ElementsAre("browser"));
    EXPECT_THAT(ids(entries.byFolderOf(tool)), ElementsAre("tool"));
    EXPECT_THAT(ids(entries.byFolderOf(world.path("usr/libexec/viewer"))), IsEmpty());
}

TEST_F(DesktopEntriesTest, LeavesWhatAnybodyMayReplaceToItself) {
    world.program("home/u/app/app");
    world.program("usr/bin/app", "#!/bin/sh\nexec " + world.path("home/u/app/app") + "\n");
    world.entry("app", "Name=App\nExec=app");
    EXPECT_THAT(ids(read().byFolderOf(world.path("home/u/app/app"))), IsEmpty());
}

TEST_F(DesktopEntriesTest, ReadsAgainOnlyWhenAFolderHasChanged) {
    world.program("usr/bin/cam");
    world.entry("a", "Name=A\nExec=cam");
    DesktopEntries entries(world.places());
    // Another text in the same file: its folder shows nothing of that.
    const auto rename = [&](const std::string& id, const std::string& name) {
        world.program("usr/share/applications/" + id + ".desktop",
                      "[Desktop Entry]\nType=Application\nExec=cam\nName=" + name + '\n');
    };
    EXPECT_FALSE(entries.byID("a"));
    entries.refresh();
    rename("a", "Changed");
    entries.refresh();
    EXPECT_EQ(entries.byID("a")->entry.name, "A");
    world.entry("b", "Name=B\nExec=cam");
    entries.refresh();
    EXPECT_EQ(entries.byID("a")->entry.name, "Changed");
    EXPECT_TRUE(entries.byID("b"));
    std::filesystem::remove(world.path("usr/share/applications/a.desktop"));
    world.touch("usr/share/applications");
    entries.refresh();
    EXPECT_FALSE(entries.byID("a"));
    // A folder that wasn't there comes.
    rename("b", "Changed");
    std::filesystem::create_directories(
        world.path("home/u/.local/share/flatpak/exports/share/applications"));
    entries.refresh();
    EXPECT_EQ(entries.byID("b")->entry.name, "Changed");
    rename("b", "Once more");
    entries.refresh();
    EXPECT_EQ(entries.byID("b")->entry.name, "Changed");
}

TEST_F(DesktopEntriesTest, EndsInALoopOfFolders) {
    world.program("usr/bin/cam");
    world.entry("a", "Name=A\nExec=cam");
    world.link("usr/share/applications/loop", world.path("usr/share/applications"));
    EXPECT_TRUE(read().byID("a"));
}

} // namespace
} // namespace velmoran
