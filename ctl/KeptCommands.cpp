#include "ctl/KeptCommands.h"

#include "ctl/Choices.h"
#include "ctl/Reports.h"

namespace velmoran {

namespace {

constexpr const char* jsonHelp = "Print JSON for other programs instead";

/// What the parser would take for an option that wasn't given. True if one is empty.
bool complainOfEmpty(const CLI::App& command) {
    for (const auto* option : command.get_options()) {
        if (option->count() > 0 && option->get_expected_max() > 0 &&
            option->results().front().empty()) {
            std::cerr << "velmoranctl: " << option->get_name() << " is empty.\n";
            return true;
        }
    }
    return false;
}

} // namespace

KeptCommands::KeptCommands(CLI::App& app) {
    addHistory(app);
    addReports(app);
    addTrust(app);
    addSettings(app);
    for (auto* command : {trust_, settings_}) {
        for (auto* part : command->get_subcommands({})) {
            part->group("Commands");
        }
    }
}

void KeptCommands::addHistory(CLI::App& app) {
    history_ =
        app.add_subcommand("history", "Print what was in use, when, for how long and by whom");
    history_
        ->add_option("--device", historyOptions_.device, "Only the camera, microphone or speaker")
        ->type_name("DEVICE");
    history_->add_option("--app", historyOptions_.app, "Only the app of that id, path or name")
        ->type_name("ID");
    history_->add_option("--since", historyOptions_.since, "Only what was on at T or after it")
        ->type_name("T");
    history_->add_option("--until", historyOptions_.until, "Only what began before T")
        ->type_name("T");
    auto* json = history_->add_flag("--json", json_, "Print JSON Lines for other programs");
    history_->add_flag("--csv", csv_, "Print CSV for spreadsheets")->excludes(json);
    history_->footer(
        "The newest use stands last. Each device of an app has a line of its own, with all that "
        "the\n"
        "history keeps, also what the windows hide: its beginning in your time, its length, the\n"
        "device, whether it was stopped, warned of or trusted, and the app.\n\n"
        "T is a date (2026-11-22) for its beginning, a date and time (2026-11-22T10:00, with "
        "seconds\n"
        "and a zone if you like: 2026-11-22T10:00:00+01:00), a time of today (10:00), now, today,\n"
        "yesterday, or so long ago: 90s, 30m, 2h, 7d, 2w.\n\n"
        "With --json one object a line: \"id\", \"device\", \"app\": {\"id\", \"name\", \"path\" "
        "…}, "
        "\"start\",\n"
        "\"end\", \"seconds\", \"open\" (it goes on), \"outcome\" (\"endedNormally\", "
        "\"stoppedByUser\",\n"
        "\"endUnknown\"), \"warningLevel\" (\"quiet\", \"standard\", \"strong\"), "
        "\"seenFromStart\" (false if the\n"
        "use is older than \"start\") and \"connections\": whom the app talked to meanwhile. Times "
        "have\n"
        "their zone: 2026-11-22T10:00:00.000+01:00. What isn't known is left out.\n\n"
        "With --csv the same without the connections, in UTF-8 with the mark by which "
        "spreadsheets\n"
        "know that. A name that one would take for a formula begins with an apostrophe.\n\n"
        "Reads the history's file and changes nothing; Velmoran may run or not.\n\n"
        "Exit status: 0, 1 if there is no history or it can't be read, 2 for what can't be\n"
        "understood, 4 if the output can't be written or its reader has gone.");
}

void KeptCommands::addReports(CLI::App& app) {
    reports_ = app.add_subcommand("reports", "Print what happened while the screen was locked");
    reports_->add_flag("--json", json_, "Print JSON Lines for other programs");
    reports_->footer(
        "The newest report stands last, and the one that is being written as far as it is. There "
        "is a\n"
        "report for each time in which the screen was locked, the setting awayWatchOnLock was on "
        "and\n"
        "something happened.\n\n"
        "With --json one object a line: \"id\", \"start\", \"end\" (left out while the watch "
        "is on),\n"
        "\"slept\" (the computer slept meanwhile, and nothing was noticed then), \"events\" and\n"
        "\"ownReturn\", which is what was probably you, coming back: arrays of {\"id\", "
        "\"kind\", \"time\",\n"
        "\"detail\", \"title\"}. \"kind\" is keyboardUsed, mouseUsed, lidOpened, lidClosed, "
        "lidMoved,\n"
        "powerConnected, powerRemoved, devicePluggedIn, wokeUp, cameraUsed or microphoneUsed;\n"
        "\"detail\" is the name of a device or app, or the lid's degrees before and after. Times "
        "have\n"
        "their zone: 2026-11-22T10:00:00.000+01:00.\n\n"
        "Reads the history's file and changes nothing; Velmoran may run or not.\n\n"
        "Exit status: 0, 1 if there is no history or it can't be read, 4 if the output can't be\n"
        "written or its reader has gone.");
}

void KeptCommands::addTrust(CLI::App& app) {
    trust_ = app.add_subcommand("trust", "Print which apps are trusted, or take trust back");
    trust_->add_flag("--json", json_, jsonHelp);
    trust_->footer(
        "Trust is given on the screen alone. Where no Velmoran runs, its settings file is read "
        "and\n"
        "written.\n\n"
        "With --json an array of {\"app\": {\"id\", \"name\" …}, \"device\", \"kind\": "
        "\"trusted\", \"alwaysWarn\" or\n"
        "\"trustedAlwaysWarn\"}.\n\n"
        "Exit status: 0, 1 if Velmoran doesn't answer or the settings can't be read or written, 2\n"
        "for an app that isn't trusted or isn't the only one of that name, 3 if there were too "
        "many\n"
        "requests, 4 if it is done and that couldn't be written.");
    trust_->require_subcommand(0, 1);
    auto* list = trust_->add_subcommand("list", "Print the apps with their devices; the default");
    list->add_flag("--json", json_, jsonHelp);
    trustRemove_ = trust_->add_subcommand("remove", "Trust an app no longer");
    trustRemove_->add_option("APP", app_, "The app, by its id, path or name")
        ->required()
        ->type_name("");
    trustRemove_->add_option("--device", device_, "Only with the camera or the microphone")
        ->type_name("DEVICE");
    trustRemove_->footer("From its next use on the app is told of again. What is to be warned of "
                         "always\nstays so.");
}

void KeptCommands::addSettings(CLI::App& app) {
    settings_ = app.add_subcommand("settings", "Print the settings, or change one");
    settings_->add_flag("--json", json_, jsonHelp);
    settings_->footer(
        "The Velmoran that is running changes them, with what that means, and a watch tells of "
        "it.\n"
        "Where none runs they are read from its file and written there.\n\n"
        "Exit status: 0, 1 if Velmoran doesn't answer or the settings can't be written, 2 for a\n"
        "setting or value that there isn't, 3 if there were too many requests, 4 if it is done "
        "and\n"
        "that couldn't be written.");
    settings_->require_subcommand(0, 1);
    auto* list = settings_->add_subcommand("list", "Print all, and what each can be; the default");
    list->add_flag("--json", json_, jsonHelp);
    settingsGet_ = settings_->add_subcommand("get", "Print one");
    settingsGet_->add_option("NAME", name_, "The setting")->required()->type_name("");
    settingsSet_ = settings_->add_subcommand("set", "Change one");
    settingsSet_->add_option("NAME", name_, "The setting")->required()->type_name("");
    settingsSet_->add_option("VALUE", value_, "What it is to be")->required()->type_name("");
    settingsSet_->footer("A shorter retentionDays deletes at once what is older. A language holds "
                         "from the\nnext start on.");
}

std::optional<int> KeptCommands::run(const AskOptions& asking) {
    if (*history_) {
        if (complainOfEmpty(*history_)) {
            return AskEnd::wrongRequest;
        }
        historyOptions_.form = json_ ? LineForm::json : csv_ ? LineForm::csv : LineForm::table;
        return printHistory(historyOptions_, asking);
    }
    if (*reports_) {
        return printReports(json_, asking);
    }
    if (*trust_) {
        if (*trustRemove_) {
            return complainOfEmpty(*trustRemove_) ? int{AskEnd::wrongRequest}
                                                  : removeTrust(app_, device_, asking);
        }
        return listTrust(json_, asking);
    }
    if (*settings_) {
        return *settingsGet_   ? printSetting(name_, asking)
               : *settingsSet_ ? changeSetting(name_, value_, asking)
                               : listSettings(json_, asking);
    }
    return std::nullopt;
}

} // namespace velmoran
