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

int runReal(QApplication& app, SignalWatch& signals, const QString& deviceFolder) {
    SingleInstance instance("org.velmoran.Velmoran");
    if (instance.role() == SingleInstance::Role::second) {
        std::cerr << "velmoran: it is running already, and shows itself now\n";
        return 0;
    }
    QtEventLoop loop;
    QtSettingsFile settings;
    setSystemWords(settings, thisPlatform());
    followSystemZone();
    MachineOptions options;
    options.sounds = makeSounds();
    if (!deviceFolder.isEmpty()) {
        options.deviceFolder = deviceFolder.toStdString();
    }
    const auto machine = makeMachine(std::move(options));
    AppDelegate delegate({*machine, loop, loop, settings,
                          [] {
                              return openUserHistory(WhenKept::share);
                          }},
                         picturesOf(*machine), [&app] { app.quit(); });
    instance.onShow([&] { delegate.reopen(); });
    delegate.didFinishLaunching();
    const BusService bus(delegate.model(), loop);
    signals.start();
    const int status = QApplication::exec();
    delegate.model().stopMonitor();
    return status;
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
    const auto display = chooseDisplay(displayFacts());
    // One that shows nothing is enough to read the arguments.
    qputenv("QT_QPA_PLATFORM",
            display.platform.empty() ? "minimal" : QByteArray::fromStdString(display.platform));
    // Before any other thread, so that all of them leave these signals to the main one.
    SignalWatch signals([] { QApplication::quit(); });
    QApplication app(argc, argv);
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
    parser.addOptions({demo, devices});
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
        return runReal(app, signals, parser.value(devices));
    } catch (const std::exception& error) {
        return complain(error.what(), 1);
    }
}
