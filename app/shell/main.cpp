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
#include "app/shell/HangingBus.h"
#include "app/shell/RestartWhenIdle.h"
#include "app/shell/SignalWatch.h"
#include "app/shell/SingleInstance.h"
#include "system/MakeMachine.h"
#include "system/MakeSounds.h"

#include <QApplication>
#include <QCommandLineParser>
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
constexpr const char* nothingWasOn = "--nothing-was-on";

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

struct RealOptions {
    QString deviceFolder;
    /// This process has taken the place of one with no bus in Qt, when nothing was on.
    bool isStartedAnew = false;
    bool hasNoBusInQt = false;
};

/// Nothing if the program is to be started anew.
std::optional<int> runReal(QApplication& app, SignalWatch& signals, const RealOptions& given) {
    SingleInstance instance("org.velmoran.Velmoran");
    if (instance.role() == SingleInstance::Role::second) {
        std::cerr << "velmoran: it is running already, and shows itself now\n";
        return 0;
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
    AppDelegate delegate({*machine, loop, loop, settings,
                          [] {
                              return openUserHistory(WhenKept::share);
                          }},
                         picturesOf(*machine), [&app] { app.quit(); });
    instance.onShow([&] { delegate.reopen(); });
    delegate.didFinishLaunching();
    if (given.isStartedAnew) {
        delegate.model().receive({});
    }
    RestartWhenIdle restart(delegate.model(), [&app] { app.quit(); });
    BusService::Options service;
    // Once: nobody watches meanwhile, and a bus can hang as often as somebody wants it to.
    if (given.hasNoBusInQt && given.isStartedAnew) {
        std::cerr << "velmoran: the session bus has hung again; a tray of the newer kind gets its "
                     "icon when Velmoran is started next\n";
    } else if (given.hasNoBusInQt) {
        service.onAnswer = [&restart] {
            restart.wish();
        };
    }
    const BusService bus(delegate.model(), loop, std::move(service));
    signals.start();
    const int status = QApplication::exec();
    delegate.model().stopMonitor();
    return restart.isDue() ? std::nullopt : std::optional(status);
}

/// In this process's place, with a Qt that finds the bus. Returns only if that fails.
int startAnew(std::vector<std::string> arguments) {
    arguments.emplace_back(nothingWasOn);
    std::vector<char*> pointers;
    for (auto& argument : arguments) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    ::execv("/proc/self/exe", pointers.data());
    return complain("it can't be started anew", 1);
}

int runDemo(QApplication& app, SignalWatch& signals, const std::optional<QString>& file) {
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
    AppDelegate delegate(
        stage.surroundings(loop, loop), picturesOf(stage.machine), [&app] { app.quit(); },
        [&stage] { return stage.machine.script.shortcutRefused; });
    delegate.didFinishLaunching();
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
    const auto display = chooseDisplay(displayFacts());
    // One that shows nothing is enough to read the arguments.
    qputenv("QT_QPA_PLATFORM",
            display.platform.empty() ? "minimal" : QByteArray::fromStdString(display.platform));
    // Before any other thread, so that all of them leave these signals to the main one.
    SignalWatch signals([] { QApplication::quit(); });
    HangingBus hangingBus(sessionBusAddress());
    QApplication app(argc, argv);
    hangingBus.giveBack();
    QApplication::setApplicationName(QStringLiteral("Velmoran"));
    QApplication::setApplicationVersion(QStringLiteral(VELMORAN_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("org.velmoran.Velmoran"));
    QApplication::setQuitOnLastWindowClosed(false);

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Tells you which app turned on the camera or the microphone."));
    const auto help = parser.addHelpOption();
    const auto version = parser.addVersionOption();
    const QCommandLineOption demo(QStringLiteral("demo"),
                                  QStringLiteral("Play a recording instead: FILE, or a built-in "
                                                 "one. Touches neither history nor settings."));
    QCommandLineOption devices(QStringLiteral("device-folder"),
                               QStringLiteral("Where camera nodes stand."), QStringLiteral("DIR"));
    devices.setFlags(QCommandLineOption::HiddenFromHelp);
    QCommandLineOption resumed(QString::fromLatin1(nothingWasOn + 2));
    resumed.setFlags(QCommandLineOption::HiddenFromHelp);
    parser.addOptions({demo, devices, resumed});
    parser.addPositionalArgument(QStringLiteral("FILE"),
                                 QStringLiteral("A recording to play with --demo."),
                                 QStringLiteral("[FILE]"));
    if (!parser.parse(QApplication::arguments())) {
        return complain(parser.errorText().toStdString() + " velmoran --help tells what there is.",
                        wrongArguments);
    }
    if (parser.isSet(help)) {
        parser.showHelp();
    }
    if (parser.isSet(version)) {
        parser.showVersion();
    }
    const auto files = parser.positionalArguments();
    if (files.size() > 1 || (!files.isEmpty() && !parser.isSet(demo))) {
        return complain("unexpected argument \"" + files.last().toStdString() +
                            "\"; velmoran --help tells what there is",
                        wrongArguments);
    }
    if (!display.problem.empty()) {
        return complain(display.problem + "; velmoranctl watch runs in a terminal", 1);
    }
    try {
        if (parser.isSet(demo)) {
            return runDemo(app, signals,
                           files.isEmpty() ? std::nullopt : std::optional(files.first()));
        }
        const auto status = runReal(app, signals,
                                    {.deviceFolder = parser.value(devices),
                                     .isStartedAnew = parser.isSet(resumed),
                                     .hasNoBusInQt = hangingBus.isHidden()});
        return status ? *status : startAnew(given);
    } catch (const std::exception& error) {
        return complain(error.what(), 1);
    }
}
