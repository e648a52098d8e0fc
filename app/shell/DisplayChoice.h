// Which of Qt's platforms the program runs on, and how notices are told there: decided before Qt is
// started, which would end the process with a core dump where it finds none. Cards have to be
// placed and to stay on top. A Wayland compositor lets a program do that by its layer-shell alone;
// the desktops that have it and X do it better by X. Values; made once, by `main`.
#pragma once

#include "app/shell/surface/DesktopAbilities.h"

#include <functional>
#include <string>

namespace velmoran {

/// What the choice rests on. What is asked last costs most, so it is asked only if it matters.
struct DisplayFacts {
    std::string wanted;         ///< QT_QPA_PLATFORM: names in order, apart by ";"; may be empty
    std::string xDisplay;       ///< DISPLAY
    std::string waylandDisplay; ///< WAYLAND_DISPLAY; "wayland-0" where only a wish names it
    std::string desktop;        ///< XDG_CURRENT_DESKTOP: names, apart by ":"
    std::string sessionType;    ///< XDG_SESSION_TYPE
    std::function<bool()> xAnswers;
    std::function<bool()> waylandAnswers;
    /// Whether cards can stand on layers of that compositor, and this program was built for it.
    std::function<bool()> hasLayers;
    /// Whether Qt has a plug-in for the platform of that name.
    std::function<bool(const std::string&)> hasPlatform;
};

struct DisplayChoice {
    std::string platform; ///< as QT_QPA_PLATFORM takes it; empty: nothing can be shown
    std::string problem;  ///< why, for the person; empty with a platform
    NoticeForm notices = NoticeForm::placed;

    bool operator==(const DisplayChoice&) const = default;
};

/// The first of the wanted platforms that works. Else X on GNOME and KDE; else Wayland with layers;
/// else X; else Wayland. Platforms that need neither are taken at their word.
DisplayChoice chooseDisplay(const DisplayFacts& facts);

/// Of the environment. The servers get three seconds each to say a word. Before any other thread is
/// there, since a process of its own asks the X server.
DisplayFacts displayFacts();

/// For a program whose display has gone: the first choice that works within two seconds, since what
/// has died may be started again at once. Else a platform without a display, where the desktop's
/// notifications tell, if there are any.
DisplayChoice chooseDisplayAfterLoss();
/// For one whose display goes again and again: none, for a while.
DisplayChoice noDisplay();
/// Whether a compositor is there again. Waits for a moment at most.
bool isDisplayBack();

/// Whether the desktop is a Wayland one, also for a program that is on its X server: no key can be
/// taken for oneself there. `isXReal` is whether that server has the screen to itself.
bool isWaylandDesktop(const DisplayFacts& facts, bool isXReal);

} // namespace velmoran
