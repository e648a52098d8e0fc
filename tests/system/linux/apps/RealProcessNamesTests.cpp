// Real processes of the machine that the tests run on, some of which pretend to be others.
#include "system/linux/apps/LinuxAppNames.h"
#include "system/linux/apps/LinuxCodeSignatures.h"
#include "system/linux/apps/ScriptArgument.h"
#include "system/linux/kernel/ProcMaps.h"

#include "support/OpenDescriptors.h"
#include "support/Rights.h"
#include "support/RunningProgram.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <chrono>
#include <functional>
#include <thread>

namespace velmoran {
namespace {

bool waitUntil(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

class RealProcessNames : public ::testing::Test {
protected:
    RealProcessNames() {
        places.home = home.path();
        places.applicationFolders.insert(places.applicationFolders.begin(),
                                         home.path("share/applications"));
    }
    AppRef identify(pid_t pid) { return LinuxAppNames(places).identify(pid); }
    AppRef identify(const RunningProgram& program) { return identify(program.pid()); }
    std::string copyOfSleep(const std::string& below) const {
        const auto file = home.write(below, "", true);
        std::filesystem::copy_file("/bin/sleep", file,
                                   std::filesystem::copy_options::overwrite_existing);
        return file;
    }

    TemporaryDirectory home;
    LinuxPlaces places = LinuxPlaces::ofThisUser();
    LinuxCodeSignatures signatures{places};
};

TEST_F(RealProcessNames, ATool) {
    const RunningProgram sleep("/bin/sleep", {"firefox", "60"});
    const auto path = std::filesystem::canonical("/bin/sleep").string();
    const auto app = identify(sleep);
    EXPECT_EQ(app.path, path);
    EXPECT_EQ(app.name, path.substr(path.rfind('/') + 1));
    EXPECT_FALSE(app.bundleID);
    EXPECT_EQ(signatures.teamID(path), "system");
}

TEST_F(RealProcessNames, AScriptByItsOwnLineAndByItsInterpreters) {
    const auto script = home.write("bin/tool.sh", "#!/bin/sh\nread line\nread line\n", true);
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    const int kept = dup(STDIN_FILENO);
    dup2(ends[0], STDIN_FILENO);
    const RunningProgram direct(script, {"something else"});
    const RunningProgram byName("/bin/sh", {"sh", "-e", script});
    const RunningProgram inlineCode("/bin/sh", {"sh", "-c", "read line; read line", script});
    dup2(kept, STDIN_FILENO);
    close(kept);
    const AppRef expected{.name = "tool.sh (~/bin)", .bundleID = {}, .path = script};
    EXPECT_EQ(identify(direct), expected);
    EXPECT_EQ(identify(byName), expected);
    EXPECT_EQ(identify(inlineCode).path, std::filesystem::canonical("/bin/sh").string());
    EXPECT_FALSE(signatures.teamID(script));
    close(ends[0]);
    close(ends[1]);
}

TEST_F(RealProcessNames, APythonScriptWithARelativeName) {
    const auto python = std::filesystem::path("/usr/bin/python3");
    if (!std::filesystem::exists(python)) {
        GTEST_SKIP() << "Python isn't installed";
    }
    const auto script = home.write("bin/recorder.py", "import time\ntime.sleep(60)\n");
    const auto folder = std::filesystem::current_path();
    std::filesystem::current_path(home.path("bin"));
    const RunningProgram program(python, {"python3", "-u", "recorder.py"});
    std::filesystem::current_path(folder);
    EXPECT_EQ(identify(program),
              (AppRef{.name = "recorder.py (~/bin)", .bundleID = {}, .path = script}));
}

TEST_F(RealProcessNames, ACopyInTheHomeThatTakesAKnownId) {
    DesktopEntries entries(places);
    entries.refresh();
    const auto& all = entries.all();
    const auto known =
        std::find_if(all.begin(), all.end(), [](const auto& found) { return found.isTrusted; });
    if (known == all.end()) {
        GTEST_SKIP() << "an app with a desktop entry isn't installed";
    }
    const auto copy = copyOfSleep("bin/thief");
    home.write("share/applications/" + known->entry.id + ".desktop",
               "[Desktop Entry]\nType=Application\nName=" + known->entry.name + "\nExec=" + copy);
    const RunningProgram program(copy, {known->program, "60"});
    EXPECT_EQ(identify(program), (AppRef{.name = "thief (~/bin)", .bundleID = {}, .path = copy}));
    EXPECT_FALSE(signatures.teamID(copy));
}

TEST_F(RealProcessNames, AProgramOfTheHomeThatTheLoaderRuns) {
    const auto own = executableMappings(getpid(), ProcFs()).value_or(std::vector<ProcMapping>());
    const auto loader = std::find_if(own.begin(), own.end(), [](const ProcMapping& mapping) {
        return mapping.path.starts_with('/') && isDynamicLoader(mapping.path);
    });
    ASSERT_NE(loader, own.end());
    const auto copy = copyOfSleep("bin/napper");
    const RunningProgram program(loader->path, {"ld.so", copy, "60"});
    EXPECT_TRUE(waitUntil([&] { return identify(program).path == copy; })) << "once it is loaded";
    EXPECT_EQ(identify(program).name, "napper (~/bin)");
}

TEST_F(RealProcessNames, AnAppOfTheHomeByItsEntry) {
    const auto copy = copyOfSleep("bin/napper");
    home.write("share/applications/org.example.Napper.desktop",
               "[Desktop Entry]\nType=Application\nName=Long Naps\nIcon=nap\nExec=" + copy + " 60");
    const RunningProgram program(copy, {copy, "60"});
    const AppRef expected{.name = "Long Naps (~/bin)", .bundleID = {}, .path = copy};
    EXPECT_EQ(identify(program), expected);
    EXPECT_EQ(LinuxAppNames(places).iconName(expected), "nap");
}

TEST_F(RealProcessNames, AProgramMountedOverAnother) {
    const auto copy = copyOfSleep("bin/thief");
    const std::string victim = std::filesystem::canonical("/usr/bin/env");
    const std::string script = "mount --bind \"$0\" \"$1\" && exec \"$1\" 60";
    const std::string inOwnMounts =
        "how=-Urm; unshare -m true 2>/dev/null && how=-m; exec unshare $how sh -c \"$0\" \"$@\"";
    const RunningProgram program("/bin/sh", {"sh", "-c", inOwnMounts, script, copy, victim});
    const ProcFs proc;
    const bool isThere = waitUntil(
        [&] { return !program.isRunning() || proc.executableClaim(program.pid()) == victim; });
    if (!isThere || !program.isRunning()) {
        GTEST_SKIP() << "may not make a mount namespace here";
    }
    // The kernel itself words it so; still it isn't that program but the one that it really is.
    ASSERT_EQ(proc.executableClaim(program.pid()), victim);
    EXPECT_FALSE(proc.executable(program.pid()));
    EXPECT_EQ(identify(program),
              (AppRef{.name = "thief (~/bin), in a sandbox", .bundleID = {}, .path = copy}));
    EXPECT_FALSE(signatures.teamID(copy));
}

TEST_F(RealProcessNames, AProgramInMemoryAndOneThatIsDeleted) {
    const int memory = memfd_create("x/../../usr/bin/pavucontrol", MFD_CLOEXEC);
    const std::string sleep = std::filesystem::canonical("/bin/sleep");
    const auto bytes = readFileUpTo(sleep, 16UL * 1024 * 1024).value_or("");
    ASSERT_EQ(write(memory, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    const RunningProgram inMemory("/proc/self/fd/" + std::to_string(memory), {"pavucontrol", "60"});
    close(memory);
    EXPECT_EQ(identify(inMemory),
              (AppRef{.name = "memfd:x/../../usr/bin/pavucontrol (in memory, not a file)",
                      .bundleID = {},
                      .path = "/memfd:x/../../usr/bin/pavucontrol"}));
    EXPECT_FALSE(signatures.teamID("/memfd:x/../../usr/bin/pavucontrol"));

    const auto copy = copyOfSleep("bin/napper");
    const RunningProgram deleted(copy, {copy, "60"});
    EXPECT_EQ(identify(deleted).name, "napper (~/bin)");
    std::filesystem::remove(copy);
    EXPECT_EQ(identify(deleted),
              (AppRef{.name = "napper (~/bin, deleted)", .bundleID = {}, .path = copy}));
    std::filesystem::remove_all(home.path("bin"));
    EXPECT_EQ(identify(deleted).name, "napper (~/bin, deleted)");
}

TEST_F(RealProcessNames, ASandboxAsFlatpakMakesItAndOneThatPretends) {
    const std::string bwrap = "/usr/bin/bwrap";
    if (!std::filesystem::exists(bwrap)) {
        GTEST_SKIP() << "bubblewrap isn't installed";
    }
    const std::string deployed = "flatpak/app/org.example.App/x86_64/stable/abc/files";
    copyOfSleep(deployed + "/bin/player");
    const auto thief = copyOfSleep("thief/bin/player");
    const auto info = home.write(
        "info", "[Application]\nname=org.example.App\n[Instance]\napp-path=" + home.path(deployed) +
                    "\nruntime-path=/usr\n");
    std::filesystem::permissions(home.path("flatpak"), std::filesystem::perms(0755));
    std::filesystem::permissions(home.path("thief"), std::filesystem::perms(0777));
    places.flatpaks = {{.name = "test", .path = home.path("flatpak")}};
    places.protection = WriteProtection(home.path(), getuid());
    const auto sandboxed = [&](const std::string& app, const std::string& program) {
        std::vector<std::string> arguments{"bwrap", "--die-with-parent", "--proc", "/proc"};
        for (const char* shared : {"/usr", "/lib", "/lib64", "/bin"}) {
            if (std::filesystem::is_symlink(shared)) {
                arguments.insert(arguments.end(),
                                 {"--symlink", std::filesystem::read_symlink(shared), shared});
            } else if (std::filesystem::exists(shared)) {
                arguments.insert(arguments.end(), {"--ro-bind", shared, shared});
            }
        }
        arguments.insert(arguments.end(),
                         {"--ro-bind", app, "/app", "--ro-bind", info, "/.flatpak-info",
                          "--ro-bind", home.path("thief"), "/thief", program, "60"});
        return arguments;
    };
    const RunningProgram genuine(bwrap, sandboxed(home.path(deployed), "/app/bin/player"));
    const RunningProgram forged(bwrap, sandboxed(home.path("thief"), "/app/bin/player"));
    const RunningProgram beside(bwrap, sandboxed(home.path(deployed), "/thief/bin/player"));
    // The sandbox is a child of the one that makes it, or has taken its place.
    const ProcFs proc;
    const auto inside = [&](const RunningProgram& outer, const std::string& program) {
        pid_t found = 0;
        waitUntil([&] {
            for (const pid_t pid : proc.pids()) {
                const bool isOfIt = pid == outer.pid() || proc.parent(pid) == outer.pid();
                if (isOfIt && proc.executableClaim(pid) == program &&
                    !proc.commandLine(pid).empty()) {
                    found = pid;
                }
            }
            return found != 0 || !outer.isRunning();
        });
        return found;
    };
    const pid_t genuinePid = inside(genuine, "/app/bin/player");
    if (genuinePid == 0) {
        GTEST_SKIP() << "may not make a sandbox here";
    }
    const pid_t forgedPid = inside(forged, "/app/bin/player");
    const pid_t besidePid = inside(beside, "/thief/bin/player");
    ASSERT_TRUE(forgedPid != 0 && besidePid != 0);

    EXPECT_EQ(identify(genuinePid), (AppRef{.name = "org.example.App",
                                            .bundleID = "org.example.App",
                                            .path = home.path("flatpak/app/org.example.App")}));
    EXPECT_EQ(LinuxCodeSignatures(places).teamID(home.path("flatpak/app/org.example.App")),
              "flatpak:test");
    const AppRef known{.name = "player (~/thief/bin), in a sandbox", .bundleID = {}, .path = thief};
    EXPECT_EQ(identify(forgedPid), known);
    EXPECT_EQ(identify(besidePid), known);
}

TEST_F(RealProcessNames, AProcessThatForbidsBeingLookedAt) {
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    const pid_t hidden = fork();
    if (hidden == 0) {
        close(ends[0]);
        if (!support::becomeOrdinaryUser()) {
            _exit(99);
        }
        prctl(PR_SET_DUMPABLE, 0);
        char byte = 'r';
        if (write(ends[1], &byte, 1) != 1 || read(ends[1], &byte, 1) != 0) {
            _exit(98);
        }
        _exit(0);
    }
    close(ends[1]);
    char ready = 0;
    ASSERT_EQ(read(ends[0], &ready, 1), 1);
    EXPECT_EQ(support::askAsUser([&] {
                  const ProcFs proc;
                  const auto app = LinuxAppNames(LinuxPlaces::ofThisUser()).identify(hidden);
                  return (proc.isReadable(hidden) ? 1 : 0) + (proc.stat(hidden) ? 0 : 2) +
                         (app.name == "Unknown app" ? 0 : 4) + (app.path ? 8 : 0) +
                         (app.bundleID == "unidentified:" + std::to_string(hidden) ? 0 : 16);
              }),
              0);
    close(ends[0]);
    waitpid(hidden, nullptr, 0);
}

TEST_F(RealProcessNames, NoDescriptorIsLeftAfterManyStarts) {
    LinuxAppNames names(places);
    const auto count = [] {
        return support::openDescriptors(getpid()).size();
    };
    const RunningProgram first("/bin/sleep", {"sleep", "60"});
    names.identify(first.pid());
    const auto before = count();
    for (std::uint32_t i = 0; i < 100; ++i) {
        RunningProgram sleep("/bin/sleep", {"sleep", "60"});
        names.pin(i, names.identify(sleep.pid()));
        sleep.end();
        names.identify(first.pid());
        names.unpin(i);
    }
    EXPECT_EQ(count(), before);
}

} // namespace
} // namespace velmoran
