// What the desktop lets a program do, and what it calls itself: found once by `main`, which alone
// reads it from the environment, and handed to whatever depends on it. Values.
#pragma once

#include <string>

namespace velmoran {

/// What a person is told of notices by.
enum class NoticeForm {
    placed,    ///< cards in windows that place themselves
    layered,   ///< cards on layers of the compositor
    byDesktop, ///< the desktop's own notifications
};

struct DesktopAbilities {
    NoticeForm notices = NoticeForm::placed;
    bool handsOutKeys = false; ///< it does, and lets nobody take them
    std::string names = {};    ///< as XDG_CURRENT_DESKTOP has them, apart by ":"; may be empty
};

} // namespace velmoran
