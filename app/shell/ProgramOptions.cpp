#include "app/shell/ProgramOptions.h"

#include <QCommandLineParser>
#include <algorithm>
#include <string_view>

namespace velmoran {

namespace {

const QString showKey = QStringLiteral("show");
const QString showWindowKey = QStringLiteral("showWindow");

QString named(const char* option) {
    return QString::fromLatin1(option + 2);
}

QCommandLineOption hidden(const QString& name, const QString& value = {}) {
    QCommandLineOption option(name, QString(), value);
    option.setFlags(QCommandLineOption::HiddenFromHelp);
    return option;
}

/// Of an option that says what one start shows, or which session of the desktop it belongs to: what
/// runs again is neither shown that nor brought back.
bool isForOneStart(std::string_view option) {
    return option == "show" || option == "showWindow" || option == "session";
}

} // namespace

ProgramOptions ProgramOptions::from(const QStringList& arguments) {
    QCommandLineParser parser;
    // "-showWindow history" is how settings are given to one start.
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    parser.setApplicationDescription(
        QStringLiteral("Tells you which app turned on the camera or the microphone."));
    const auto help = parser.addHelpOption();
    const auto version = parser.addVersionOption();
    const QCommandLineOption demo(QStringLiteral("demo"),
                                  QStringLiteral("Play a recording instead: FILE, or a built-in "
                                                 "one. Touches neither history nor settings."));
    const QCommandLineOption show(
        showKey,
        QStringLiteral("Show a window, of the Velmoran that runs already if there is one: "
                       "\"main\", \"history\" or \"settings\"."),
        QStringLiteral("WINDOW"));
    const auto showWindow = hidden(showWindowKey, QStringLiteral("WINDOW"));
    const auto devices = hidden(QStringLiteral("device-folder"), QStringLiteral("DIR"));
    const auto resumed = hidden(named(nothingWasOn));
    const auto login = hidden(named(loginStart));
    const auto lost = hidden(named(displayLost));
    const auto lostAgain = hidden(named(displayLostAgain));
    const auto unit = hidden(named(unitStart));
    parser.addOptions({demo, show, showWindow, devices, resumed, login, lost, lostAgain, unit});
    parser.addPositionalArgument(QStringLiteral("FILE"),
                                 QStringLiteral("A recording to play with --demo."),
                                 QStringLiteral("[FILE]"));

    ProgramOptions options;
    const auto refuse = [&options](const QString& what) {
        options.error = what;
        return options;
    };
    const auto tells = QStringLiteral(" velmoran --help tells what there is.");
    if (!parser.parse(arguments)) {
        return refuse(parser.errorText() + tells);
    }
    options.help = parser.helpText();
    // Qt gives itself a second help, for its own options.
    const bool wantsHelp = parser.isSet(help) || parser.isSet(QStringLiteral("help-all"));
    if (wantsHelp || parser.isSet(version)) {
        options.task = wantsHelp ? Task::help : Task::version;
        return options;
    }
    const auto files = parser.positionalArguments();
    if (files.size() > 1 || (!files.isEmpty() && !parser.isSet(demo))) {
        return refuse(QStringLiteral("unexpected argument \"%1\";").arg(files.last()) +
                      tells.chopped(1));
    }
    if (parser.isSet(show)) {
        const auto wanted = parser.value(show);
        if (wanted != QLatin1String("main") && wanted != QLatin1String("history") &&
            wanted != QLatin1String("settings")) {
            return refuse(QStringLiteral("there is no window \"%1\";").arg(wanted) +
                          tells.chopped(1));
        }
        options.show = wanted.toStdString();
    }
    if (parser.isSet(showWindow)) {
        options.showWindow = parser.value(showWindow).toStdString();
    }
    options.task = parser.isSet(demo) ? Task::demo : Task::run;
    if (!files.isEmpty()) {
        options.recording = files.first();
    }
    options.deviceFolder = parser.value(devices);
    options.isLoginStart = parser.isSet(login) || parser.isSet(unit);
    options.canBeHandedOver = parser.isSet(login) && arguments.size() == 2;
    options.isStartedAnew = parser.isSet(resumed);
    options.hasLostAnother = parser.isSet(lostAgain);
    options.hasLostDisplay = parser.isSet(lost) || options.hasLostAnother;
    return options;
}

std::vector<std::string> argumentsToRunAgain(const std::vector<std::string>& arguments) {
    std::vector<std::string> kept;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const auto& each = arguments[i];
        if (i == 0 || !each.starts_with('-')) {
            kept.push_back(each);
            continue;
        }
        const auto name = each.substr(std::min(each.size(), each.find_first_not_of('-')));
        if (isForOneStart(name)) {
            ++i; // its value comes after it
        } else if (!isForOneStart(name.substr(0, name.find('='))) &&
                   each != ProgramOptions::loginStart && each != ProgramOptions::unitStart &&
                   each != ProgramOptions::nothingWasOn && each != ProgramOptions::displayLost &&
                   each != ProgramOptions::displayLostAgain) {
            kept.push_back(each);
        }
    }
    return kept;
}

} // namespace velmoran
