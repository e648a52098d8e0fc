// Which of its arguments an interpreter runs. Trust in one script must not be trust in all that
// the interpreter could run, so such a program is named by its script. Pure functions of file
// names and arguments; any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmoran {

/// Whether a program of that path or file name runs other programs as text or byte code: Python,
/// Node, Perl, Ruby, Java, Wine, Electron, shells and the like, with or without a version behind
/// the name; the dynamic loader, which runs any program that it is given; and PipeWire, which does
/// what its configuration says.
bool isInterpreter(std::string_view program);
/// "ld-linux-x86-64.so.2" and its kind.
bool isDynamicLoader(std::string_view program);

/// Whether it does nothing but start or show others: `env`, `flatpak`, `xdg-open`, `sudo` … Says
/// nothing of the app when a desktop entry begins with it.
bool isLauncher(std::string_view program);

/// The argument that names the script, archive or program, as it stands there: often relative, a
/// Windows path with Wine. Nothing when the code comes from elsewhere ("-c", "-m", "-e", standard
/// input, a Java class) or none is named. `arguments` begin with the program's own name.
std::optional<std::string> scriptArgument(std::string_view program,
                                          const std::vector<std::string>& arguments);

/// Whether it is a path of Wine's, "C:\\…".
bool isWindowsPath(std::string_view argument);

} // namespace velmoran
