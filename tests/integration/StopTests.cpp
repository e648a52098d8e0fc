// A stop with real programs: what is muted, what goes, what stays, and what is said and kept of it.
#include "integration/StopScene.h"
#include "system/linux/apps/LinuxAppNames.h"

#include <csignal>
#include <filesystem>

#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace velmoran {
namespace {

using Titles = std::vector<std::string>;

/// This thread is refused what it would do to the processes of others, as anybody but root is.
class WithoutTheRightToSignal {
public:
    WithoutTheRightToSignal() { set(false); }
    ~WithoutTheRightToSignal() { set(true); }
    WithoutTheRightToSignal(const WithoutTheRightToSignal&) = delete;
    WithoutTheRightToSignal& operator=(const WithoutTheRightToSignal&) = delete;

private:
    static void set(bool allowed) {
        __user_cap_header_struct header{.version = _LINUX_CAPABILITY_VERSION_3, .pid = 0};
        __user_cap_data_struct rights[2]{};
        ASSERT_EQ(syscall(SYS_capget, &header, rights), 0);
        constexpr auto kill = 1U << CAP_KILL;
        rights[0].effective = allowed ? rights[0].effective | kill : rights[0].effective & ~kill;
        ASSERT_EQ(syscall(SYS_capset, &header, rights), 0);
    }
};

/// One that other users run too.
class StopAsRoot : public Stop {
protected:
    /// `use` for a copy of the recorder that another user runs.
    support::ChildProcess& useAsAnother(const std::string& name) {
        for (const auto& folder : {session_.folder(), session_.home(), session_.runtimeFolder()}) {
            std::filesystem::permissions(folder, std::filesystem::perms(0755));
        }
        std::filesystem::permissions(session_.runtimeFolder() / "pipewire-0",
                                     std::filesystem::perms(0777));
        return use(name, {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups",
                          copyOf("graph-client", name)});
    }
};

TEST_F(Stop, MutesTheMicrophoneAndClosesTheApp) {
    start();
    auto& spy = use("spy", {copyOf("graph-client", "spy")});
    auto& other = session_.start("bystander", {copyOf("graph-client", "bystander")});
    ASSERT_TRUE(becomes([&] { return model_->openSessions->size() == 2; })) << report();
    ASSERT_TRUE(press("spy (~) turned on the microphone", "Stop"));
    ASSERT_TRUE(becomes([&] { return card("Microphone muted. spy (~) was closed.") != nullptr; }))
        << report();
    EXPECT_FALSE(spy.running());
    EXPECT_TRUE(other.running()) << "it is another app";
    EXPECT_TRUE(isMuted());
    EXPECT_TRUE(becomes([&] { return row("spy").end.has_value(); })) << report();
    EXPECT_EQ(row("spy").outcome, SessionOutcome::stoppedByUser);
    EXPECT_FALSE(row("bystander").end.has_value());
    EXPECT_TRUE(*model_->settings.microphoneMuted);

    model_->unmuteMicrophone();
    EXPECT_TRUE(becomes([&] { return !isMuted(); }));
    quit();
}

TEST_F(Stop, KeepsTheMuteOverARestart) {
    start();
    model_->stopEverything();
    ASSERT_TRUE(stopEnds());
    ASSERT_TRUE(isMuted());
    quit();
    ASSERT_TRUE(session_.run({"pactl", "set-source-mute", "virtual-microphone", "0"}).succeeded());
    start();
    EXPECT_TRUE(becomes([&] { return isMuted(); }));
}

TEST_F(StopAsRoot, SaysWhichOfTwoAppsIsStillThere) {
    start();
    auto& spy = use("spy", {copyOf("graph-client", "spy")});
    auto& mule = useAsAnother("mule");
    {
        const WithoutTheRightToSignal others;
        model_->stopEverything();
        ASSERT_TRUE(stopEnds());
    }
    EXPECT_TRUE(mule.running());
    EXPECT_FALSE(spy.running());
    const auto* result = card("Microphone muted. spy (~) was closed.");
    ASSERT_NE(result, nullptr) << report();
    EXPECT_EQ(result->message,
              "mule (~) didn't close and may still be using the camera or microphone. "
              "Quit it from the Dock, or try again. The microphone is still in use.");
    Titles buttons;
    for (const auto& button : result->buttons) {
        buttons.push_back(button.title);
    }
    EXPECT_EQ(buttons, (Titles{"Details", "Try again"}));
    EXPECT_EQ(row("spy").outcome, SessionOutcome::stoppedByUser);
    EXPECT_NE(row("mule").outcome, SessionOutcome::stoppedByUser);
    ASSERT_TRUE(press("Microphone muted. spy (~) was closed.", "Try again"));
    ASSERT_TRUE(stopEnds());
    EXPECT_TRUE(becomes([&] { return model_->openSessions->empty(); })) << report();
    quit();
}

TEST_F(Stop, AsksBeforeItClosesABrowser) {
    const auto surf = copyOf("graph-client", "surf");
    const auto entries = session_.home() / ".local/share/applications";
    std::filesystem::create_directories(entries);
    support::writeFile(entries / "org.example.surf.desktop",
                       "[Desktop Entry]\nType=Application\nName=Surf\nExec=" + surf +
                           " %u\nMimeType=x-scheme-handler/http;x-scheme-handler/https;\n");
    std::vector<BrowserQuestion> questions;
    auto answer = BrowserAnswer::keep;
    askAboutBrowsers_ = [&](const BrowserQuestion& question, const auto& answered) {
        questions.push_back(question);
        answered(answer);
        return ShownQuestion();
    };
    start();
    auto& browser = session_.start("browser", {surf});
    auto& spy = use("spy", {copyOf("graph-client", "spy")});
    ASSERT_TRUE(becomes([&] { return model_->openSessions->size() == 2; })) << report();
    model_->stopEverything();
    ASSERT_TRUE(stopEnds());
    ASSERT_TRUE(becomes([&] { return model_->openSessions->size() == 1; })) << report();
    ASSERT_EQ(questions.size(), 1U);
    EXPECT_EQ(questions[0], (BrowserQuestion{.browsers = {"Surf (~)"}, .keepOffered = true}));
    EXPECT_TRUE(browser.running());
    EXPECT_FALSE(spy.running());
    answer = BrowserAnswer::close;
    model_->stopEverything();
    ASSERT_TRUE(stopEnds());
    EXPECT_FALSE(browser.running());
    quit();
}

TEST_F(Stop, EndsWithinItsBoundsWhenTheSoundServerDies) {
    start();
    auto& spy = use("spy", {copyOf("graph-client", "spy")});
    for (const char* part : {"virtual-microphone", "pulse", "wireplumber", "pipewire"}) {
        session_.child(part)->signal(SIGSTOP);
    }
    model_->stopEverything();
    EXPECT_TRUE(*model_->isStopping);
    ASSERT_TRUE(stopEnds());
    EXPECT_FALSE(spy.running());
    const auto* result = card("spy (~) was closed.");
    ASSERT_NE(result, nullptr) << report();
    EXPECT_EQ(result->message, "The microphone couldn't be muted. Turn the input volume down in "
                               "System Settings > Sound.");
    EXPECT_FALSE(*model_->settings.microphoneMuted);
    for (const char* part : {"virtual-microphone", "pulse", "wireplumber", "pipewire"}) {
        session_.child(part)->signal(SIGCONT);
    }
    EXPECT_TRUE(becomes([&] { return isMuted() && *model_->settings.microphoneMuted; }))
        << "what it was told meanwhile";
    ASSERT_TRUE(session_.run({"pactl", "set-source-mute", "virtual-microphone", "0"}).succeeded());
    EXPECT_TRUE(becomes([&] { return isMuted(); })) << "and keeps up";
    model_->unmuteMicrophone();
    EXPECT_TRUE(becomes([&] { return !isMuted(); }));
    EXPECT_FALSE(*model_->settings.microphoneMuted);
    quit();
}

TEST_F(Stop, MutesWhenASoundServerThatDiedIsBack) {
    start();
    auto& spy = use("spy", {copyOf("graph-client", "spy")});
    session_.child("pulse")->signal(SIGSTOP);
    model_->stopEverything();
    session_.child("pulse")->signal(SIGKILL);
    ASSERT_TRUE(stopEnds());
    EXPECT_FALSE(spy.running());
    ASSERT_NE(card("spy (~) was closed."), nullptr) << report();
    EXPECT_FALSE(*model_->settings.microphoneMuted);
    session_.stop("pulse");
    session_.startPulse();
    EXPECT_TRUE(becomes([&] { return isMuted() && *model_->settings.microphoneMuted; }))
        << report();
    quit();
}

TEST_F(Stop, NeverClosesWhatTheSessionStandsOn) {
    start();
    LinuxAppNames names(LinuxPlaces::ofThisUser());
    const auto identity = [&](const AppRef& app) {
        return AppIdentity{.id = app.id(),
                           .name = app.name,
                           .bundleID = app.bundleID,
                           .path = app.path,
                           .teamID = {}};
    };
    const auto file = [&](const std::string& path) {
        return identity({.name = "x", .bundleID = {}, .path = path});
    };
    // This very process, and the one that started it, if it can be named.
    EXPECT_TRUE(machine_->isProtected(identity(names.identify(getpid()))));
    const auto parent = identity(names.identify(getppid()));
    EXPECT_TRUE(machine_->isProtected(parent) || parent.cannotBeNamed()) << parent.id;
    for (const std::string path :
         {"/usr/bin/pipewire", "/usr/bin/openbox", "/usr/bin/dbus-daemon"}) {
        ASSERT_TRUE(std::filesystem::exists(path)) << path;
        EXPECT_TRUE(machine_->isProtected(file(std::filesystem::canonical(path)))) << path;
    }
    // Not what only bears such a name, says that it is root's, or is a script of root's.
    auto thief = file(std::filesystem::canonical(copyOf("graph-client", "pipewire")));
    EXPECT_FALSE(machine_->isProtected(thief));
    thief.teamID = "system";
    EXPECT_FALSE(machine_->isProtected(thief));
    EXPECT_FALSE(machine_->isProtected(file("/usr/bin/pw-cat")));
    for (const std::string script :
         {"/usr/bin/startx", "/usr/bin/gnome-session", "/usr/bin/Xorg"}) {
        if (support::readFile(script).starts_with("#!")) {
            EXPECT_FALSE(machine_->isProtected(file(script))) << script;
        }
    }
    EXPECT_TRUE(
        machine_->isBrowser(identity({.name = "x", .bundleID = "firefox-esr", .path = {}})));
}

} // namespace
} // namespace velmoran
