// Which of Qt's platforms the program runs on: decided before Qt is started, which would end the
// process with a core dump where it finds none. X comes first, since cards have to be placed and to
// stay on top, which a Wayland compositor leaves to no program. Values; made once, by `main`.
#pragma once

#include <functional>
#include <string>

namespace velmoran {

/// What the choice rests on. What is asked last costs most, so it is asked only if it matters.
struct DisplayFacts {
    std::string wanted;         ///< QT_QPA_PLATFORM: names in order, apart by ";"; may be empty
    std::string xDisplay;       ///< DISPLAY
    std::string waylandDisplay; ///< WAYLAND_DISPLAY; "wayland-0" where only a wish names it
    std::function<bool()> xAnswers;
    std::function<bool()> waylandAnswers;
    /// Whether Qt has a plug-in for the platform of that name.
    std::function<bool(const std::string&)> hasPlatform;
};

struct DisplayChoice {
    std::string platform; ///< as QT_QPA_PLATFORM takes it; empty: nothing can be shown
    std::string problem;  ///< why, for the person; empty with a platform

    bool operator==(const DisplayChoice&) const = default;
};

/// The first of the wanted platforms that works, else X, else Wayland. Platforms that need neither
/// are taken at their word.
DisplayChoice chooseDisplay(const DisplayFacts& facts);

/// Of the environment. The servers get three seconds each to say a word. Before any other thread is
/// there, since a process of its own asks the X server.
DisplayFacts displayFacts();

} // namespace velmoran
