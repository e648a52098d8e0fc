// The text of the desktop entry by which a desktop starts the program at login, as the Desktop
// Entry and Autostart specifications of freedesktop.org have it. Pure.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace velmoran {

/// An entry that starts that program with these arguments. The path is absolute.
std::string autostartText(const std::string& program, const std::string& arguments);
/// One that starts nothing, for where another folder's entry of the same name would.
std::string hiddenAutostartText();

/// Whether a desktop that calls itself so (as in XDG_CURRENT_DESKTOP) starts something by this
/// entry. `canRun` says it of a program's name or path.
bool startsSomething(std::string_view text, std::string_view desktop,
                     const std::function<bool(const std::string& program)>& canRun);

} // namespace velmoran
