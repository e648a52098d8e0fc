// The picture of an app, as cards show it. Asked for with the whole identity, since who may choose
// a picture depends on who the app is known to be. Main thread, as all of Qt's icons.
#pragma once

#include "core/records/AppIdentity.h"
#include "core/records/SystemSnapshot.h"

#include <QIcon>
#include <functional>
#include <optional>
#include <string>

namespace velmoran {

/// Null for an app without one.
using AppPicture = std::function<QIcon(const AppIdentity& app)>;

/// What a machine answers: a name of the desktop's icon theme or an absolute path.
using IconName = std::function<std::optional<std::string>(const AppRef& app)>;

/// Pictures by those names. A name that is neither in the theme nor a file gives none.
AppPicture appPictures(IconName iconName);

} // namespace velmoran
