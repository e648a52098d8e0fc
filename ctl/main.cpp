// velmoranctl: Velmoran without a desktop.
#include "app/qtbase/StandardStreams.h"
#include "app/replay/Replay.h"
#include "app/translations/Catalogues.h"
#include "ctl/Ask.h"
#include "ctl/KeptCommands.h"
#include "ctl/Output.h"
#include "ctl/Watch.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

namespace {

constexpr int wrongArguments = 2;

/// Of what the argument parser has printed in place of a command.
int endOfHelp() {
    std::cout.flush();
    if (std::cout) {
        return 0;
    }
    std::cerr << "velmoranctl: the output can't be written\n";
    return velmoran::AskEnd::unsaid;
}

int replayFile(const std::string& path) {
    using namespace velmoran;
    Output output;
    const auto sink = [&](const std::string& line) {
        output.write(line);
    };
    int status = 0;
    if (path == "-") {
        status = runReplay(std::cin, path, sink, std::cerr, catalogues);
        // The stream takes a failure for the end.
        if (status == 0 && std::ferror(stdin) != 0) {
            std::cerr << path << ": it can't be read\n";
            status = ReplayStop::wrong;
        }
    } else {
        std::ifstream file(path, std::ios::binary);
        if (!file) {
            std::cerr << path << ": it can't be opened\n";
            return ReplayStop::wrong;
        }
        status = runReplay(file, path, sink, std::cerr, catalogues);
    }
    return status == 0 ? output.end() : status;
}

} // namespace

int main(int argc, char** argv) {
    velmoran::fillStandardStreams();
    CLI::App app("Tells which app turned on the camera or the microphone, without a desktop.",
                 "velmoranctl");
    app.set_version_flag("--version", "velmoranctl " VELMORAN_VERSION,
                         "Print the version and exit");
    app.set_help_flag("-h,--help", "Print this help and exit");
    app.failure_message([](const CLI::App*, const CLI::Error& error) {
        return "velmoranctl: " + std::string(error.what()) +
               "\nRun velmoranctl --help for more information.\n";
    });
    app.get_formatter()->label("SUBCOMMAND", "COMMAND");
    app.get_formatter()->label("REQUIRED", "");

    auto* watch = app.add_subcommand(
        "watch", "Print a line whenever an app turns the camera or the microphone on or off");
    watch->footer("Runs until Ctrl-C. What was seen is kept in the history, unless a Velmoran on\n"
                  "the desktop is keeping it already.");
    velmoran::WatchOptions options;
    watch->add_flag("--json", options.json,
                    "Print JSON Lines for other programs instead of sentences");
    auto* demo = watch->add_option("--demo", options.demoFile,
                                   "Play a recording instead of watching this computer: FILE, or "
                                   "the one that comes with the program");
    demo->expected(0, 1)->type_name("[FILE]");

    watch
        ->add_option("--device-folder", options.deviceFolder,
                     "Look for cameras in FOLDER instead of /dev")
        ->type_name("FOLDER");

    auto* replay = app.add_subcommand(
        "replay", "Print what Velmoran would have told of a recording, as JSON Lines");
    replay->footer("Time in a recording is virtual: hours take milliseconds, and every run gives\n"
                   "the same lines.\n\n"
                   "Exit status: 0 at the end of the recording, 1 if the output can't be written,\n"
                   "2 for a line that can't be read, 3 for a card or button that isn't on screen.");
    std::string file;
    replay->add_option("FILE", file, "The recording; - is standard input")
        ->required()
        ->type_name("");

    auto* stop = app.add_subcommand(
        "stop", "Mute the microphones and close the apps that use them or the camera");
    stop->footer(
        "APP is the id, name or path of an app that is using the camera or the microphone;\n"
        "without it everything is stopped. Waits until the stop has ended, and says what\n"
        "happened. The Velmoran that is running does it, and asks on its screen before it\n"
        "closes a browser.\n\n"
        "Exit status: 0 when everything is stopped, 1 if Velmoran isn't running or doesn't\n"
        "answer, 2 for an APP that isn't using either or isn't the only one of that name,\n"
        "3 if something couldn't be stopped, the user cancelled, or a stop was under way\n"
        "already, 4 if everything is stopped and that couldn't be written.");
    std::string stopped;
    auto* stoppedOption = stop->add_option("APP", stopped, "The app to stop")->type_name("");

    auto* unmute = app.add_subcommand("unmute", "Unmute the microphones that a stop has muted");
    unmute->footer(
        "What was muted before the stop stays muted.\n\n"
        "Exit status: 0 when they are unmuted or Velmoran has muted none, 1 if Velmoran\n"
        "isn't running or doesn't answer, 3 if a microphone couldn't be unmuted or the\n"
        "sound server didn't answer, 4 if they are unmuted and that couldn't be written.");

    auto* status = app.add_subcommand("status", "Print what is on, since when, and who uses it");
    status->footer(
        "With --json one object: \"cameraOn\", \"microphoneOn\", \"microphoneMuted\" (by "
        "Velmoran),\n"
        "\"stopping\" (a stop is under way), and \"uses\", an array of {\"device\": \"camera\",\n"
        "\"microphone\" or \"speaker\", \"app\": {\"id\", \"name\", \"path\"}, \"since\": seconds "
        "since\n"
        "1970-01-01 00:00:00 UTC, \"seenFromStart\": false if the use is older than that}. An app\n"
        "without a path has none. While the history can't be saved there is \"historyProblem\":\n"
        "{\"kind\": \"notOpened\" or \"notWritten\", \"reason\": the system's words}. If "
        "something\n"
        "has taken Velmoran's view of the sound system away there is \"sightTaken\": when it last\n"
        "did, in such seconds. \"onlyListeners\" are level meters, each like \"app\", where\n"
        "nobody else has the microphone. \"unwatched\" lists devices whose uses can't be seen\n"
        "now, and \"notWatching\": {\"from\", \"to\"} is the last time in which nothing was seen.\n"
        "\"awayWatchOn\" is there while an away watch is on; \"awayWatchCantBegin\" where one is "
        "wanted\n"
        "and nothing has announced yet that the screen is locked, \"awayWatchMissesInput\" where "
        "it\n"
        "can't tell that keyboard and mouse are used.\n\n"
        "Exit status: 0, 1 if Velmoran isn't running or doesn't answer, or 4 if the output\n"
        "can't be written.");
    std::string alsoVelmoran;
    app.add_option("--velmoran", alsoVelmoran, "Count FILE as Velmoran, too")->group("");
    bool json = false;
    status->add_flag("--json", json, "Print JSON for other programs instead of sentences");

    velmoran::KeptCommands kept(app);
    std::vector<CLI::App*> commands = {watch, replay, stop, unmute, status};
    for (auto* command : kept.all()) {
        commands.push_back(command);
    }
    for (auto* command : commands) {
        command->group("Commands");
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? endOfHelp() : wrongArguments;
    }
    if (*replay) {
        return replayFile(file);
    }
    const velmoran::AskOptions asking{argc, argv, alsoVelmoran};
    if (*stop) {
        if (stoppedOption->count() > 0 && stopped.empty()) {
            std::cerr << "velmoranctl: APP is empty.\n";
            return wrongArguments;
        }
        return velmoran::askToStop(stopped, asking);
    }
    if (*unmute) {
        return velmoran::askToUnmute(asking);
    }
    if (*status) {
        return velmoran::askForStatus(json, asking);
    }
    if (const auto ended = kept.run(asking)) {
        return *ended;
    }
    if (*watch) {
        options.demo = demo->count() > 0;
        options.velmoran = alsoVelmoran;
        return velmoran::runWatch(options, argc, argv);
    }
    std::cerr << "velmoranctl: A command is missing.\n\n" << app.help();
    return wrongArguments;
}
