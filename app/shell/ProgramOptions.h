// What the program was asked for when it was started. A plain value.
#pragma once

#include <QString>
#include <QStringList>
#include <optional>
#include <string>
#include <vector>

namespace velmoran {

struct ProgramOptions {
    enum class Task { run, demo, help, version };

    Task task = Task::run;
    std::optional<QString> recording; ///< to play, if it isn't the built-in one
    QString deviceFolder;             ///< where camera nodes stand, if not in the usual place
    /// "main", "history" or "settings": in place of the window that comes first.
    std::optional<std::string> show;
    /// The same, beside that window and of any text; goes before the setting of that name.
    std::optional<std::string> showWindow;
    bool isLoginStart = false;
    /// The desktop has started it at login, by nothing but that: the user's systemd may do it
    /// instead.
    bool canBeHandedOver = false;
    /// This process has taken the place of one with no bus in Qt, when nothing was on.
    bool isStartedAnew = false;
    bool hasLostDisplay = false; ///< this process has taken the place of one whose display went
    bool hasLostAnother =
        false; ///< and of one before, shortly before: it goes by what is done there
    QString help;
    QString error; ///< empty if there is none; then nothing else counts

    /// The first argument is the program's name.
    static ProgramOptions from(const QStringList& arguments);

    /// By which the desktop says that it is the login that starts the program.
    static constexpr const char* loginStart = "--login-start";
    /// The same from the user's systemd.
    static constexpr const char* unitStart = "--unit-start";
    static constexpr const char* nothingWasOn = "--nothing-was-on";
    static constexpr const char* displayLost = "--display-lost";
    static constexpr const char* displayLostAgain = "--display-lost-again";
};

/// What a start with these arguments is begun anew with: those that say how the program runs,
/// without those that say what it should show at once.
std::vector<std::string> argumentsToRunAgain(const std::vector<std::string>& arguments);

} // namespace velmoran
