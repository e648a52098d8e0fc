#include "system/linux/apps/LinuxAppNamesFixture.h"

namespace velmoran {
namespace {

TEST_F(LinuxAppNamesTest, NamesAProgramByItsEntry) {
    installBrowser();
    world.proc.add(10, {.executable = world.path("usr/lib/firefox/firefox")});
    EXPECT_EQ(identify(10), browser());
    EXPECT_EQ(names().iconName(browser()), "firefox-icon");
}

TEST_F(LinuxAppNamesTest, NamesAProgramWithoutAnEntryByItsFile) {
    const auto tool = world.program("usr/bin/recorder");
    world.proc.add(10, {.executable = tool, .arguments = {"firefox"}});
    EXPECT_EQ(identify(10), file("recorder", tool));
    EXPECT_FALSE(names().iconName(file("recorder", tool)));
}

TEST_F(LinuxAppNamesTest, LeavesNobodyWithoutAVisibleName) {
    const auto tool = world.program("usr/bin/\u200B \u202E");
    world.proc.add(10, {.executable = tool});
    EXPECT_EQ(identify(10), file(tool, tool));
    const auto other = world.program("opt/other/recorder");
    world.entry("other", "Name=\u3164\nExec=" + other);
    world.proc.add(11, {.executable = other});
    EXPECT_EQ(identify(11), file("recorder", other));
}

TEST_F(LinuxAppNamesTest, NamesAReplacedProgramAsBefore) {
    installBrowser();
    world.proc.add(10, {.executable = world.path("usr/lib/firefox/firefox") + " (deleted)"});
    EXPECT_EQ(identify(10), browser());
}

TEST_F(LinuxAppNamesTest, CountsAHelperAsItsApp) {
    installBrowser();
    world.proc.add(10, {.executable = world.path("usr/lib/firefox/firefox")});
    world.proc.add(11,
                   {.executable = world.path("usr/lib/firefox/plugin-container"), .parent = 10});
    world.proc.add(12, {.executable = world.path("usr/lib/firefox/plugin-container"), .parent = 1});
    EXPECT_EQ(identify(11), browser());
    EXPECT_EQ(identify(12), browser());
}

TEST_F(LinuxAppNamesTest, FindsTheAppOfAHelperInASharedFolderByItsParent) {
    world.program("usr/lib/suite/writer");
    world.program("usr/lib/suite/calc");
    const auto helper = world.program("usr/lib/suite/helper");
    world.entry("writer", "Name=Writer\nExec=" + world.path("usr/lib/suite/writer"));
    world.entry("calc", "Name=Calc\nExec=" + world.path("usr/lib/suite/calc"));
    world.proc.add(10, {.executable = world.path("usr/lib/suite/calc")});
    world.proc.add(11, {.executable = helper, .parent = 10});
    world.proc.add(12, {.executable = helper, .parent = 11});
    world.proc.add(13, {.executable = helper});
    EXPECT_EQ(identify(12), app("Calc", "calc", world.path("usr/lib/suite/calc")));
    EXPECT_EQ(identify(13), file("helper", helper));
}

TEST_F(LinuxAppNamesTest, NamesAToolThatAnAppStartedByTheToolItself) {
    installBrowser();
    const auto tool = world.program("usr/bin/recorder");
    world.proc.add(10, {.executable = world.path("usr/lib/firefox/firefox")});
    world.proc.add(11, {.executable = tool, .parent = 10});
    EXPECT_EQ(identify(11), file("recorder", tool));
}

TEST_F(LinuxAppNamesTest, CountsAWebViewAsTheAppThatShowsIt) {
    const auto web = world.program("usr/bin/epiphany");
    const auto view = world.program("usr/libexec/webkit/WebKitWebProcess");
    const auto sandbox = world.program("usr/bin/bwrap");
    world.entry("org.gnome.Epiphany", "Name=Web\nExec=epiphany %U");
    world.proc.add(10, {.executable = web});
    world.proc.add(11, {.executable = sandbox, .parent = 10});
    world.proc.add(12, {.executable = view, .parent = 11});
    const auto evilView = world.program("home/u/WebKitWebProcess");
    world.proc.add(13, {.executable = evilView, .parent = 10});
    world.proc.add(14, {.executable = view, .parent = 1});
    EXPECT_EQ(identify(12), app("Web", "org.gnome.Epiphany", web));
    EXPECT_EQ(identify(13), outside("WebKitWebProcess", "~", evilView));
    EXPECT_EQ(identify(14), file("WebKitWebProcess", view));
}

TEST_F(LinuxAppNamesTest, TakesTheWordOfTheScopeAmongTheEntriesOfOneProgram) {
    const auto office = world.program("usr/lib/office/soffice");
    world.entry("office", "Name=Office\nExec=" + office);
    world.entry("office-writer", "Name=Writer\nExec=" + office + " --writer");
    world.proc.add(10, {.executable = office,
                        .cgroup = "0::/app.slice/app-gnome-office\\x2dwriter-7.scope\n"});
    world.proc.add(11, {.executable = office});
    EXPECT_EQ(identify(10), app("Writer", "office-writer", office));
    EXPECT_EQ(identify(11), app("Office", "office", office));
}

TEST_F(LinuxAppNamesTest, GivesNoIdForTheNameOfAScopeAlone) {
    installBrowser();
    const auto tool = world.program("usr/bin/recorder");
    const auto evil = world.program("home/u/evil");
    const std::string scope = "0::/app.slice/app-gnome-org.mozilla.firefox-7.scope\n"
                              "1:name=systemd:/app.slice/app-flatpak-org.mozilla.firefox-7.scope\n";
    world.proc.add(10, {.executable = tool, .cgroup = scope});
    world.proc.add(11, {.executable = evil, .cgroup = scope});
    EXPECT_EQ(identify(10), file("recorder", tool));
    EXPECT_EQ(identify(11), outside("evil", "~", evil));
}

TEST_F(LinuxAppNamesTest, GivesNoIdAndNoKnownNameForAnEntryOfTheUsers) {
    installBrowser();
    const auto evil = world.program("home/u/evil");
    world.userEntry("org.mozilla.firefox", "Name=Firefox\nExec=" + evil);
    world.proc.add(10, {.executable = evil});
    EXPECT_EQ(identify(10), outside("evil", "~", evil));
    // Nor by looking a little different, before or after the real one was seen.
    world.userEntry("org.mozilla.firefox", "Name=FIREFOX\u00a0\nExec=" + evil);
    EXPECT_EQ(identify(10), outside("evil", "~", evil));
    world.proc.add(11, {.executable = world.path("usr/lib/firefox/firefox")});
    EXPECT_EQ(identify(11), browser());
    EXPECT_EQ(names().ofBundleID("org.mozilla.firefox"), browser());
}

TEST_F(LinuxAppNamesTest, NamesTheUsersOwnProgramByHisEntryAndKnowsItByItsPath) {
    const auto chat = world.program("home/u/chat/chat");
    const auto helper = world.program("home/u/chat/lib/helper");
    const auto other = world.program("home/u/other");
    world.userEntry("org.example.Chat", "Name=Chat\nExec=" + chat + "\nIcon=chat-icon");
    world.proc.add(10, {.executable = chat});
    world.proc.add(11, {.executable = helper, .parent = 10});
    world.proc.add(12, {.executable = other, .parent = 10});
    EXPECT_EQ(identify(10), outside("Chat", "~/chat", chat));
    EXPECT_EQ(identify(11), outside("Chat", "~/chat", chat));
    EXPECT_EQ(identify(12), outside("other", "~", other));
    EXPECT_EQ(names().iconName(outside("Chat", "~/chat", chat)), "chat-icon");
    EXPECT_EQ(names().ofBundleID(chat), outside("Chat", "~/chat", chat));
}

TEST_F(LinuxAppNamesTest, AnEntryOfTheUsersRenamesNoProgramOfRoots) {
    const auto tool = world.program("usr/bin/recorder");
    world.userEntry("harmless", "Name=Harmless\nExec=" + tool + "\nIcon=harmless");
    world.proc.add(10, {.executable = tool});
    EXPECT_EQ(identify(10), file("recorder", tool));
    EXPECT_FALSE(names().iconName(file("recorder", tool)));
    // Nor gives it a picture to one by calling itself as the file is called.
    world.userEntry("harmless", "Name=recorder\nExec=" + tool + "\nIcon=harmless");
    EXPECT_EQ(identify(10), file("recorder", tool));
    EXPECT_FALSE(names().iconName(file("recorder", tool)));
}

TEST_F(LinuxAppNamesTest, ACopyOfAKnownProgramIsNotThatProgram) {
    installBrowser();
    const auto copy = world.program("home/u/firefox/firefox");
    world.proc.add(10, {.executable = copy, .arguments = {"/usr/lib/firefox/firefox"}});
    EXPECT_EQ(identify(10), outside("firefox", "~/firefox", copy));
}

TEST_F(LinuxAppNamesTest, NamesAnInterpreterByItsScript) {
    const auto python = world.program("usr/bin/python3.11");
    const auto script = world.program("home/u/tool.py", "#!/usr/bin/python3\n");
    const auto music = world.program("usr/bin/music", "#!/usr/bin/python3\n");
    world.entry("org.example.Music", "Name=Music\nExec=music");
    world.entry("python3.11", "Name=Python\nExec=python3.11");
    world.proc.add(10, {.executable = python, .arguments = {"python3", "-u", script}});
    world.proc.add(11, {.executable = python,
                        .arguments = {"python3", "tool.py"},
                        .workingDirectory = world.path("home/u")});
    world.proc.add(12, {.executable = python, .arguments = {"/usr/bin/python3", music}});
    EXPECT_EQ(identify(10), outside("tool.py", "~", script));
    EXPECT_EQ(identify(11), outside("tool.py", "~", script));
    EXPECT_EQ(identify(12), app("Music", "org.example.Music", music));
}

TEST_F(LinuxAppNamesTest, NamesAnInterpreterItselfForCodeFromElsewhere) {
    const auto python = world.program("usr/bin/python3.11");
    world.entry("python3.11", "Name=Python\nExec=python3.11");
    world.proc.add(10, {.executable = python, .arguments = {"python3", "-c", "import x"}});
    world.proc.add(11, {.executable = python, .arguments = {"python3", "/no/such/file.py"}});
    world.proc.add(12, {.executable = python, .arguments = {}});
    for (const pid_t pid : {10, 11, 12}) {
        EXPECT_EQ(identify(pid), file("python3.11", python)) << pid;
    }
}

TEST_F(LinuxAppNamesTest, AScriptStandsNoHigherThanItsInterpreter) {
    const auto music = world.program("usr/bin/music", "#!/usr/bin/python3\n");
    const auto evil = world.program("home/u/python3");
    world.entry("org.example.Music", "Name=Music\nExec=music");
    world.proc.add(10, {.executable = evil, .arguments = {"python3", music}});
    EXPECT_EQ(identify(10), outside("python3", "~", evil));
}

TEST_F(LinuxAppNamesTest, ACommandLineMakesNoneOfTheSystemsOwnPrograms) {
    if (!std::filesystem::exists("/usr/bin/pipewire")) {
        GTEST_SKIP() << "PipeWire isn't installed";
    }
    const auto python = world.program("usr/bin/python3");
    world.proc.add(10, {.executable = python, .arguments = {"python3", "/usr/bin/pipewire"}});
    EXPECT_EQ(identify(10), file("python3", python));
}

TEST_F(LinuxAppNamesTest, ACommandLineMakesNoneOfWhatNeedsNoInterpreter) {
    installBrowser();
    const auto python = world.program("usr/bin/python3");
    const auto own = world.program("home/u/bin/trusted");
    for (const auto& claimed : {world.path("usr/lib/firefox/firefox"), own}) {
        world.proc.add(10, {.executable = python, .arguments = {"python3", claimed}});
        EXPECT_EQ(identify(10), file("python3", python)) << claimed;
    }
}

TEST_F(LinuxAppNamesTest, NamesASoundServerOfSomebodysByItsConfiguration) {
    const auto server = world.program("usr/bin/pipewire");
    const auto own = world.program("home/u/own.conf", "context.modules = [ ]\n");
    world.proc.add(10, {.executable = server, .arguments = {"pipewire", "-c", own}});
    world.proc.add(11, {.executable = server, .arguments = {"pipewire"}});
    EXPECT_EQ(identify(10), file("own.conf (~)", own));
    EXPECT_EQ(identify(11), file("pipewire", server));
}

TEST_F(LinuxAppNamesTest, ACommandLineMakesNoneOfTheProgramsThatAreNeverClosed) {
    const auto python = world.program("usr/bin/python3");
    const auto server = world.program("usr/lib/xorg/Xorg");
    world.proc.add(10, {.executable = python, .arguments = {"python3", server}});
    world.proc.add(11, {.executable = server});
    EXPECT_EQ(identify(10), file("python3", python));
    EXPECT_EQ(identify(11), file("Xorg", server));
}

TEST_F(LinuxAppNamesTest, KnowsTheBrowsersThatAreRegisteredNow) {
    installBrowser();
    EXPECT_EQ(names().browsers(), std::vector<std::string>{});
    const std::string web = "\nMimeType=text/html;x-scheme-handler/https;";
    world.entry("org.mozilla.firefox", "Name=Firefox\nExec=firefox %u" + web);
    const auto own = world.program("home/u/browser/browser");
    world.userEntry("mine", "Name=Mine\nExec=" + own + web);
    world.userEntry("mail", "Name=Mail\nExec=" + own + "x\nMimeType=x-scheme-handler/mailto;");
    world.entryIn("var/lib/flatpak/exports/share/applications", "org.example.Web",
                  "Name=Web\nX-Flatpak=org.example.Web\nExec=flatpak run org.example.Web" + web);
    world.entryIn("var/lib/snapd/desktop/applications", "chromium_chromium",
                  "Name=Chromium\nX-SnapInstanceName=chromium\nExec=/snap/bin/chromium" + web);
    EXPECT_EQ(
        names().browsers(),
        (std::vector<std::string>{world.path("home/u/.local/share/flatpak/app/org.example.Web"),
                                  own, world.path("var/lib/flatpak/app/org.example.Web"),
                                  "chromium_chromium", "org.example.Web", "org.mozilla.firefox"}));
    // A second entry of the same program, which is the one that names it.
    world.entry("a-browser", "Name=A\nExec=firefox");
    const auto all = names().browsers();
    EXPECT_NE(std::find(all.begin(), all.end(), "a-browser"), all.end());
}

TEST_F(LinuxAppNamesTest, RemembersWhoAProcessWasForAStopOnly) {
    const auto tool = world.program("usr/bin/recorder");
    world.proc.add(10, {.executable = tool});
    EXPECT_EQ(identify(10), file("recorder", tool));
    world.proc.add(10, {.executable = ""});
    EXPECT_EQ(names().resolve(10), file("recorder", tool));
    EXPECT_EQ(identify(10), unknown(10));
    // Another process under that id, and one that nobody has seen before.
    world.proc.add(10, {.executable = ""}, 200);
    world.proc.add(11, {.executable = ""});
    EXPECT_EQ(names().resolve(10), std::nullopt);
    EXPECT_EQ(names().resolve(11), std::nullopt);
}

TEST_F(LinuxAppNamesTest, NamesAWindowsProgramByItsFile) {
    const auto wine = world.program("usr/lib/wine/wine64-preloader");
    const auto zoom = world.program("home/u/.wine/drive_c/Program Files/Zoom/Zoom.exe", "MZ");
    world.proc.add(10, {.executable = wine,
                        .arguments = {"C:\\Program Files\\Zoom\\Zoom.exe", "--x"},
                        .environment = {"HOME=" + world.path("home/u")}});
    world.proc.add(11, {.executable = wine, .arguments = {"C:\\windows\\system32\\services.exe"}});
    EXPECT_EQ(identify(10), outside("Zoom.exe", "~/.wine/drive_c…ram Files/Zoom", zoom));
    EXPECT_EQ(identify(11), file("wine64-preloader", wine));
}

TEST_F(LinuxAppNamesTest, NamesAnElectronHelperByTheAppOfItsParent) {
    const auto electron = world.program("usr/lib/electron27/electron");
    const auto code = world.program("usr/lib/code/cli.js", "js");
    world.proc.add(10, {.executable = electron, .arguments = {"electron", code}});
    world.proc.add(
        11, {.executable = electron, .arguments = {"electron", "--type=utility"}, .parent = 10});
    EXPECT_EQ(identify(10), file("cli.js", code));
    EXPECT_EQ(identify(11), file("cli.js", code));
}

TEST_F(LinuxAppNamesTest, CannotNameWhatMayNotBeLookedAt) {
    world.proc.add(10, {.executable = "", .arguments = {"/usr/bin/firefox"}});
    EXPECT_EQ(identify(10), unknown(10));
    EXPECT_EQ(identify(4711), unknown(4711));
    EXPECT_EQ(identify(0), unknown(0));
    EXPECT_EQ(names().unidentified("a").bundleID, "unidentified:a");
    EXPECT_FALSE(names().ofBundleID("unidentified:10").unidentified) << "an app may choose that";
}

TEST_F(LinuxAppNamesTest, KnowsAnAppThatIsCalledAsTheUnknownOneByItsPath) {
    const auto program = world.program("usr/bin/odd");
    world.entry("unknown", "Name=Odd\nExec=" + program + "\nMimeType=x-scheme-handler/http;");
    world.proc.add(10, {.executable = program});
    EXPECT_EQ(identify(10), file("Odd", program));
    EXPECT_EQ(names().browsers(), std::vector<std::string>({program, "unknown"}));
}

TEST_F(LinuxAppNamesTest, CannotNameWhatSeesOtherFiles) {
    installBrowser();
    // In a namespace of its own, with something else mounted where the browser lies.
    world.proc.add(10, {.executable = world.path("nowhere/firefox"), .mounts = "mnt:[2]"});
    EXPECT_EQ(identify(10), unknown(10));
}

TEST_F(LinuxAppNamesTest, KeepsWhatIsPinnedUntilItIsUnpinned) {
    const auto tool = world.program("usr/bin/recorder");
    world.proc.add(10, {.executable = tool});
    const AudioProcess process{.objectID = 77,
                               .pid = 10,
                               .bundleID = {},
                               .isRunningInput = true,
                               .isRunningOutput = false};
    names().pin(77, names().identify(10));
    world.proc.remove(10);
    EXPECT_EQ(names().ofProcess(process), file("recorder", tool));
    names().pin(77, names().unidentified("77"));
    EXPECT_EQ(names().ofProcess(process).bundleID, "unidentified:77");
    names().unpin(77);
    EXPECT_EQ(names().ofProcess(process), unknown(10));
    names().unpin(77);
    EXPECT_EQ(names().ofProcess(process), unknown(10));
}

TEST_F(LinuxAppNamesTest, AsksOfAnIdGiveWhatWasSeenOrIsInstalled) {
    installBrowser();
    EXPECT_EQ(names().ofBundleID("org.mozilla.firefox"), browser());
    EXPECT_EQ(names().ofBundleID("/opt/x/tool"), outside("tool", "/opt/x", "/opt/x/tool"));
    EXPECT_EQ(names().ofBundleID("not.installed"),
              (AppRef{.name = "not.installed", .bundleID = "not.installed", .path = {}}));
    world.userEntry("not.installed", "Name=Lie\nExec=/bin/sh");
    EXPECT_EQ(names().ofBundleID("not.installed").name, "not.installed");
}

TEST_F(LinuxAppNamesTest, RemembersABoundedNumberOfApps) {
    // An app that has a name only as long as its entry stands, or it is remembered.
    const auto chat = world.program("home/u/chat/chat");
    world.userEntry("chat", "Name=Chat\nExec=" + chat);
    world.proc.add(9, {.executable = chat});
    identify(9);
    std::filesystem::remove(world.path("home/u/.local/share/applications/chat.desktop"));
    world.touch("home/u/.local/share/applications");
    const auto tool = world.program("usr/bin/recorder");
    world.proc.add(10, {.executable = tool});
    // The same again and again, and those that can't be named, drive nobody out.
    for (std::uint32_t i = 0; i < LinuxAppNames::mostRemembered + 10; ++i) {
        names().pin(i, identify(10));
        identify(100000 + static_cast<pid_t>(i));
        names().unpin(i);
    }
    EXPECT_EQ(names().ofBundleID(chat), outside("Chat", "~/chat", chat));
    const auto identifyOthers = [&](std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            world.proc.exec(10, world.path("tmp/mount-" + std::to_string(i)));
            identify(10);
        }
    };
    identifyOthers(LinuxAppNames::mostRemembered - 2);
    EXPECT_EQ(names().ofBundleID(chat), outside("Chat", "~/chat", chat));
    identifyOthers(LinuxAppNames::mostRemembered);
    EXPECT_EQ(names().ofBundleID(chat), outside("chat", "~/chat", chat));
}

TEST_F(LinuxAppNamesTest, ReadsNoEntriesForAPinnedProcess) {
    installBrowser();
    world.proc.add(10, {.executable = world.path("usr/lib/firefox/firefox")});
    names().pin(1, identify(10));
    world.entry("org.mozilla.firefox", "Name=Renamed\nExec=firefox %u");
    const AudioProcess process{
        .objectID = 1, .pid = 10, .bundleID = {}, .isRunningInput = true, .isRunningOutput = false};
    EXPECT_EQ(names().ofProcess(process), browser());
    auto cache = names().newCache();
    EXPECT_EQ(names().resolve(10, cache), browser()) << "the entries as they have been read";
    EXPECT_EQ(identify(10).name, "Renamed");
}

} // namespace
} // namespace velmoran
