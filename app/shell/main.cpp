// velmoran: the program in the tray.
#include "app/bus/BusService.h"
#include "app/look/AppPicture.h"
#include "app/qtbase/QtEventLoop.h"
#include "app/qtbase/QtSettingsFile.h"
#include "app/qtbase/StandardStreams.h"
#include "app/qtbase/SystemWords.h"
#include "app/qtbase/UserHistory.h"
#include "app/replay/RecordingPlayer.h"
#include "app/shell/AppDelegate.h"
#include "app/shell/DisplayChoice.h"
#include "app/shell/DisplayLoss.h"
#include "app/shell/HangingBus.h"
#include "app/shell/OwnFile.h"
#include "app/shell/ProgramOptions.h"
#include "app/shell/QtOnWayland.h"
#include "app/shell/RestartWhenIdle.h"
#include "app/shell/SignalWatch.h"
#include "app/shell/SingleInstance.h"
#include "app/shell/WaitForDisplay.h"
#include "app/shell/login/AutostartEntry.h"
#include "app/shell/login/UserUnit.h"
#include "app/shell/surface/X11Window.h"
#include "system/MakeMachine.h"
#include "system/MakeSounds.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QFile>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using namespace velmoran;

constexpr int wrongArguments = 2;

int complain(const std::string& what, int status) {
    std::cerr << "velmoran: " << what << '\n';
    return status;
}

AppPicture picturesOf(Machine& machine) {
    return appPictures([&machine](const AppRef& app) { return machine.iconName(app); });
}

std::string nameOf(const PeerProgram& program) {
    const auto process = " (process " + std::to_string(program.pid) + ')';
    return program.path ? *program.path + process
                        : "a program that can't be looked at" + (program.pid > 0 ? process : "");
}

/// Nobody else keeps Velmoran from running, but somebody should know who tries to.
void sayWhoIsInTheWay(const SingleInstance& instance) {
    for (const auto& [program, isVelmoran] : instance.obstacles()) {
        std::cerr << "velmoran: "
                  << (isVelmoran ? "the Velmoran that runs already doesn't answer, " +
                                       nameOf(program) + "; this one runs beside it\n"
                                 : nameOf(program) + " has taken Velmoran's place and isn't "
                                                     "Velmoran; this one runs all the same\n");
    }
}

/// What begins in this process's place when this program has ended.
enum class Next { nothing, again, againUnnoticed, afterLoss, afterAnotherLoss };

/// A display that goes within this time, and went before, goes by what is done there.
constexpr std::chrono::seconds soon(10);

struct End {
    int status = 0;
    Next next = Next::nothing;
    std::optional<std::string> show = {}; ///< what the next one is asked for
};

/// Also where the session is brought back in which the program ran.
bool isLoginStart(const ProgramOptions& given) {
    return given.isLoginStart || qGuiApp->isSessionRestored();
}

/// What the first start is told, which shows it in our place.
std::string wishOf(const ProgramOptions& given) {
    return Wish{.window = given.show ? *given.show
                                     : std::string(isLoginStart(given) ? AppDelegate::nothing : ""),
                .token = qgetenv("XDG_ACTIVATION_TOKEN").toStdString()}
        .text();
}

/// A tray of the other kind gets the icon from a program that is started anew: nobody watches for
/// about as long as that takes, so it isn't done as often as somebody might want it.
void followTray(StatusItemController& item, RestartWhenIdle& restart, QtEventLoop& loop,
                bool isStartedAnew) {
    constexpr qint64 atMostEvery = 600'000;
    QDeadlineTimer earliest(isStartedAnew ? atMostEvery : 0);
    auto later = std::make_shared<Subscription>();
    item.onStranded = [&restart, &loop, earliest, later] {
        const auto wait = static_cast<double>(earliest.remainingTime()) / 1000;
        *later = loop.after(wait, [&restart] { restart.wish(); });
    };
    item.onReached = [&restart, later] {
        later->reset();
        restart.withdraw();
    };
}

End runReal(QApplication& app, SignalWatch& signals, const ProgramOptions& given,
            const DesktopAbilities& desktop, bool hasNoBusInQt) {
    SingleInstance instance("org.velmoran.Velmoran", wishOf(given));
    if (instance.role() == SingleInstance::Role::second) {
        std::cerr << "velmoran: it is running already, and shows itself now\n";
        return {};
    }
    sayWhoIsInTheWay(instance);
    QtEventLoop loop;
    QtSettingsFile settings;
    setSystemWords(settings, thisPlatform());
    followSystemZone();
    MachineOptions options;
    options.sounds = makeSounds();
    if (!given.deviceFolder.isEmpty()) {
        options.deviceFolder = given.deviceFolder.toStdString();
    }
    const auto machine = makeMachine(std::move(options));
    AutostartEntry loginItem(QApplication::applicationFilePath(),
                             QString::fromLatin1(ProgramOptions::loginStart), desktop.names);
    const OwnFile ownFile(QFile::encodeName(QApplication::applicationFilePath()).toStdString());
    End end;
    auto& next = end.next;
    AppDelegate delegate({*machine, loop, loop, settings,
                          [] {
                              return openUserHistory(WhenKept::share);
                          }},
                         picturesOf(*machine),
                         {.quit = [&app] { app.quit(); },
                          .relaunch =
                              [&app, &next] {
                                  next = Next::again;
                                  app.quit();
                              },
                          .loginItem = &loginItem},
                         desktop);
    instance.onShow([&](const std::string& text) {
        const auto wish = Wish::from(text);
        const bool isBusy = delegate.model().isBusyStopping() || delegate.model().historyIsBehind();
        // Who starts the program has a display, which may be the one that went.
        if (given.hasLostDisplay && WaitForDisplay::isBlind() && !isBusy) {
            next = Next::afterLoss;
            if (wish.window != AppDelegate::nothing) {
                AppDelegate::takeToken(wish);
                end.show = AppDelegate::windowFor(wish.window);
            }
            app.quit();
            return;
        }
        // After an upgrade who starts the program wants the new one.
        if (wish.window != AppDelegate::nothing && ownFile.isReplaced() && !isBusy) {
            AppDelegate::takeToken(wish);
            next = Next::again;
            end.show = AppDelegate::windowFor(wish.window);
            app.quit();
            return;
        }
        delegate.reopen(wish);
    });
    delegate.didFinishLaunching({.isLogin = isLoginStart(given),
                                 .isUnasked = given.isStartedAnew,
                                 .show = given.show,
                                 .showWindow = given.showWindow});
    if (given.isStartedAnew) {
        delegate.model().receive({});
    }
    RestartWhenIdle restart(
        delegate.model(), [&delegate] { return delegate.isLookedAt(); },
        [&app, &next] {
            next = Next::againUnnoticed;
            app.quit();
        });
    delegate.screens().windows().onClosed = [&restart] {
        restart.lookAgain();
    };
    delegate.statusItem()->onPanelClosed = [&loop, &restart] {
        // Later, since what closes it may be about to open a window.
        loop.post([&restart] { restart.lookAgain(); });
    };
    std::optional<WaitForDisplay> display;
    if (given.hasLostDisplay && desktop.notices == NoticeForm::byDesktop) {
        const auto wait = std::chrono::seconds(given.hasLostAnother ? 60 : 0);
        display.emplace(delegate.model(), sessionBusAddress(), wait, [&app, &next](bool isBack) {
            // What is on is told again then, where it can be seen. It may be gone by then.
            next = !isBack                     ? Next::nothing
                   : WaitForDisplay::isBlind() ? Next::afterLoss
                                               : Next::againUnnoticed;
            app.quit();
        });
    }
    BusService::Options service;
    // Once: nobody watches meanwhile, and a bus can hang as often as somebody wants it to.
    if (hasNoBusInQt && given.isStartedAnew) {
        std::cerr << "velmoran: the session bus has hung again; a tray of the newer kind gets its "
                     "icon when Velmoran is started next\n";
    } else if (hasNoBusInQt) {
        service.onAnswer = [&restart] {
            // A tray of the old kind needs no bus.
            if (!hasXembedTray()) {
                restart.wish();
            }
        };
    }
    followTray(*delegate.statusItem(), restart, loop, given.isStartedAnew);
    const BusService bus(delegate.model(), loop, std::move(service));
    signals.start();
    end.status = QApplication::exec();
    delegate.model().stopMonitor();
    return end;
}

std::vector<std::string> ownEnvironment() {
    std::vector<std::string> environment;
    for (char** each = environ; *each != nullptr; ++each) {
        environment.emplace_back(*each);
    }
    return environment;
}

bool isRunByUserUnit(const std::vector<std::string>& environment) {
    const UserUnit unit(QFile::encodeName(QApplication::applicationFilePath()).toStdString(),
                        qgetenv("XDG_RUNTIME_DIR").toStdString());
    return unit.start(environment);
}

/// In this process's place, which leaves ours to the next one. Returns only if that fails.
int startAnew(std::vector<std::string> arguments, const End& end) {
    arguments = argumentsToRunAgain(arguments);
    if (end.next != Next::again) {
        arguments.emplace_back(ProgramOptions::nothingWasOn);
    }
    if (end.next == Next::afterLoss) {
        arguments.emplace_back(ProgramOptions::displayLost);
    } else if (end.next == Next::afterAnotherLoss) {
        arguments.emplace_back(ProgramOptions::displayLostAgain);
    }
    if (end.show) {
        arguments.emplace_back("--show=" + *end.show);
    }
    std::vector<char*> pointers;
    for (auto& argument : arguments) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    // A newer one, if this one's file has been replaced meanwhile.
    ::execv(QFile::encodeName(QApplication::applicationFilePath()).constData(), pointers.data());
    ::execv("/proc/self/exe", pointers.data());
    return complain("it can't be started anew", 1);
}

int runDemo(QApplication& app, SignalWatch& signals, const ProgramOptions& given,
            const DesktopAbilities& desktop) {
    const auto& file = given.recording;
    auto recording = file ? std::make_unique<std::ifstream>(file->toStdString(), std::ios::binary)
                          : builtInRecording();
    const std::string name = file ? file->toStdString() : "the built-in recording";
    if (!*recording) {
        return complain(name + " can't be opened", wrongArguments);
    }
    std::optional<RecordingPlayer> player;
    try {
        player.emplace(std::move(recording));
    } catch (const ReplayError& error) {
        std::cerr << name << ':' << error.line() << ": " << error.what() << '\n';
        return wrongArguments;
    }
    QtEventLoop loop;
    ReplayStage stage(player->beginning(), setSystemWords);
    const auto sounds = makeSounds();
    stage.machine.onSound = [&] {
        sounds->playWarning();
    };
    AppDelegate delegate(stage.surroundings(loop, loop), picturesOf(stage.machine),
                         {.quit = [&app] { app.quit(); },
                          .refusesShortcut =
                              [&stage] {
                                  return stage.machine.script.shortcutRefused;
                              }},
                         desktop);
    delegate.didFinishLaunching(
        {.isUnasked = true, .show = given.show, .showWindow = given.showWindow});
    signals.start();
    int status = 0;
    player->play(stage, delegate.model(), loop, loop,
                 [&](const std::optional<std::string>& problem) {
                     if (problem) {
                         std::cerr << name << ':' << *problem << '\n';
                         status = wrongArguments;
                     }
                     // A recording without a line ends before the loop has begun.
                     loop.post([] { QApplication::quit(); });
                 });
    QApplication::exec();
    return status;
}

} // namespace

int main(int argc, char** argv) {
    fillStandardStreams();
    const std::vector<std::string> given(argv, argv + argc);
    const auto environment = ownEnvironment(); // before it is changed for this process alone
    const auto facts = displayFacts();
    const auto isGiven = [&given](const char* option) {
        return std::find(given.begin(), given.end(), option) != given.end();
    };
    const bool hasLostDisplay = isGiven(ProgramOptions::displayLost);
    const auto display = isGiven(ProgramOptions::displayLostAgain) ? noDisplay()
                         : hasLostDisplay                          ? chooseDisplayAfterLoss()
                                                                   : chooseDisplay(facts);
    const QDeadlineTimer known(soon);
    const bool isOnWayland = display.platform.starts_with("wayland");
    if (isOnWayland) {
        prepareQtForWayland();
    }
    // One that shows nothing is enough to read the arguments.
    qputenv("QT_QPA_PLATFORM",
            display.platform.empty() ? "minimal" : QByteArray::fromStdString(display.platform));
    // Before any other thread, so that all of them leave these signals to the main one.
    SignalWatch signals([] { QApplication::quit(); });
    HangingBus hangingBus(sessionBusAddress());
    // What is started from here, and what runs in this one's place, chooses for itself.
    const auto giveChoiceBack = [&] {
        hangingBus.giveBack();
        qputenv("QT_QPA_PLATFORM", QByteArray::fromStdString(facts.wanted));
    };
    // It may go already while Qt comes to it.
    onDisplayLoss([&] {
        std::cerr << "velmoran: the display has gone; Velmoran goes on with what there is\n";
        giveChoiceBack();
        const bool isAgain = hasLostDisplay && !known.hasExpired();
        (void)startAnew(given, {.next = isAgain ? Next::afterAnotherLoss : Next::afterLoss});
    });
    QApplication app(argc, argv);
    giveChoiceBack();
    if (isOnWayland) {
        settleQtOnWayland();
    }
    const DesktopAbilities desktop{.notices = display.notices,
                                   .handsOutKeys = isWaylandDesktop(facts, knowsTheMouse()),
                                   .names = facts.desktop};
    QApplication::setApplicationName(QStringLiteral("Velmoran"));
    QApplication::setApplicationVersion(QStringLiteral(VELMORAN_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("org.velmoran.Velmoran"));
    QApplication::setQuitOnLastWindowClosed(false);

    const auto options = ProgramOptions::from(QApplication::arguments());
    if (!options.error.isEmpty()) {
        return complain(options.error.toStdString(), wrongArguments);
    }
    if (options.task == ProgramOptions::Task::help) {
        std::fputs(options.help.toLocal8Bit().constData(), stdout);
        return 0;
    }
    if (options.task == ProgramOptions::Task::version) {
        std::puts("Velmoran " VELMORAN_VERSION);
        return 0;
    }
    if (!display.problem.empty()) {
        return complain(display.problem + "; velmoranctl watch runs in a terminal", 1);
    }
    try {
        if (options.task == ProgramOptions::Task::demo) {
            return runDemo(app, signals, options, desktop);
        }
        if (options.canBeHandedOver && isRunByUserUnit(environment)) {
            return 0;
        }
        const auto end = runReal(app, signals, options, desktop, hangingBus.isHidden());
        return end.next == Next::nothing ? end.status : startAnew(given, end);
    } catch (const std::exception& error) {
        return complain(error.what(), 1);
    }
}
