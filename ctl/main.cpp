// velmoranctl: Velmoran without a desktop.
#include "app/replay/Replay.h"
#include "app/translations/Catalogues.h"
#include "ctl/Output.h"
#include "ctl/Watch.h"

#include <CLI/CLI.hpp>
#include <fstream>
#include <iostream>
#include <string>

namespace {

constexpr int wrongArguments = 2;

int replayFile(const std::string& path) {
    using namespace velmoran;
    Output output;
    const auto sink = [&](const std::string& line) {
        output.write(line);
    };
    if (path == "-") {
        return runReplay(std::cin, path, sink, std::cerr, catalogues);
    }
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        std::cerr << path << ": it can't be opened\n";
        return ReplayStop::wrong;
    }
    return runReplay(file, path, sink, std::cerr, catalogues);
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app("Tells which app turned on the camera or the microphone, without a desktop.",
                 "velmoranctl");
    app.set_version_flag("--version", "velmoranctl " VELMORAN_VERSION,
                         "Print the version and exit");
    app.set_help_flag("-h,--help", "Print this help and exit");
    app.failure_message(CLI::FailureMessage::simple);
    app.get_formatter()->label("SUBCOMMAND", "COMMAND");
    app.get_formatter()->label("Subcommands", "Commands");
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
                   "Exit status: 0 at the end of the recording, 2 for a line that can't be read,\n"
                   "3 for a card or button that isn't on screen, 4 for what this version can't "
                   "do yet.");
    std::string file;
    replay->add_option("FILE", file, "The recording; - is standard input")
        ->required()
        ->type_name("");

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : wrongArguments;
    }
    if (*replay) {
        return replayFile(file);
    }
    if (*watch) {
        options.demo = demo->count() > 0;
        return velmoran::runWatch(options, argc, argv);
    }
    std::cerr << "A command is missing.\n\n" << app.help();
    return wrongArguments;
}
