// One desktop entry: what an app calls itself, what it looks like and how it is started
// (freedesktop.org's Desktop Entry Specification). A plain value; reading one is a pure function of
// its text and the language of the process.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmoran {

struct DesktopEntry {
    std::string id;        ///< "org.example.App", from the file's name; set by whoever reads files
    std::string name;      ///< in the user's language
    std::string plainName; ///< in none
    std::optional<std::string> icon;    ///< a name of the icon theme, or an absolute path
    std::vector<std::string> command;   ///< without "env", variables and the fields for files
    std::optional<std::string> tryExec; ///< the program that must be there
    std::optional<std::string> flatpak; ///< "X-Flatpak": the id of the flatpak that it starts
    std::optional<std::string> snap;    ///< "X-SnapInstanceName": the snap's name
    std::vector<std::string> schemes;   ///< "x-scheme-handler/…" among its types, without that
    bool isHidden = false;              ///< "Hidden" or "NoDisplay": names all the same

    bool operator==(const DesktopEntry&) const = default;
};

/// Nothing unless it is an application with a name in UTF-8. A command that can't be read is empty.
std::optional<DesktopEntry> parseDesktopEntry(std::string_view text);

/// The arguments of an `Exec` value, its first being the program: "env" with its options and
/// variables at the front are gone, and so are the fields for files, icon and name; "%%" is "%".
/// Empty if the quoting is wrong.
std::vector<std::string> parseExec(const std::string& exec);

} // namespace velmoran
