// How the desktop of the pictures looks: Qt's own style in light or dark colours, without movement,
// and made-up pictures of the made-up apps.
#pragma once

#include "app/look/AppPicture.h"

namespace velmoran::pictures {

/// For the whole program, once.
void dress(bool isDark);
QIcon drawnIcon(const AppIdentity& app);

} // namespace velmoran::pictures
