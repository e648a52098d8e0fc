// The name of a program by its file, as its makers gave it. Pure; any thread.
#pragma once

#include <string_view>

namespace velmoran {

/// The name of the file at an absolute path on a Linux system. In the stores of Nix and Guix a
/// program that needs an environment of its own is moved aside, some more than once, and a script
/// has its name: there ".NAME-wrapped", also with underscores behind it, and ".NAME-real" are NAME.
std::string_view programName(std::string_view path);

} // namespace velmoran
