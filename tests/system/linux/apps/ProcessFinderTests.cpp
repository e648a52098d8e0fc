#include "system/linux/apps/ProcessFinder.h"

#include "support/LinuxWorld.h"
#include "support/RunningProgram.h"

#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <set>
#include <thread>

namespace velmoran {
namespace {

using Pids = std::vector<pid_t>;

AppIdentity identity(const std::string& id) {
    return {.id = id, .name = "x", .bundleID = {}, .path = {}, .teamID = {}};
}

class ProcessFinderTest : public ::testing::Test {
protected:
    LinuxAppNames& names() {
        if (!names_) {
            names_.emplace(world.places());
        }
        return *names_;
    }
    Pids of(const std::string& id) {
        return ProcessFinder(names(), world.proc.fs()).find(identity(id));
    }
    /// What the names themselves say of every process that they can name.
    std::map<std::string, Pids> byNaming() {
        std::map<std::string, Pids> all;
        for (const pid_t pid : world.proc.fs().pids()) {
            const auto app = LinuxAppNames(world.places()).identify(pid);
            if (!app.unidentified) {
                all[app.id()].push_back(pid);
            }
        }
        for (auto& [id, pids] : all) {
            std::sort(pids.begin(), pids.end());
        }
        return all;
    }
    void installBrowser() {
        world.program("usr/lib/firefox/firefox");
        world.program("usr/lib/firefox/plugin-container");
        world.link("usr/bin/firefox", world.path("usr/lib/firefox/firefox"));
        world.entry("org.mozilla.firefox", "Name=Firefox\nExec=firefox %u\nIcon=firefox-icon");
    }

    LinuxWorld world;

private:
    std::optional<LinuxAppNames> names_;
};

TEST_F(ProcessFinderTest, FindsTheProgramAndItsHelpers) {
    installBrowser();
    const auto recorder = world.program("usr/bin/recorder");
    world.proc.add(12, {.executable = world.path("usr/lib/firefox/firefox")});
    world.proc.add(9, {.executable = world.path("usr/lib/firefox/plugin-container")});
    world.proc.add(20, {.executable = recorder, .parent = 12});
    EXPECT_EQ(of("org.mozilla.firefox"), (Pids{9, 12}));
    EXPECT_EQ(of(recorder), Pids{20});
    EXPECT_EQ(of("/no/such/program"), Pids{});
    EXPECT_EQ(of(""), Pids{});
}

TEST_F(ProcessFinderTest, FindsNoneOfACopyThatTakesTheName) {
    installBrowser();
    const auto copy = world.program("home/u/firefox/firefox");
    world.proc.add(10, {.executable = copy, .arguments = {"/usr/lib/firefox/firefox"}});
    EXPECT_EQ(of("org.mozilla.firefox"), Pids{});
    EXPECT_EQ(of(copy), Pids{10});
}

TEST_F(ProcessFinderTest, FindsNoneOfAnAppThatCannotBeNamed) {
    world.proc.add(10, {.executable = ""});
    auto hidden = identity("unidentified:10");
    EXPECT_EQ(of(hidden.id), Pids{});
    hidden.unidentified = true;
    EXPECT_EQ(ProcessFinder(names(), world.proc.fs()).find(hidden), Pids{});
    EXPECT_EQ(of("unknown"), Pids{});
}

TEST_F(ProcessFinderTest, FindsThoseTooThatHideNow) {
    const auto tool = world.program("usr/bin/recorder");
    world.proc.add(10, {.executable = tool});
    names().identify(10);
    world.proc.add(10, {.executable = ""});
    world.proc.add(11, {.executable = ""});
    EXPECT_EQ(of(tool), Pids{10});
    world.proc.add(10, {.executable = ""}, 200);
    EXPECT_EQ(of(tool), Pids{});
}

TEST_F(ProcessFinderTest, FindsThoseThatStillRunAReplacedProgram) {
    const auto tool = world.program("usr/bin/recorder");
    world.proc.add(10, {.executable = tool + " (deleted)"});
    EXPECT_EQ(of(tool), Pids{10});
}

TEST_F(ProcessFinderTest, OneScriptIsNotAnother) {
    const auto python = world.program("usr/bin/python3.11");
    const auto script = world.program("home/u/tool.py", "#!/usr/bin/python3\n");
    const auto other = world.program("home/u/other.py", "#!/usr/bin/python3\n");
    world.link("home/u/link.py", script);
    world.proc.add(10, {.executable = python, .arguments = {"python3", "-u", script}});
    world.proc.add(11, {.executable = python, .arguments = {"python3", other}});
    world.proc.add(12, {.executable = python,
                        .arguments = {"python3", "link.py"},
                        .workingDirectory = world.path("home/u")});
    world.proc.add(13, {.executable = python, .arguments = {"python3", "-c", "x"}});
    EXPECT_EQ(of(script), (Pids{10, 12}));
    EXPECT_EQ(of(python), Pids{13});
}

TEST_F(ProcessFinderTest, OneScriptIsNotWhatLiesThereForAnotherProcess) {
    const auto python = world.program("usr/bin/python3.11");
    const auto script = world.program("home/u/tool.py", "#!/usr/bin/python3\n");
    world.program("sandbox" + script, "#!/usr/bin/python3\n");
    world.proc.add(10, {.executable = python, .arguments = {"python3", script}});
    world.proc.add(
        11,
        {.executable = python, .arguments = {"python3", script}, .root = world.path("sandbox")});
    world.proc.add(12, {.executable = python, .arguments = {"python3", script}});
    EXPECT_EQ(of(script), (Pids{10, 12}));
}

TEST_F(ProcessFinderTest, FindsThemAnewWheneverItIsAsked) {
    const auto tool = world.program("usr/bin/recorder");
    const auto other = world.program("usr/bin/other");
    world.proc.add(10, {.executable = tool});
    const ProcessFinder processes(names(), world.proc.fs());
    EXPECT_EQ(processes.find(identity(tool)), Pids{10});
    auto matcher = processes.matcher(identity(tool));
    EXPECT_EQ(matcher.match(10), ProcessMatcher::Answer::ofApp);
    world.proc.exec(10, other);
    EXPECT_EQ(processes.find(identity(tool)), Pids{});
    EXPECT_EQ(matcher.match(10), ProcessMatcher::Answer::other);
    EXPECT_TRUE(matcher.isOfAnother(10));
    EXPECT_EQ(matcher.match(11), ProcessMatcher::Answer::nobody);
    EXPECT_FALSE(matcher.isOfAnother(11));
}

TEST_F(ProcessFinderTest, AScriptWhoseArgumentsAreNotThereYetIsNobodyYet) {
    const auto python = world.program("usr/bin/python3.11");
    const auto script = world.program("home/u/tool.py", "#!/usr/bin/python3\n");
    world.proc.add(10, {.executable = python});
    const ProcessFinder processes(names(), world.proc.fs());
    auto matcher = processes.matcher(identity(script));
    EXPECT_EQ(matcher.match(10), ProcessMatcher::Answer::nobody);
    world.proc.add(10, {.executable = python, .arguments = {"python3", script}});
    EXPECT_EQ(matcher.match(10), ProcessMatcher::Answer::ofApp);
}

/// The sieve must let through whatever the names give to an app, of every kind there is.
TEST_F(ProcessFinderTest, FindsAllThatTheNamesGiveToTheApp) {
    installBrowser();
    const auto helper = world.program("usr/lib/suite/helper");
    const auto calc = world.program("usr/lib/suite/calc");
    world.program("usr/lib/suite/writer");
    world.entry("writer", "Name=Writer\nExec=" + world.path("usr/lib/suite/writer"));
    world.entry("calc", "Name=Calc\nExec=" + calc);
    const auto web = world.program("usr/bin/epiphany");
    const auto view = world.program("usr/libexec/webkit/WebKitWebProcess");
    world.entry("org.gnome.Epiphany", "Name=Web\nExec=epiphany %U");
    const auto office = world.program("usr/lib/office/soffice");
    world.entry("office", "Name=Office\nExec=" + office);
    world.entry("office-writer", "Name=Writer\nExec=" + office + " --writer");
    const auto chat = world.program("home/u/chat/chat");
    world.userEntry("org.example.Chat", "Name=Chat\nExec=" + chat);
    const auto python = world.program("usr/bin/python3.11");
    const auto music = world.program("usr/bin/music", "#!/usr/bin/python3\n");
    world.entry("org.example.Music", "Name=Music\nExec=music");
    const auto wine = world.program("usr/lib/wine/wine64-preloader");
    world.program("home/u/.wine/drive_c/Zoom.exe", "MZ");
    const auto electron = world.program("usr/lib/electron27/electron");
    const auto code = world.program("usr/lib/code/cli.js", "js");
    const auto snapped = world.program("snap/recorder/12/bin/recorder");
    world.entryIn("var/lib/snapd/desktop/applications", "recorder_recorder",
                  "Name=Recorder\nX-SnapInstanceName=recorder\nExec=/snap/bin/recorder");
    const auto bareSnap = world.program("snap/bare/1/bin/bare");
    const auto wrapper =
        world.program("usr/bin/wrapped", "#!/bin/sh\nexec " + world.path("usr/lib/wrapped") + "/x");
    const auto wrapped = world.program("usr/lib/wrapped/x");
    world.entry("wrapped", "Name=Wrapped\nExec=wrapped");

    world.proc.add(10, {.executable = world.path("usr/lib/firefox/firefox")});
    world.proc.add(11, {.executable = world.path("usr/lib/firefox/plugin-container")});
    world.proc.add(12, {.executable = calc});
    world.proc.add(13, {.executable = helper, .parent = 12});
    world.proc.add(14, {.executable = helper, .parent = 13});
    world.proc.add(15, {.executable = helper});
    world.proc.add(16, {.executable = web});
    world.proc.add(17, {.executable = view, .parent = 16});
    world.proc.add(18, {.executable = view});
    world.proc.add(19, {.executable = office,
                        .cgroup = "0::/app.slice/app-gnome-office\\x2dwriter-7.scope\n"});
    world.proc.add(20, {.executable = office});
    world.proc.add(21, {.executable = chat});
    world.proc.add(22, {.executable = world.program("home/u/chat/lib/helper"), .parent = 21});
    world.proc.add(23, {.executable = python, .arguments = {"python3", music}});
    world.proc.add(24, {.executable = python, .arguments = {"python3"}, .parent = 23});
    world.proc.add(25, {.executable = wine,
                        .arguments = {"C:\\Zoom.exe"},
                        .environment = {"HOME=" + world.path("home/u")}});
    world.proc.add(26, {.executable = electron, .arguments = {"electron", code}});
    world.proc.add(27,
                   {.executable = electron, .arguments = {"electron", "--type=gpu"}, .parent = 26});
    world.proc.add(
        28, {.executable = snapped, .cgroup = "0::/app.slice/snap.recorder.recorder-1.scope\n"});
    world.proc.add(29, {.executable = bareSnap});
    world.proc.add(30, {.executable = wrapped});
    world.proc.add(31, {.executable = wrapper});
    world.proc.add(32, {.executable = world.path("nowhere/firefox"), .mounts = "mnt:[2]"});
    world.proc.add(33, {.executable = ""});

    std::set<std::string> ids;
    for (const auto& [id, pids] : byNaming()) {
        ids.insert(id);
        EXPECT_EQ(of(id), pids) << id;
    }
    EXPECT_EQ(ids.size(), 15U);
    EXPECT_EQ(of("calc"), (Pids{12, 13, 14}));
    EXPECT_EQ(of("office-writer"), Pids{19});
    EXPECT_EQ(of("wrapped"), (Pids{30, 31}));
    EXPECT_EQ(of(code), (Pids{26, 27}));
}

TEST_F(ProcessFinderTest, FindsAllOfAFlatpaksSandboxAndNoneThatPretends) {
    for (const std::string installation : {"var/lib/flatpak", "home/u/.local/share/flatpak"}) {
        LinuxWorld other;
        const std::string app = installation + "/app/org.example.App/x86_64/stable/abc/files";
        other.program(app + "/bin/player", "player");
        other.link("app", other.path(app));
        other.program("sandbox/.flatpak-info", "[Application]\nname=org.example.App\n[Instance]\n"
                                               "app-path=" +
                                                   other.path(app) + "\n");
        other.link("sandbox" + other.path("app"), other.path("app"));
        const auto root = other.path("sandbox");
        const auto evil = other.program("home/u/evil");
        other.proc.add(
            10, {.executable = other.path("app/bin/player"), .mounts = "mnt:[2]", .root = root});
        other.proc.add(11, {.executable = evil, .parent = 10, .mounts = "mnt:[2]", .root = root});
        other.proc.add(12, {.executable = evil, .mounts = "mnt:[3]", .root = root});
        other.proc.add(13, {.executable = evil});
        LinuxAppNames names(other.places());
        const auto id = names.identify(10).id();
        EXPECT_EQ(id == "org.example.App", installation.starts_with("var"));
        EXPECT_EQ(ProcessFinder(names, other.proc.fs()).find(identity(id)), (Pids{10, 11}));
    }
}

TEST_F(ProcessFinderTest, RemembersNone) {
    const auto tool = world.program("usr/bin/recorder");
    world.proc.add(10, {.executable = tool});
    EXPECT_EQ(of(tool), Pids{10});
    world.proc.add(10, {.executable = ""});
    EXPECT_EQ(names().resolve(10), std::nullopt);
}

TEST(ProcessFinder, FindsOnThisMachineThoseThatTheNamesGive) {
    const RunningProgram one("/bin/sleep", {"sleep", "60"});
    const RunningProgram two("/bin/sleep", {"sleep", "61"});
    const RunningProgram other("/bin/sh", {"sh", "-c", "read x < /dev/zero"});
    LinuxAppNames names(LinuxPlaces::ofThisUser());
    const ProcessFinder processes(names);
    const auto id = names.identify(one.pid()).id();
    const auto found = processes.find(identity(id));
    EXPECT_TRUE(std::binary_search(found.begin(), found.end(), one.pid()));
    EXPECT_TRUE(std::binary_search(found.begin(), found.end(), two.pid()));
    EXPECT_FALSE(std::binary_search(found.begin(), found.end(), other.pid()));
    EXPECT_FALSE(std::binary_search(found.begin(), found.end(), getpid()));
    for (const pid_t pid : found) {
        EXPECT_TRUE(processes.isOf(pid, identity(id)) || names.identify(pid).id() != id) << pid;
    }
}

TEST(ProcessFinder, CanBeAskedByManyThreadsWhileNamesAreGiven) {
    const RunningProgram sleep("/bin/sleep", {"sleep", "60"});
    LinuxAppNames names(LinuxPlaces::ofThisUser());
    const ProcessFinder processes(names);
    const auto app = identity(names.identify(sleep.pid()).id());
    std::atomic<int> found{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 20; ++round) {
                const auto pids = processes.find(app);
                found += std::binary_search(pids.begin(), pids.end(), sleep.pid()) ? 1 : 0;
            }
        });
    }
    for (int round = 0; round < 200; ++round) {
        EXPECT_EQ(names.identify(sleep.pid()).id(), app.id);
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(found, 60);
}

} // namespace
} // namespace velmoran
